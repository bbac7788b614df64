#include "tests/engine_conformance/side.h"

#include "tests/engine_conformance/event_text.h"
#include "tests/engine_conformance/random_requests.h"

namespace zdbs::conformance {

std::string Side::described(const ResultSet &set) const {
    std::string text =
        std::to_string(set.size()) + " records, " + std::to_string(set.hits()) + " hits:";
    for (const RecordId record : recordsOf(*database, set)) {
        text += " " + std::to_string(finder->placeOf(record));
        for (const HitWord &word : database->hitWords(set, record))
            text += "," + std::to_string(word.part) + "." + std::to_string(word.field) + "." +
                    std::to_string(word.word) + "." + std::to_string(word.length);
    }
    return text;
}

std::string Side::found(support::Choices choices) {
    const Condition condition = RandomRequests(choices, *finder).condition();
    return described(*finder->find(condition));
}

std::string Side::told(support::Choices choices) {
    RandomRequests requests(choices, *finder);
    const std::vector<FragmentSpec> specs = requests.specs();
    const std::vector<ResultSetPtr> marked = requests.marked();
    EventText text([this](RecordId record) { return finder->placeOf(record); });
    database->fragments(*finder->sets().back(), specs, marked, text);
    return text.text();
}

std::string Side::carriedOver() {
    std::vector<ResultSetPtr> sets = finder->sets();
    database->refresh(sets);
    startAgain();
    std::string text;
    for (const ResultSetPtr &set : sets)
        text += described(*set) + "\n";
    return text;
}

}  // namespace zdbs::conformance
