#include "tests/engine_conformance/finder.h"

#include <algorithm>
#include <variant>

#include "zdbs/base/status.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::conformance {

std::vector<RecordId> recordsOf(const OpenDatabase &database, const ResultSet &set) {
    std::vector<RecordId> records;
    const auto cursor = database.records(set);
    for (auto batch = cursor->next(); !batch.empty(); batch = cursor->next())
        records.insert(records.end(), batch.begin(), batch.end());
    return records;
}

Finder::Finder(const OpenDatabase &database) : database_(database) {
    for (const RecordId record : recordsOf(database, *database.everything()))
        places_.emplace(record, places_.size() + 1);
}

const ResultSetPtr &Finder::find(const std::string &condition) {
    const Command command = parseCommand("FIND " + condition);
    return find(std::get<FindCommand>(command).condition);
}

const ResultSetPtr &Finder::find(const Condition &condition) {
    const auto lookup = [this](SetReference set) {
        const auto index = static_cast<std::size_t>(set.number) - 1;
        if (set.number < 1 || index >= sets_.size())
            throw Failure(Status::unknownSet, {std::to_string(set.number), "1"});
        return sets_[index];
    };
    return sets_.emplace_back(database_.evaluate(condition, lookup));
}

const ResultSetPtr &Finder::findEach(std::string_view conditions) {
    for (;;) {
        const std::size_t end = std::min(conditions.find("; "), conditions.size());
        find(std::string(conditions.substr(0, end)));
        if (end == conditions.size()) return sets_.back();
        conditions.remove_prefix(end + 2);
    }
}

std::string Finder::places(const ResultSet &set) const {
    std::string text;
    for (const RecordId record : recordsOf(database_, set))
        text += (text.empty() ? "" : " ") + std::to_string(placeOf(record));
    return text;
}

}  // namespace zdbs::conformance
