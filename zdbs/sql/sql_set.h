/** Result sets: trees of predicates with all that they remember. */
#ifndef ZDBS_SQL_SQL_SET_H
#define ZDBS_SQL_SQL_SET_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/engine/result_set.h"
#include "zdbs/language/command.h"
#include "zdbs/sql/pairs.h"
#include "zdbs/sql/state.h"

namespace zdbs::sql {

class SqlSet;
using SqlSetPtr = std::shared_ptr<const SqlSet>;

/** A step on an axis from the nodes of a set. */
struct ChainStep {
    SqlSetPtr from;
    Axis axis;

    bool operator==(const ChainStep &) const = default;
};

/** Value conditions, and the nodes that were matched by them. */
struct Leaf {
    std::vector<FieldTerm> terms;
    PathSetPtr nodes;

    /** Only what is contained hits less than the whole value. */
    bool hitsPieces() const {
        for (const FieldTerm &term : terms) {
            if (term.relation != Relation::contains || term.text.empty()) return false;
        }
        return true;
    }
};
using LeafPtr = std::shared_ptr<const Leaf>;

/** Rows of some records of a set, kept for those who ask one by one. */
struct Block {
    RecordId end = 0;  ///< the records in front of it are in this block or in those before it
    std::uint64_t before = 0;  ///< how many are in those
    std::vector<RecordId> records = {};
};

/** Belongs to no connection; its numbers are known once it was counted. */
class SqlSet : public ResultSet {
public:
    SqlSet(StatePtr state_, PathSet paths_)
        : state(std::move(state_)), paths(std::make_shared<PathSet>(std::move(paths_))) {}

    std::int64_t size() const override { return records; }
    std::int64_t hits() const override { return hitWords; }

    StatePtr state;
    PathSetPtr paths;
    bool isSetZero = false;  ///< which is more than its nodes as the first of a step
    std::shared_ptr<const ChainStep> chain = nullptr;   ///< the last of the steps that lead here
    PairsPtr pairs = nullptr;                           ///< null: it counts among siblings
    std::optional<ChainStep> pairsStep = std::nullopt;  ///< the one that all come from
    std::vector<LeafPtr> leaves = {};
    bool isCounted = false;
    std::int64_t records = 0;
    std::int64_t hitWords = 0;
    std::string plan = "the summary of paths";

    mutable Block block = {};  ///< one thread at a time has the sets of a session
};

inline SqlSetPtr sqlSet(const ResultSetPtr &set) {
    return std::static_pointer_cast<const SqlSet>(set);
}
inline const SqlSet &sqlSet(const ResultSet &set) {
    return static_cast<const SqlSet &>(set);
}

}  // namespace zdbs::sql

#endif
