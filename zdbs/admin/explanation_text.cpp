#include "zdbs/admin/explanation_text.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "zdbs/admin/output.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/sizes.h"
#include "zdbs/base/utf8.h"

namespace zdbs::admin {

namespace {

using Row = std::vector<std::string>;

using enum TextTable::Align;

constexpr std::size_t mostLines = 6;

/** Of the two columns of text, where a terminal has no room. */
constexpr std::size_t narrowestText = 16;

std::string timeText(std::chrono::nanoseconds time) {
    return millisecondsText(time) + " ms";
}

std::string setText(std::int32_t number) {
    return 'S' + std::to_string(number);
}

std::string recordsText(std::uint64_t records) {
    return std::to_string(records) + (records == 1 ? " record" : " records");
}

/** How wide the two columns of text may be. */
struct TextWidths {
    std::size_t foundBy = std::numeric_limits<std::size_t>::max();
    std::size_t condition = std::numeric_limits<std::size_t>::max();
};

/** Two fifths of what the numbers leave at most for what found a set; the rest for conditions. */
TextWidths widthsFor(const Explanation &explanation, std::size_t width) {
    if (width == 0) return {};
    constexpr std::string_view titles = "SET  RECORDS      TIME  ";
    std::size_t numbers = titles.size();
    std::size_t foundBy = 0;
    for (const ExplainedSet &set : explanation.sets) {
        const std::size_t taken = std::max<std::size_t>(3, setText(set.number).size()) +
                                  std::max<std::size_t>(7, std::to_string(set.records).size()) +
                                  std::max<std::size_t>(8, timeText(set.time).size()) + 6;
        numbers = std::max(numbers, taken);
        foundBy = std::max(foundBy, characterCount(set.foundBy));
    }
    const std::size_t room = width > numbers ? width - numbers : 0;
    TextWidths widths;
    widths.foundBy = std::max(narrowestText, std::min(foundBy, room * 2 / 5));
    const std::size_t rest = room > widths.foundBy + 2 ? room - widths.foundBy - 2 : 0;
    widths.condition = std::max(narrowestText, rest);
    return widths;
}

/** As many rows as the longer one of its texts has lines. */
void addSet(TextTable &table, const ExplainedSet &set, const TextWidths &widths) {
    const auto ways = wrapped(visibleText(set.foundBy), widths.foundBy, mostLines);
    const auto conditions = wrapped(visibleText(set.condition), widths.condition, mostLines);
    for (std::size_t i = 0; i < std::max(ways.size(), conditions.size()); ++i) {
        Row row = i == 0 ? Row{setText(set.number), std::to_string(set.records), timeText(set.time)}
                         : Row{"", "", ""};
        row.push_back(i < ways.size() ? ways[i] : "");
        row.push_back(i < conditions.size() ? conditions[i] : "");
        table.add(std::move(row));
    }
}

std::string setsAsText(const Explanation &explanation, std::size_t width) {
    const TextWidths widths = widthsFor(explanation, width);
    TextTable table({right, right, right, left, left});
    table.add({"SET", "RECORDS", "TIME", "FOUND BY", "CONDITION"});
    for (const ExplainedSet &set : explanation.sets)
        addSet(table, set, widths);
    return table.text();
}

std::string resultText(const ExplainedResult &result) {
    std::string text = setText(result.number) + ", " + recordsText(result.records);
    if (result.keptAs != result.number) text += "; kept as " + setText(result.keptAs);
    return text;
}

std::string sumsAsText(const Explanation &explanation) {
    TextTable table({left, right});
    table.add({"translation", timeText(explanation.translationTime())});
    table.add({"kernel", timeText(explanation.setsTime() + explanation.hitsTime)});
    table.add({"  sets", timeText(explanation.setsTime())});
    table.add({"  hits", timeText(explanation.hitsTime)});
    std::string text = table.text();
    if (explanation.result.number > 0)
        text += "result       " + resultText(explanation.result) + '\n';
    return text;
}

}  // namespace

std::string textOf(const Explanation &explanation, std::size_t width) {
    if (explanation.sets.empty()) return "";
    return setsAsText(explanation, width) + '\n' + sumsAsText(explanation);
}

}  // namespace zdbs::admin
