/** The table of the routes. Their description is made of it, and of the schemas here. */
#include "zdbs/serve/kernel_calls.h"
#include "zdbs/serve/pages.h"

namespace zdbs::serve {

namespace {

constexpr const char *databasesSchema = R"({"type":"array","items":{"type":"object",
"required":["database","documents","nodes","bytes","state","access"],"properties":{
"database":{"type":"string"},"documents":{"type":"integer"},"nodes":{"type":"integer"},
"bytes":{"type":"integer"},"state":{"type":"integer"},
"access":{"type":"string","enum":["read","write"]}}}})";

constexpr const char *databaseSchema = R"({"type":"object",
"required":["database","documents","nodes","types","names","xmlBytes","diskBytes","state","access","paths"],
"properties":{"database":{"type":"string"},"documents":{"type":"integer"},
"nodes":{"type":"integer"},"types":{"type":"object","additionalProperties":{"type":"integer"}},
"names":{"type":"array","items":{"type":"object",
"required":["type","name","prefix","namespace","count"],"properties":{
"type":{"type":"string"},"name":{"type":"string"},"prefix":{"type":"string"},
"namespace":{"type":"string"},"count":{"type":"integer"}}}},
"xmlBytes":{"type":"integer"},
"diskBytes":{"type":"object","additionalProperties":{"type":"integer"}},
"state":{"type":"integer"},"access":{"type":"string","enum":["read","write"]},
"paths":{"type":"array","items":{"type":"object",
"required":["path","level","type","name","prefix","namespace","count"],"properties":{
"path":{"type":"string"},"level":{"type":"integer"},"type":{"type":"string"},
"name":{"type":"string"},"prefix":{"type":"string"},"namespace":{"type":"string"},
"count":{"type":"integer"}}}}}})";

constexpr const char *querySchema = R"({"type":"object",
"required":["database","state","request","records","hits","offset","limit","nodes"],"properties":{
"database":{"type":"string"},"state":{"type":"integer"},"request":{"type":"string"},
"records":{"type":"integer"},"hits":{"type":"integer"},
"notes":{"type":"array","items":{"type":"string"}},
"offset":{"type":"integer"},"limit":{"type":"integer"},
"nodes":{"type":"array","items":{"type":"object","properties":{"id":{"type":"integer"},
"document":{"type":"string"},"path":{"type":"string"},"value":{"type":"string"},
"excerpt":{"type":"object","required":["pieces","isCut"],"properties":{
"pieces":{"type":"array","items":{"type":"string"}},"isCut":{"type":"boolean"}}}}}}}})";

constexpr const char *xpathSchema = R"({"type":"object",
"required":["database","state","request","type"],"properties":{
"database":{"type":"string"},"state":{"type":"integer"},"request":{"type":"string"},
"notes":{"type":"array","items":{"type":"string"}},
"type":{"type":"string","enum":["nodes","number","string","boolean"]},
"value":{"type":"string"},"records":{"type":"integer"},
"offset":{"type":"integer"},"limit":{"type":"integer"},
"nodes":{"type":"array","items":{"type":"object","properties":{"id":{"type":"integer"},
"document":{"type":"string"},"path":{"type":"string"},"value":{"type":"string"},
"excerpt":{"type":"object","required":["pieces","isCut"],"properties":{
"pieces":{"type":"array","items":{"type":"string"}},"isCut":{"type":"boolean"}}}}}}}})";

constexpr const char *explainSchema = R"({"type":"object",
"required":["request","sets","translationMilliseconds","setsMilliseconds","hitsMilliseconds"],
"properties":{"request":{"type":"string"},"sets":{"type":"array","items":{"type":"object",
"required":["set","condition","records","hits","milliseconds","foundBy"],"properties":{
"set":{"type":"integer"},"condition":{"type":"string"},"records":{"type":"integer"},
"hits":{"type":"integer"},"milliseconds":{"type":"number"},"foundBy":{"type":"string"}}}},
"translationMilliseconds":{"type":"number"},"setsMilliseconds":{"type":"number"},
"hitsMilliseconds":{"type":"number"},"result":{"type":"object",
"required":["set","keptAs","records"],"properties":{"set":{"type":"integer"},
"keptAs":{"type":"integer"},"records":{"type":"integer"}}},
"notes":{"type":"array","items":{"type":"string"}}}})";

constexpr const char *partsSchema = R"({"type":"object",
"required":["request","type","expression","parts"],"properties":{"request":{"type":"string"},
"type":{"type":"string","enum":["nodes","number","string","boolean"]},
"expression":{"type":"string"},"parts":{"type":"array","items":{"type":"object",
"required":["part","way","nodes","milliseconds"],"properties":{"part":{"type":"string"},
"way":{"type":"string"},"nodes":{"type":"integer"},"milliseconds":{"type":"number"}}}},
"notes":{"type":"array","items":{"type":"string"}}}})";

