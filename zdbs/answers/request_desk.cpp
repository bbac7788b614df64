#include "zdbs/answers/request_desk.h"

#include <algorithm>
#include <utility>

#include "zdbs/answers/request_check.h"

namespace zdbs {

namespace {

ConjunctTerm idTerm(Relation relation, RecordId record) {
    return {false, FieldTerm{Field::id, relation, std::to_string(record)}};
}

}  // namespace

RequestDesk::RequestDesk(Session &session) : session_(session), oneState_(session) {
    // A command that finds nothing has an answer, as a request has.
    session_.execute("DEFINE FIND MIN=0");
}

RequestAnswer RequestDesk::answer(const std::string &text) {
    if (isFindCommand(text)) {
        session_.execute(text);
        const ResultSetPtr &found = oneState_.set(session_.lastSearch().number);
        return {oneState_.database(), found, oneState_.made()};
    }
    requireRequest(text);
    return runNestedRequest(session_, text);
}

/** Numbers of records ascend in document order, so those of a stretch are a range. */
ResultSetPtr excerpt(const RequestAnswer &answer, std::uint64_t offset, std::uint64_t limit) {
    const auto size = static_cast<std::uint64_t>(answer.matches->size());
    const std::uint64_t count = offset < size ? std::min(limit, size - offset) : 0;
    if (count == size) return answer.matches;
    const auto place = [&](std::uint64_t ordinal) {
        return answer.database.record(*answer.matches, static_cast<std::int64_t>(ordinal));
    };
    Conjunct terms;
    terms.push_back({false, SetReference{1, 0}});
    if (count == 0) {
        terms.push_back({true, SetReference{1, 0}});
    } else {
        terms.push_back(idTerm(Relation::greaterEqual, place(offset + 1)));
        terms.push_back(idTerm(Relation::lessEqual, place(offset + count)));
    }
    Condition condition;
    condition.conjuncts.push_back(std::move(terms));
    return answer.database.evaluate(condition, [&](SetReference) { return answer.matches; });
}

}  // namespace zdbs
