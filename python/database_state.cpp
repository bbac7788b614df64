#include "python/database_state.h"

#include <chrono>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/engine/registry.h"
#include "zdbs/xpath/evaluator.h"

namespace zdbs::python {

std::unique_ptr<OpenDatabase> Place::open() const {
    const std::string location = home.empty() ? configuredLocation() : home;
    if (!user) return administer(location)->open(database);
    const auto engine = openEngine(location);
    if (!engine->authenticate(*user, password)) throw Failure(Status::loginFailed);
    return engine->open(*user, database);
}

Turn::Turn(std::timed_mutex &mutex) : lock_(mutex, std::defer_lock) {
    while (!lock_.try_lock_for(std::chrono::milliseconds(20)))
        heedStop();
}

const xpath::Collection &DatabaseState::collection() {
    if (!collection_) collection_.emplace(database());
    return *collection_;
}

ResultSetPtr DatabaseState::find(const std::string &request) {
    ResultSetPtr found = desk_.answer(request).matches;
    found->size();
    return found;
}

xpath::Value DatabaseState::evaluate(const std::string &expression,
                                     const xpath::Surroundings &surroundings) {
    const xpath::ExpressionPtr parsed = xpath::parse(expression, surroundings);
    return xpath::Evaluator(collection()).evaluate(*parsed);
}

}  // namespace zdbs::python
