/**
 * The functions of libpq under their own names, for this program alone: the library is loaded when
 * the first of them is called. With the program it would take longer than starting the rest.
 */
#include <dlfcn.h>
#include <libpq-fe.h>

#include <string>

#include "zdbs/base/status.h"

namespace zdbs::sql {
namespace {

constexpr const char *libraryName = "libpq.so.5";

/** It stays loaded. */
void *library() {
    static void *const loaded = ::dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
    return loaded;
}

template <typename Function>
Function *functionOf(const char *name) {
    void *const function = library() == nullptr ? nullptr : ::dlsym(library(), name);
    if (function == nullptr)
        throw Failure(Status::serverUnreachable,
                      {std::string("databases on a server need ") + libraryName});
    return reinterpret_cast<Function *>(function);
}

}  // namespace
}  // namespace zdbs::sql

#define LOADED(Result, name, parameters, arguments)                                 \
    Result name parameters {                                                        \
        static auto *const function = zdbs::sql::functionOf<decltype(name)>(#name); \
        return function arguments;                                                  \
    }

extern "C" {
LOADED(int, PQcancel, (PGcancel * wish, char *error, int size), (wish, error, size))
LOADED(void, PQclear, (PGresult * result), (result))
LOADED(char *, PQcmdTuples, (PGresult * result), (result))
LOADED(PGconn *, PQconnectdbParams,
       (const char *const *keywords, const char *const *values, int expandName),
       (keywords, values, expandName))
LOADED(void, PQconninfoFree, (PQconninfoOption * options), (options))
LOADED(PQconninfoOption *, PQconninfoParse, (const char *text, char **message), (text, message))
LOADED(int, PQconsumeInput, (PGconn * connection), (connection))
LOADED(char *, PQerrorMessage, (const PGconn *connection), (connection))
LOADED(void, PQfinish, (PGconn * connection), (connection))
LOADED(void, PQfreeCancel, (PGcancel * wish), (wish))
LOADED(void, PQfreemem, (void *memory), (memory))
LOADED(PGcancel *, PQgetCancel, (PGconn * connection), (connection))
LOADED(PGresult *, PQgetResult, (PGconn * connection), (connection))
LOADED(int, PQgetisnull, (const PGresult *result, int row, int column), (result, row, column))
LOADED(int, PQgetlength, (const PGresult *result, int row, int column), (result, row, column))
LOADED(char *, PQgetvalue, (const PGresult *result, int row, int column), (result, row, column))
LOADED(int, PQisBusy, (PGconn * connection), (connection))
LOADED(int, PQntuples, (const PGresult *result), (result))
LOADED(int, PQputCopyData, (PGconn * connection, const char *bytes, int size),
       (connection, bytes, size))
LOADED(int, PQputCopyEnd, (PGconn * connection, const char *error), (connection, error))
LOADED(char *, PQresultErrorField, (const PGresult *result, int field), (result, field))
LOADED(char *, PQresultErrorMessage, (const PGresult *result), (result))
LOADED(ExecStatusType, PQresultStatus, (const PGresult *result), (result))
LOADED(int, PQsendQueryParams,
       (PGconn * connection, const char *text, int count, const Oid *types,
        const char *const *values, const int *lengths, const int *formats, int resultFormat),
       (connection, text, count, types, values, lengths, formats, resultFormat))
LOADED(PQnoticeProcessor, PQsetNoticeProcessor,
       (PGconn * connection, PQnoticeProcessor processor, void *argument),
       (connection, processor, argument))
LOADED(int, PQsocket, (const PGconn *connection), (connection))
LOADED(ConnStatusType, PQstatus, (const PGconn *connection), (connection))
}
