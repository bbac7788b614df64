/** Where the rows of a collection are when they are on several servers, its shards. */
#ifndef ZDBS_SQL_SPREAD_H
#define ZDBS_SQL_SPREAD_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/sql/location.h"
#include "zdbs/sql/statement.h"

namespace zdbs::sql {

/** A server that has some of the parts. */
struct Shard {
    std::string name;     ///< of its database, which no other shard's has
    std::string address;  ///< as libpq takes it
};

/** What a request is told with, so that no shard answers from other rows than those it means. */
struct Spread {
    std::string home;  ///< tells the shards of this location from those of others
    std::int64_t collection = 0;
    std::vector<Shard> shards;
    std::string options;               ///< what the server knows of them
    std::vector<std::int64_t> fences;  ///< of each the state that changed it last

    int shardOf(int part) const { return part % static_cast<int>(shards.size()); }

    /**
     * A statement as one to the server that has all shards answer it.
     * @param columns of the answer with their types: "c int, n bigint"
     * @param request what it is called by on the shards
     */
    Statement onAll(const Statement &statement, std::string_view columns,
                    std::string_view request) const;

    /** To a shard itself, in a transaction: it is one of these, with what it should know. */
    Statement required() const;
};
using SpreadPtr = std::shared_ptr<const Spread>;

/** How sentences name a shard. */
std::string placeOf(const Location &location, const std::string &shard);

/** What the server says of a shard that failed; nothing where it was not one. */
std::optional<Failure> failureOfShard(const Location &location, std::string_view state,
                                      std::string_view message);

}  // namespace zdbs::sql

#endif
