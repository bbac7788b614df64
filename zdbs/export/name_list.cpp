#include "zdbs/export/name_list.h"

#include "zdbs/base/status.h"

namespace zdbs {
namespace {

/** "//a/b/": the steps, and whether more than one level is skipped behind them. */
NamePlace placeIn(std::string_view text) {
    NamePlace place;
    while (text.starts_with('/')) {
        const bool isDeep = text.starts_with("//");
        text.remove_prefix(isDeep ? 2 : 1);
        const std::string_view name = text.substr(0, text.find('/'));
        text.remove_prefix(name.size());
        if (name.empty()) {
            place.isDeep = isDeep;
            return place;
        }
        place.steps.push_back({isDeep, std::string(name)});
    }
    throw Failure(Status::requestFailed, {"it names no place"});
}

}  // namespace

std::string nameList(const Session &session, std::string_view place) {
    std::string list;
    for (const OccurringName &name : session.names(placeIn(place))) {
        list += name.kind == NodeKind::element ? "E\t" : "A\t";
        list += std::to_string(name.count) + (name.hasElements ? "\t1\t" : "\t0\t");
        list += name.prefix + '\t' + name.local + '\n';
    }
    return list;
}

std::string databaseList(const Session &session) {
    std::string list;
    for (const std::string &name : session.databases())
        list += name + '\n';
    return list;
}

}  // namespace zdbs