constexpr const char *valuesSchema = R"({"type":"object",
"required":["database","state","request","records","distinct","values"],"properties":{
"database":{"type":"string"},"state":{"type":"integer"},"request":{"type":"string"},
"records":{"type":"integer"},"distinct":{"type":"integer"},
"values":{"type":"array","items":{"type":"object","required":["value","count"],"properties":{
"value":{"type":"string"},"count":{"type":"integer"}}}}}})";

constexpr const char *aroundSchema = R"({"type":"object",
"required":["database","state","node","document","line","offset","limit","nodes"],"properties":{
"database":{"type":"string"},"state":{"type":"integer"},"node":{"type":"integer"},
"document":{"type":"string"},"offset":{"type":"integer"},"limit":{"type":"integer"},
"line":{"type":"array","items":{"type":"object",
"required":["id","path","place","children","attributes","excerpt"],"properties":{
"id":{"type":"integer"},"path":{"type":"string"},"place":{"type":"integer"},
"children":{"type":"integer"},"attributes":{"type":"array","items":{"type":"object",
"required":["id","path","excerpt"],"properties":{"id":{"type":"integer"},
"path":{"type":"string"},"excerpt":{"type":"object","required":["pieces","isCut"],"properties":{
"pieces":{"type":"array","items":{"type":"string"}},"isCut":{"type":"boolean"}}}}}},"excerpt":{"type":"object","required":["pieces","isCut"],"properties":{
"pieces":{"type":"array","items":{"type":"string"}},"isCut":{"type":"boolean"}}}}}},
"nodes":{"type":"array","items":{"type":"object",
"required":["id","path","place","children","attributes","excerpt"],"properties":{
"id":{"type":"integer"},"path":{"type":"string"},"place":{"type":"integer"},
"children":{"type":"integer"},"attributes":{"type":"array","items":{"type":"object",
"required":["id","path","excerpt"],"properties":{"id":{"type":"integer"},
"path":{"type":"string"},"excerpt":{"type":"object","required":["pieces","isCut"],"properties":{
"pieces":{"type":"array","items":{"type":"string"}},"isCut":{"type":"boolean"}}}}}},"excerpt":{"type":"object","required":["pieces","isCut"],"properties":{
"pieces":{"type":"array","items":{"type":"string"}},"isCut":{"type":"boolean"}}}}}}}})";

constexpr const char *documentsSchema = R"({"type":"array","items":{"type":"object",
"required":["document","nodes","first","xmlBytes"],"properties":{"document":{"type":"string"},
"nodes":{"type":"integer"},"first":{"type":"integer"},"xmlBytes":{"type":"integer"}}}})";

constexpr const char *changeSchema = R"({"type":"object",
"required":["database","state","stored","removed"],"properties":{
"database":{"type":"string"},"state":{"type":"integer"},
"stored":{"type":"array","items":{"type":"object","required":["document","nodes","xmlBytes"],
"properties":{"document":{"type":"string"},"nodes":{"type":"integer"},
"xmlBytes":{"type":"integer"}}}},
"removed":{"type":"array","items":{"type":"string"}}}})";

const Parameter requestParameter = {"q", "string", true, "An XPath request, or a FIND command"};
const Parameter expressionParameter = {"q", "string", true, "An expression of XPath 1.0"};
const Parameter namespaceParameter = {"namespace", "string", false,
                                      "PREFIX=URI; several times for several"};
const Parameter variableParameter = {"variable", "string", false,
                                     "NAME=TEXT; several times for several"};
const Parameter limitParameter = {"limit", "integer", false, "At most so many; otherwise 100"};
const Parameter offsetParameter = {"offset", "integer", false, "Without the first ones, so many"};
const Parameter notesParameter = {"notes", "boolean", false,
                                  "Whether to tell what may have been meant otherwise"};
const Parameter fieldsParameter = {"fields", "string", false,
                                   "What is told of nodes: id, document, path, value, with commas"};

const Parameter excerptParameter = {"excerpt", "integer", false,
                                    "Of values at most so many bytes, with hits apart"};

