/** The description of the routes against what they answer. */
#include <set>

#include "tests/zdbs/admin/json_value.h"
#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using Type = JsonValue::Type;

bool isOfType(const JsonValue &value, const std::string &type) {
    if (type == "object") return value.type == Type::object;
    if (type == "array") return value.type == Type::array;
    if (type == "string") return value.type == Type::text;
    if (type == "boolean") return value.type == Type::boolean;
    return value.type == Type::number &&
           (type == "number" ||
            value.number == static_cast<double>(static_cast<long>(value.number)));
}

/** What is wrong with a value, as JSON Schema has it; members that are not described are wrong. */
std::string fault(const JsonValue &value, const JsonValue &schema, const std::string &place,
                  const JsonValue &description) {
    if (schema.has("$ref")) {
        const std::string prefix = "#/components/schemas/";
        const std::string name = schema["$ref"].text.substr(prefix.size());
        const JsonValue &shared = description["components"]["schemas"];
        if (prefix + name != schema["$ref"].text || !shared.has(name)) return "no schema " + name;
        return fault(value, shared[name], place, description);
    }
    if (schema.has("type") && !isOfType(value, schema["type"].text))
        return place + " is no " + schema["type"].text;
    if (schema.has("required")) {
        for (const JsonValue &name : schema["required"].items) {
            if (!value.has(name.text)) return place + " has no " + name.text;
        }
    }
    if (schema.has("enum")) {
        bool isOne = false;
        for (const JsonValue &each : schema["enum"].items)
            isOne = isOne || each.text == value.text;
        if (!isOne) return place + " is " + value.text;
    }
    for (const JsonValue &item : value.items) {
        const std::string wrong = fault(item, schema["items"], place + "[]", description);
        if (!wrong.empty()) return wrong;
    }
    for (const auto &[name, member] : value.members) {
        if (schema.has("additionalProperties")) {
            const std::string wrong =
                fault(member, schema["additionalProperties"], place, description);
            if (!wrong.empty()) return wrong;
            continue;
        }
        if (!schema.has("properties")) continue;
        if (!schema["properties"].has(name)) return place + " has " + name;
        const std::string wrong =
            fault(member, schema["properties"][name], place + '.' + name, description);
        if (!wrong.empty()) return wrong;
    }
    return {};
}

JsonValue lineOf(const std::string &body) {
    return readJsonLine(body);
}

struct Asked {
    const char *method;
    const char *path;    ///< as the description has it
    const char *target;  ///< as it is asked
    const char *body = "";
    const char *type = "application/xml";
};

TEST(Description, HoldsForTheAnswersOfEveryRoute) {
    const ServedHome home;
    Server server(home);
    const JsonValue description = lineOf(server.get("/v1/openapi.json", "").body);
    const std::vector<Asked> asked = {
        {"PUT", "/v1/databases/{database}/documents/{document}",
         "/v1/databases/plays/documents/a.xml", "<a b='1'>x<!--c--><?p i?></a>"},
        {"GET", "/v1/openapi.json", "/v1/openapi.json"},
        {"GET", "/v1/databases", "/v1/databases"},
        {"GET", "/v1/databases/{database}", "/v1/databases/plays"},
        {"GET", "/v1/databases/{database}/query", "/v1/databases/plays/query?q=//a"},
        {"GET", "/v1/databases/{database}/query", "/v1/databases/plays/query?q=//A"},
        {"GET", "/v1/databases/{database}/query", "/v1/databases/plays/query?q=//a&excerpt=1"},
        {"GET", "/v1/databases/{database}/around", "/v1/databases/plays/around?node=2&q=//a"},
        {"GET", "/v1/databases/{database}/xpath", "/v1/databases/plays/xpath?q=//a"},
        {"GET", "/v1/databases/{database}/xpath", "/v1/databases/plays/xpath?q=1=1"},
        {"GET", "/v1/databases/{database}/xpath", "/v1/databases/plays/xpath?q=//none"},
        {"GET", "/v1/databases/{database}/xpath/explain",
         "/v1/databases/plays/xpath/explain?q=//a%5B@b%5D%7C//none"},
        {"GET", "/v1/databases/{database}/explain", "/v1/databases/plays/explain?q=//a/@b"},
        {"GET", "/v1/databases/{database}/values", "/v1/databases/plays/values?q=//a"},
        {"GET", "/v1/databases/{database}/documents", "/v1/databases/plays/documents"},
        {"POST", "/v1/databases/{database}/documents", "/v1/databases/plays/documents?remove=a.xml",
         "", "application/x-tar"},
        {"PUT", "/v1/databases/{database}/documents/{document}",
         "/v1/databases/plays/documents/a.xml", "<a/>"},
        {"DELETE", "/v1/databases/{database}/documents/{document}",
         "/v1/databases/plays/documents/a.xml"},
    };
    std::set<std::string> seen;
    for (const auto &[method, path, target, body, type] : asked) {
        const Response response = server.send(method, target, body, type);
        EXPECT_EQ(response.status / 100, 2U) << method << target << response.body;
        std::string word = method;
        for (char &letter : word)
            letter = static_cast<char>(std::tolower(letter));
        const JsonValue &operation = description["paths"][path][word];
        const JsonValue &content = operation["responses"]["2XX"]["content"];
        const JsonValue &schema = content["application/json"]["schema"];
        EXPECT_EQ(fault(lineOf(response.body), schema, target, description), "") << response.body;
        seen.insert(word + ' ' + path);
    }
    for (const auto &[path, operations] : description["paths"].members) {
        for (const auto &[word, operation] : operations.members) {
            const JsonValue &content = operation["responses"]["2XX"]["content"];
            const bool isSeen = seen.contains(word + ' ' + path);
            EXPECT_TRUE(isSeen || !content.has("application/json")) << word << ' ' << path;
        }
    }
}

TEST(Description, HoldsForProblems) {
    const ServedHome home;
    Server server(home);
    const JsonValue description = lineOf(server.get("/v1/openapi.json", "").body);
    const JsonValue &schema = description["components"]["responses"]["problem"]["content"]
                                         ["application/problem+json"]["schema"];
    for (const char *target : {"/v1/databases/none", "/v1/databases/plays/query", "/none",
                               "/v1/databases/plays/query?q=%5B"}) {
        const Response response = server.get(target);
        EXPECT_EQ(fault(lineOf(response.body), schema, target, description), "") << response.body;
        EXPECT_EQ(lineOf(response.body)["status"].number, response.status) << target;
    }
}

}  // namespace
}  // namespace zdbs::serve
