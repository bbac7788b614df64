/** The answers of the routes; each throws Problem and Failure. */
#ifndef ZDBS_SERVE_PAGES_H
#define ZDBS_SERVE_PAGES_H

#include "zdbs/serve/service.h"

namespace zdbs::serve {

// About the server and what it has: database_pages.cpp.
void tellHealth(const Call &call);
void tellMetrics(const Call &call);
void tellDescription(const Call &call);
void listDatabases(const Call &call);
void tellDatabase(const Call &call);

// Requests: query_pages.cpp.
void answerQuery(const Call &call);
void answerXPath(const Call &call);
void exportFragments(const Call &call);
void explainRequest(const Call &call);
void explainXPath(const Call &call);
void listValues(const Call &call);

// A node and what is around it: around_page.cpp.
void tellAround(const Call &call);

// The page for people: page_files.cpp.
void sendPageFile(const Call &call);

// Sessions of kernel libraries: kernel_page.cpp.
void openKernelSession(const Call &call);
void callKernel(const Call &call);

// Documents: document_pages.cpp.
void listDocuments(const Call &call);
void tellDocument(const Call &call);
void putDocument(const Call &call);
void removeDocument(const Call &call);
void changeDocuments(const Call &call);

/** An OpenAPI 3.1 description of these routes. */
std::string describe(std::span<const Route> routes);

/** How many nodes or values are told where nobody says. */
constexpr std::uint64_t usualLimit = 100;

}  // namespace zdbs::serve

#endif
