/** Finds sets by the texts of conditions. */
#ifndef TESTS_ENGINE_CONFORMANCE_FINDER_H
#define TESTS_ENGINE_CONFORMANCE_FINDER_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/engine.h"

namespace zdbs::conformance {

/** All records of a set, as its cursor tells them. */
std::vector<RecordId> recordsOf(const OpenDatabase &database, const ResultSet &set);

/**
 * Keeps what it finds under numbers from 1, as a session does, and names nodes by their place
 * in the database, from 1, so that what is expected does not depend on the numbers of records.
 */
class Finder {
public:
    explicit Finder(const OpenDatabase &database);

    /** Keeps the set, under the next number. Throws what the engine throws. */
    const ResultSetPtr &find(const std::string &condition);
    const ResultSetPtr &find(const Condition &condition);

    /** Finds one condition after the other, which "; " separates; what the last one finds. */
    const ResultSetPtr &findEach(std::string_view conditions);

    /** "2 5 6" */
    std::string places(const ResultSet &set) const;
    std::string placesOfEach(std::string_view conditions) { return places(*findEach(conditions)); }

    std::size_t placeOf(RecordId record) const { return places_.at(record); }
    const std::vector<ResultSetPtr> &sets() const { return sets_; }
    const OpenDatabase &database() const { return database_; }

private:
    const OpenDatabase &database_;
    std::map<RecordId, std::size_t> places_;
    std::vector<ResultSetPtr> sets_;
};

}  // namespace zdbs::conformance

#endif