/** Ends at the first route that fits a request. */
const std::vector<Route> table = {
    {Method::get,
     "/",
     Access::everybody,
     {},
     {},
     nullptr,
     "A page for people",
     nullptr,
     sendPageFile},
    {Method::get,
     "/page/{file}",
     Access::everybody,
     {},
     {},
     nullptr,
     "What the page consists of",
     nullptr,
     sendPageFile},
    {Method::get,
     "/healthz",
     Access::everybody,
     {Form::plain},
     {},
     nullptr,
     "Whether the server is there",
     nullptr,
     tellHealth},
    {Method::get,
     "/metrics",
     Access::users,
     {Form::plain},
     {},
     nullptr,
     "What the server has done, for Prometheus",
     nullptr,
     tellMetrics},
    {Method::get,
     "/v1/openapi.json",
     Access::everybody,
     {Form::json},
     {},
     nullptr,
     "This description",
     R"({"type":"object"})",
     tellDescription},
    {Method::get,
     "/v1/kernel",
     Access::users,
     {Form::plain},
     {},
     nullptr,
     "A session of a kernel library: the connection goes over to another protocol (426 without)",
     nullptr,
     openKernelSession},
    {Method::post,
     "/v1/kernel",
     Access::users,
     {Form::plain},
     {},
     kernelType,
     "A call in the session of the connection, where that cannot go over",
     nullptr,
     callKernel},
    {Method::get,
     "/v1/databases",
     Access::users,
     {Form::json, Form::csv, Form::plain},
     {},
     nullptr,
     "The databases that the user may read",
     databasesSchema,
     listDatabases},
    {Method::get,
     "/v1/databases/{database}",
     Access::readers,
     {Form::json, Form::csv},
     {},
     nullptr,
     "What is in a database, and the paths that occur, with counts",
     databaseSchema,
     tellDatabase},
    {Method::get,
     "/v1/databases/{database}/query",
     Access::readers,
     {Form::json, Form::csv, Form::xml, Form::plain},
     {requestParameter, fieldsParameter, excerptParameter, limitParameter, offsetParameter,
      notesParameter},
     nullptr,
     "The nodes that a request finds",
     querySchema,
     answerQuery},
    {Method::get,
     "/v1/databases/{database}/xpath",
     Access::readers,
     {Form::json, Form::csv, Form::xml, Form::plain},
     {expressionParameter, namespaceParameter, variableParameter, fieldsParameter, excerptParameter,
      limitParameter, offsetParameter, notesParameter},
     nullptr,
     "What an expression of XPath 1.0 comes to",
     xpathSchema,
     answerXPath},
    {Method::get,
     "/v1/databases/{database}/xpath/explain",
     Access::readers,
     {Form::json},
     {expressionParameter, namespaceParameter, variableParameter, notesParameter},
     nullptr,
     "How the parts of an expression are found, and how long each takes",
     partsSchema,
     explainXPath},
    {Method::get,
     "/v1/databases/{database}/export",
     Access::readers,
     {Form::xml},
     {requestParameter,
      {"spec", "string", true, "What to select from each match; several times for several"},
      {"highlight", "boolean", false, "Whether to mark hits"},
      limitParameter,
      offsetParameter},
     nullptr,
     "Fragments of what a request finds, as a document",
     nullptr,
     exportFragments},
    {Method::get,
     "/v1/databases/{database}/explain",
     Access::readers,
     {Form::json},
     {requestParameter, notesParameter},
     nullptr,
     "How the sets of a request are found, and how long each takes",
     explainSchema,
     explainRequest},
    {Method::get,
     "/v1/databases/{database}/values",
     Access::readers,
     {Form::json, Form::csv},
     {requestParameter,
      {"order", "string", false, "value, or count for the most frequent ones first"},
      limitParameter,
      offsetParameter},
     nullptr,
     "The distinct values of what a request finds, with counts",
     valuesSchema,
     listValues},
    {Method::get,
     "/v1/databases/{database}/around",
     Access::readers,
     {Form::json},
     {{"node", "integer", true, "The id of a node"},
      {"q", "string", false, "A request whose hits are told apart"},
      excerptParameter,
      limitParameter,
      offsetParameter},
     nullptr,
     "A node with the elements around it, and the nodes in it",
     aroundSchema,
     tellAround},
    {Method::get,
     "/v1/databases/{database}/documents",
     Access::readers,
     {Form::json, Form::csv, Form::plain},
     {},
     nullptr,
     "The documents of a database",
     documentsSchema,
     listDocuments},
    {Method::post,
     "/v1/databases/{database}/documents",
     Access::writers,
     {Form::json},
     {{"remove", "string", false, "A document to remove; several times for several"}},
     "application/x-tar",
     "Stores the documents of an archive and removes others, all or nothing",
     changeSchema,
     changeDocuments},
    {Method::get,
     "/v1/databases/{database}/documents/{document}",
     Access::readers,
     {Form::xml},
     {},
     nullptr,
     "A document as XML; its name may have slashes",
     nullptr,
     tellDocument},
    {Method::put,
     "/v1/databases/{database}/documents/{document}",
     Access::writers,
     {Form::json},
     {},
     "application/xml",
     "Stores a document, in the place of the one of its name",
     changeSchema,
     putDocument},
    {Method::remove,
     "/v1/databases/{database}/documents/{document}",
     Access::writers,
     {Form::json},
     {},
     nullptr,
     "Removes a document",
     changeSchema,
     removeDocument},
};

}  // namespace

std::span<const Route> routes() {
    return table;
}

}  // namespace zdbs::serve
