// A document in a table of SQLite, a row a node, and requests in SQL, measured in the process.
//
//   sqlite_peer load DATABASE DOCUMENT
//   sqlite_peer ask DATABASE SECONDS wall|processor <REQUESTS
//
// A node is its place in document order (pre), the number of nodes below it (size), its level,
// its parent's place, its kind, the number of its name and its value, also as a number when it
// is one; a view each shows elements, attributes and texts. A line of REQUESTS is SQL in which
// {name} stands for the number of a name; for each one line comes back: the answer, and the median
// time of a run in microseconds. A request is run once unmeasured, then repeated for so many
// seconds.
#include <expat.h>
#include <sqlite3.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace {

enum Kind : std::int64_t { element = 1, attribute = 2, text = 3, comment = 4, instruction = 5 };

struct DatabaseCloser {
    void operator()(sqlite3 *database) const { sqlite3_close_v2(database); }
};
struct StatementCloser {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;
using Statement = std::unique_ptr<sqlite3_stmt, StatementCloser>;

Database open(const std::string &path) {
    sqlite3 *database = nullptr;
    const int result = sqlite3_open(path.c_str(), &database);
    Database owner(database);
    if (result != SQLITE_OK) throw std::runtime_error("cannot open " + path);
    return owner;
}

void run(sqlite3 *database, const std::string &sql) {
    char *message = nullptr;
    if (sqlite3_exec(database, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return;
    const std::string text = message ? message : "?";
    sqlite3_free(message);
    throw std::runtime_error(text + ": " + sql);
}

Statement prepare(sqlite3 *database, const std::string &sql) {
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
        throw std::runtime_error(std::string(sqlite3_errmsg(database)) + ": " + sql);
    return Statement(statement);
}

/** Writes the rows of a document. A row is written when its node ends and its size is known. */
class Loading {
public:
    explicit Loading(sqlite3 *database)
        : insert_(prepare(database, "INSERT INTO node VALUES (?, ?, ?, ?, ?, ?, ?, ?)")),
          insertName_(prepare(database, "INSERT INTO name VALUES (?, ?)")) {}

    void load(std::FILE *file) {
        const std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser(
            XML_ParserCreate(nullptr), &XML_ParserFree);
        setHandlers(parser.get());
        std::vector<char> buffer(256 * 1024);
        for (bool atEnd = false; !atEnd;) {
            const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), file);
            atEnd = size == 0;
            if (XML_Parse(parser.get(), buffer.data(), static_cast<int>(size), atEnd) !=
                XML_STATUS_OK)
                throw std::runtime_error(XML_ErrorString(XML_GetErrorCode(parser.get())));
        }
    }

private:
    struct Open {
        std::int64_t pre;
        std::int64_t name;
    };

    static Loading &of(void *self) { return *static_cast<Loading *>(self); }

    void setHandlers(XML_Parser parser) {
        XML_SetUserData(parser, this);
        XML_SetElementHandler(
            parser,
            [](void *self, const char *name, const char **attributes) {
                of(self).start(name, attributes);
            },
            [](void *self, const char *) { of(self).end(); });
        XML_SetCharacterDataHandler(parser, [](void *self, const char *data, int size) {
            of(self).text_.append(data, static_cast<std::size_t>(size));
        });
        XML_SetCommentHandler(
            parser, [](void *self, const char *data) { of(self).leaf(comment, 0, data); });
    }

    void start(const char *name, const char **attributes) {
        finishText();
        open_.push_back({++last_, numberOf(name)});
        for (; *attributes; attributes += 2)
            leaf(attribute, numberOf(attributes[0]), attributes[1]);
    }

    void end() {
        finishText();
        const Open ended = open_.back();
        open_.pop_back();
        write(ended.pre, last_ - ended.pre, element, ended.name, nullptr);
    }

    void finishText() {
        if (text_.empty()) return;
        const std::string value = std::move(text_);
        text_.clear();
        write(++last_, 0, text, 0, &value);
    }

    void leaf(Kind kind, std::int64_t name, const char *value) {
        finishText();
        const std::string copy = value;
        write(++last_, 0, kind, name, &copy);
    }

    void write(std::int64_t pre, std::int64_t size, Kind kind, std::int64_t name,
               const std::string *value) {
        sqlite3_stmt *row = insert_.get();
        sqlite3_bind_int64(row, 1, pre);
        sqlite3_bind_int64(row, 2, size);
        sqlite3_bind_int64(row, 3, static_cast<std::int64_t>(open_.size()));
        sqlite3_bind_int64(row, 4, open_.empty() ? 0 : open_.back().pre);
        sqlite3_bind_int64(row, 5, kind);
        sqlite3_bind_int64(row, 6, name);
        sqlite3_bind_null(row, 7);
        sqlite3_bind_null(row, 8);
        if (value) {
            sqlite3_bind_text(row, 7, value->data(), static_cast<int>(value->size()),
                              SQLITE_STATIC);
            bindNumber(row, *value);
        }
        if (sqlite3_step(row) != SQLITE_DONE) throw std::runtime_error("cannot insert");
        sqlite3_reset(row);
    }

    static void bindNumber(sqlite3_stmt *row, const std::string &value) {
        if (value.empty() || value.find_first_not_of("0123456789.-") != std::string::npos) return;
        char *end = nullptr;
        const double number = std::strtod(value.c_str(), &end);
        if (*end == '\0') sqlite3_bind_double(row, 8, number);
    }

    std::int64_t numberOf(const char *name) {
        const auto [place, isNew] =
            names_.emplace(name, static_cast<std::int64_t>(names_.size()) + 1);
        if (isNew) {
            sqlite3_bind_int64(insertName_.get(), 1, place->second);
            sqlite3_bind_text(insertName_.get(), 2, name, -1, SQLITE_STATIC);
            if (sqlite3_step(insertName_.get()) != SQLITE_DONE)
                throw std::runtime_error("cannot insert");
            sqlite3_reset(insertName_.get());
        }
        return place->second;
    }

    Statement insert_;
    Statement insertName_;
    std::unordered_map<std::string, std::int64_t> names_;
    std::vector<Open> open_;
    std::string text_;
    std::int64_t last_ = 0;
};

void load(const std::string &path, const std::string &document) {
    std::remove(path.c_str());
    const Database database = open(path);
    run(database.get(),
        "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA page_size = 8192;"
        "PRAGMA cache_size = -262144;"
        "CREATE TABLE node (pre INTEGER PRIMARY KEY, size INTEGER, level INTEGER, parent INTEGER,"
        " kind INTEGER, name INTEGER, value TEXT, number REAL);"
        "CREATE TABLE name (number INTEGER PRIMARY KEY, name TEXT UNIQUE);"
        "BEGIN");
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(document.c_str(), "rb"),
                                                                &std::fclose);
    if (!file) throw std::runtime_error("cannot read " + document);
    Loading(database.get()).load(file.get());
    run(database.get(),
        "COMMIT;"
        "CREATE INDEX by_name ON node (kind, name, pre, size, parent);"
        "CREATE INDEX by_parent ON node (parent, kind, name);"
        "CREATE INDEX by_value ON node (kind, name, value, parent);"
        "CREATE INDEX by_number ON node (kind, name, number, parent) WHERE number IS NOT NULL;"
        "CREATE VIEW element AS SELECT pre, size, level, parent, name FROM node WHERE kind = 1;"
        "CREATE VIEW attribute AS SELECT pre, parent, name, value, number FROM node WHERE kind = 2;"
        "CREATE VIEW text AS SELECT pre, parent, value, number FROM node WHERE kind = 3;"
        "ANALYZE");
}

