#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/json.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/request_desk.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace {

using ValueCount = std::pair<std::string, std::uint64_t>;

/** Texts are compared by the numbers of their characters, as UTF-8 is. */
std::vector<ValueCount> sortedCounts(const RequestAnswer &answer, bool byCount) {
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

std::string asText(const std::vector<ValueCount> &counts) {
    TextTable table({TextTable::Align::right, TextTable::Align::left});
    table.add({"COUNT", "VALUE"});
    for (const auto &[value, count] : counts)
        table.add({std::to_string(count), visibleText(value)});
    return table.text();
}

std::string asCsvText(const std::vector<ValueCount> &counts) {
    std::string text = "count,value\r\n";
    for (const auto &[value, count] : counts)
        text += std::to_string(count) + ',' + csvField(value) + "\r\n";
    return text;
}

std::string asJsonText(const std::vector<ValueCount> &counts) {
    JsonWriter json;
    json.beginArray();
    for (const auto &[value, count] : counts)
        json.beginObject().key("value").value(value).key("count").value(count).endObject();
    return json.endArray().text() + '\n';
}

}  // namespace

bool listValues(const HomeChoice &home, const ValuesRequest &request) {
    RequestDesk desk(home.open()->open(request.database));
    const Interruption interruption;
    try {
        const auto counts = sortedCounts(desk.answer(request.request), request.byCount);
        writeOutput(request.asJson  ? asJsonText(counts)
                    : request.asCsv ? asCsvText(counts)
                                    : asText(counts));
    } catch (const Failure &failure) {
        Interruption::endIfRequested(request.request);
        if (failure.status() == Status::writeFailed) throw;
        writeMessage(nameOf(request.request) + ": " + visibleText(failure.what()));
        return false;
    }
    return true;
}

}  // namespace zdbs::admin
