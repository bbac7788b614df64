#include "zdbs/answers/explainer.h"

#include <chrono>
#include <utility>

#include "zdbs/answers/request_check.h"
#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"

namespace zdbs {

Explainer::Explainer(Session &session, RequestNotes &notes)
    : session_(session), oneState_(session), notes_(notes) {
    // As for the sets of a request: what later commands name is there, empty or not.
    session_.execute("DEFINE FIND MIN=0");
    session_.observe([this](const ExecutedFind &find) { note(find); });
}

Explainer::~Explainer() {
    session_.observe({});
}

Explanation Explainer::explain(const std::string &request) {
    using Clock = std::chrono::steady_clock;
    explanation_ = {};
    explanation_.request = request;
    const Clock::time_point begin = Clock::now();
    try {
        explanation_.result = run(request);
    } catch (const Failure &failure) {
        heedStop();
        explanation_.error = failure.what();
    }
    explanation_.total = Clock::now() - begin;
    explanation_.notes = notes_.on(request, explanation_.error);
    return std::move(explanation_);
}

ExplainedResult Explainer::run(const std::string &request) {
    if (isFindCommand(request)) {
        session_.execute(request);
        const std::int32_t number = explanation_.sets.back().number;
        return {number, number, explanation_.sets.back().records};
    }
    requireRequest(request);
    const RequestSet set = runRequest(session_, request);
    const auto records = static_cast<std::uint64_t>(oneState_.set(set.number)->size());
    return {set.foundAs, set.number, records};
}

void Explainer::note(const ExecutedFind &find) {
    explanation_.hitsTime += find.hitsTime;
    explanation_.sets.push_back({find.set, find.condition, static_cast<std::uint64_t>(find.records),
                                 static_cast<std::uint64_t>(find.hits), find.time, find.plan});
}

}  // namespace zdbs