std::string withNumbers(sqlite3 *database, const std::string &sql) {
    std::string text;
    std::size_t from = 0;
    for (std::size_t at = sql.find('{'); at != std::string::npos; at = sql.find('{', from)) {
        const std::size_t end = sql.find('}', at);
        const std::string name = sql.substr(at + 1, end - at - 1);
        const Statement find =
            prepare(database, "SELECT number FROM name WHERE name = '" + name + "'");
        const bool isKnown = sqlite3_step(find.get()) == SQLITE_ROW;
        text += sql.substr(from, at - from) +
                std::to_string(isKnown ? sqlite3_column_int64(find.get(), 0) : -1);
        from = end + 1;
    }
    return text + sql.substr(from);
}

std::int64_t ask(sqlite3 *database, const std::string &sql) {
    const Statement statement = prepare(database, sql);
    if (sqlite3_step(statement.get()) != SQLITE_ROW)
        throw std::runtime_error(std::string(sqlite3_errmsg(database)) + ": " + sql);
    return sqlite3_column_int64(statement.get(), 0);
}

double now(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void measure(sqlite3 *database, const std::string &sql, double seconds, clockid_t clock) {
    std::vector<double> times;
    std::int64_t answer = ask(database, sql);  // brings what it reads into memory
    double sum = 0;
    while (times.empty() || (sum < seconds && times.size() < 1000)) {
        const double begin = now(clock);
        answer = ask(database, sql);
        times.push_back(now(clock) - begin);
        sum += times.back();
    }
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2),
                     times.end());
    std::cout << answer << ' ' << times[times.size() / 2] * 1e6 << std::endl;
}

}  // namespace

int main(int argc, char **argv) try {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 3 && words[0] == "load") {
        load(words[1], words[2]);
        return 0;
    }
    if (words.size() == 4 && words[0] == "ask") {
        const clockid_t clock =
            words[3] == "processor" ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC;
        const Database database = open(words[1]);
        run(database.get(), "PRAGMA cache_size = -524288; PRAGMA mmap_size = 4294967296");
        for (std::string line; std::getline(std::cin, line);)
            measure(database.get(), withNumbers(database.get(), line), std::stod(words[2]), clock);
        return 0;
    }
    std::cerr << "usage: sqlite_peer load DATABASE DOCUMENT | ask DATABASE SECONDS CLOCK\n";
    return 2;
} catch (const std::exception &error) {
    std::cerr << "sqlite_peer: " << error.what() << '\n';
    return 1;
}
