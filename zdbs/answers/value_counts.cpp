#include "zdbs/answers/value_counts.h"

#include <algorithm>
#include <unordered_map>

#include "zdbs/answers/json.h"
#include "zdbs/answers/node_output.h"

namespace zdbs {

std::vector<ValueCount> countValues(const RequestAnswer &answer, bool byCount) {
    std::unordered_map<std::string, std::uint64_t> counts;
    const auto describer = answer.database.describer({.value = true});
    const auto nodes = answer.database.records(*answer.matches);
    for (auto batch = nodes->next(); !batch.empty(); batch = nodes->next()) {
        for (const RecordId node : batch)
            ++counts[std::string(describer->of(node).value)];
    }
    std::vector<ValueCount> sorted(counts.begin(), counts.end());
    std::sort(sorted.begin(), sorted.end(), [&](const ValueCount &a, const ValueCount &b) {
        if (byCount && a.second != b.second) return a.second > b.second;
        return a.first < b.first;
    });
    return sorted;
}

std::string valuesAsCsv(const std::vector<ValueCount> &counts) {
    std::string text = "count,value\r\n";
    for (const auto &[value, count] : counts)
        text += std::to_string(count) + ',' + csvField(value) + "\r\n";
    return text;
}

std::string valuesAsJson(const std::vector<ValueCount> &counts) {
    JsonWriter json;
    json.beginArray();
    for (const auto &[value, count] : counts)
        json.beginObject().key("value").value(value).key("count").value(count).endObject();
    return json.endArray().text() + '\n';
}

}  // namespace zdbs
