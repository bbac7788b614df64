/** The routes as OpenAPI 3.1 has them. */
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/answers/json.h"
#include "zdbs/serve/pages.h"

namespace zdbs::serve {

namespace {

constexpr const char *problemSchema = R"({"type":"object",
"required":["type","title","status","detail"],"properties":{"type":{"type":"string"},
"title":{"type":"string"},"status":{"type":"integer"},"detail":{"type":"string"},
"kernel":{"type":"object","required":["number","name"],"properties":{
"number":{"type":"integer"},"name":{"type":"string"}}}}})";

/** What several answers have in them: "#/components/schemas/NAME". */
constexpr const char *sharedSchemas = R"({
"excerpt":{"type":"object","required":["pieces","isCut"],"properties":{
"pieces":{"type":"array","items":{"type":"string"}},"isCut":{"type":"boolean"}}},
"node":{"type":"object","properties":{"id":{"type":"integer"},
"document":{"type":"string"},"path":{"type":"string"},"value":{"type":"string"},
"excerpt":{"$ref":"#/components/schemas/excerpt"}}},
"placedNode":{"type":"object",
"required":["id","path","place","children","attributes","excerpt"],"properties":{
"id":{"type":"integer"},"path":{"type":"string"},"place":{"type":"integer"},
"children":{"type":"integer"},"attributes":{"type":"array","items":{"type":"object",
"required":["id","path","excerpt"],"properties":{"id":{"type":"integer"},
"path":{"type":"string"},"excerpt":{"$ref":"#/components/schemas/excerpt"}}}},
"excerpt":{"$ref":"#/components/schemas/excerpt"}}}})";

/** Schemas are written on several lines. */
std::string onOneLine(std::string text) {
    std::erase(text, '\n');
    return text;
}

std::string quoted(std::string_view text) {
    return JsonWriter().value(text).text();
}

std::string_view wordOf(Method method) {
    switch (method) {
        case Method::get:
        case Method::head:
            return "get";
        case Method::put:
            return "put";
        case Method::post:
            return "post";
        case Method::remove:
            return "delete";
        case Method::other:
            break;
    }
    return {};
}

std::string parameterText(std::string_view name, std::string_view place, std::string_view type,
                          bool isRequired, std::string_view description) {
    return "{\"name\":" + quoted(name) + ",\"in\":" + quoted(place) +
           ",\"required\":" + (isRequired ? "true" : "false") +
           ",\"schema\":{\"type\":" + quoted(type) + "},\"description\":" + quoted(description) +
           '}';
}

std::string parametersOf(const Route &route) {
    std::vector<std::string> texts;
    const std::string_view path = route.path;
    if (path.find("{database}") != std::string_view::npos)
        texts.push_back(parameterText("database", "path", "string", true, "Name of the database"));
    if (path.find("{document}") != std::string_view::npos)
        texts.push_back(parameterText("document", "path", "string", true, "Name of the document"));
    if (path.find("{file}") != std::string_view::npos)
        texts.push_back(parameterText("file", "path", "string", true, "Name of the file"));
    for (const Parameter &each : route.parameters)
        texts.push_back(
            parameterText(each.name, "query", each.type, each.isRequired, each.description));
    std::string list;
    for (const std::string &text : texts)
        list += (list.empty() ? "" : ",") + text;
    return '[' + list + ']';
}

std::string contentOf(const Route &route) {
    if (route.forms.empty()) return R"({"*/*":{"schema":{"type":"string"}}})";
    std::string list;
    for (const Form form : route.forms) {
        std::string_view type = mediaType(form);
        type = type.substr(0, type.find(';'));
        const bool hasSchema = form == Form::json && route.schema != nullptr;
        list += (list.empty() ? "" : ",") + quoted(type) +
                ":{\"schema\":" + (hasSchema ? route.schema : R"({"type":"string"})") + '}';
    }
    return '{' + list + '}';
}

std::string operationOf(const Route &route) {
    std::string text = quoted(wordOf(route.method)) + ":{\"summary\":" + quoted(route.summary) +
                       ",\"parameters\":" + parametersOf(route);
    if (route.access == Access::everybody) text += ",\"security\":[]";
    if (route.bodyType != nullptr)
        text += ",\"requestBody\":{\"content\":{" + quoted(route.bodyType) +
                ":{\"schema\":{\"type\":\"string\",\"format\":\"binary\"}}}}";
    return text + ",\"responses\":{\"2XX\":{\"description\":\"The answer\",\"content\":" +
           contentOf(route) + "},\"default\":{\"$ref\":\"#/components/responses/problem\"}}}";
}

}  // namespace

std::string describe(std::span<const Route> routes) {
    std::string paths;
    std::string_view open;
    for (const Route &route : routes) {
        if (route.path == open) {
            paths += ',' + operationOf(route);
            continue;
        }
        if (!open.empty()) paths += "},";
        open = route.path;
        paths += quoted(open) + ":{" + operationOf(route);
    }
    const std::string text =
        R"({"openapi":"3.1.0","info":{"title":"zdbs serve","version":"1"},)"
        R"("security":[{"basic":[]}],"paths":{)" +
        paths +
        R"(}},"components":{"securitySchemes":{"basic":{"type":"http","scheme":"basic"}},)"
        R"("schemas":)" +
        sharedSchemas +
        R"(,"responses":{"problem":{"description":"What is wrong, as RFC 9457 has it","content":{)"
        R"("application/problem+json":{"schema":)" +
        std::string(problemSchema) + "}}}}}}";
    return onOneLine(text) + '\n';
}

}  // namespace zdbs::serve
