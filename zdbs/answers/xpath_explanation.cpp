#include "zdbs/answers/xpath_explanation.h"

#include "zdbs/answers/json.h"
#include "zdbs/answers/request_notes.h"

namespace zdbs {

std::string_view typeName(xpath::ValueType type) {
    switch (type) {
        case xpath::ValueType::nodeSet:
            return "nodes";
        case xpath::ValueType::number:
            return "number";
        case xpath::ValueType::string:
            return "string";
        case xpath::ValueType::boolean:
            break;
    }
    return "boolean";
}

XPathExplanation explainExpression(const xpath::Collection &collection, const std::string &request,
                                   const xpath::Expression &expression) {
    XPathExplanation explanation{request, {}, xpath::textOf(expression), {}};
    xpath::Evaluator evaluator(collection);
    evaluator.observe([&](const xpath::PartFound &part) { explanation.parts.push_back(part); });
    const xpath::Value value = evaluator.evaluate(expression);
    if (value.type() == xpath::ValueType::nodeSet) value.nodes().count(0);
    explanation.type = typeName(value.type());
    return explanation;
}

std::string jsonOf(const XPathExplanation &explanation, const std::vector<std::string> &notes) {
    JsonWriter json;
    json.beginObject().key("request").value(explanation.request);
    json.key("type").value(explanation.type).key("expression").value(explanation.expression);
    json.key("parts").beginArray();
    for (const xpath::PartFound &part : explanation.parts) {
        json.beginObject().key("part").value(part.part).key("way").value(part.way);
        json.key("nodes").value(part.nodes).key("milliseconds").value(part.time).endObject();
    }
    json.endArray();
    addNotes(json, notes);
    return json.endObject().text() + '\n';
}

}  // namespace zdbs
