#include "zdbs/answers/explanation.h"

#include <algorithm>

#include "zdbs/answers/json.h"
#include "zdbs/answers/request_notes.h"

namespace zdbs {

namespace {

void addSet(JsonWriter &json, const ExplainedSet &set) {
    json.beginObject().key("set").value(static_cast<std::uint64_t>(set.number));
    json.key("condition").value(set.condition).key("records").value(set.records);
    json.key("hits").value(set.hits).key("milliseconds").value(set.time);
    json.key("foundBy").value(set.foundBy).endObject();
}

void addResult(JsonWriter &json, const ExplainedResult &result) {
    json.key("result").beginObject().key("set").value(static_cast<std::uint64_t>(result.number));
    json.key("keptAs").value(static_cast<std::uint64_t>(result.keptAs));
    json.key("records").value(result.records).endObject();
}

}  // namespace

std::chrono::nanoseconds Explanation::setsTime() const {
    std::chrono::nanoseconds sum{};
    for (const ExplainedSet &set : sets)
        sum += set.time;
    return sum;
}

std::chrono::nanoseconds Explanation::translationTime() const {
    return std::max(total - setsTime() - hitsTime, std::chrono::nanoseconds::zero());
}

void append(Explanation &explanation, const Explanation &next) {
    explanation.sets.insert(explanation.sets.end(), next.sets.begin(), next.sets.end());
    explanation.total += next.total;
    explanation.hitsTime += next.hitsTime;
    explanation.result = next.result;
    explanation.error = next.error;
}

std::string jsonOf(const Explanation &explanation) {
    JsonWriter json;
    json.beginObject().key("request").value(explanation.request).key("sets").beginArray();
    for (const ExplainedSet &set : explanation.sets)
        addSet(json, set);
    json.endArray().key("translationMilliseconds").value(explanation.translationTime());
    json.key("setsMilliseconds").value(explanation.setsTime());
    json.key("hitsMilliseconds").value(explanation.hitsTime);
    if (explanation.result.number > 0) addResult(json, explanation.result);
    if (!explanation.error.empty()) json.key("error").value(explanation.error);
    addNotes(json, explanation.notes);
    return json.endObject().text() + '\n';
}

}  // namespace zdbs
