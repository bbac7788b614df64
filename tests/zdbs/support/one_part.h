/** A node table as the only part of a database. */
#ifndef TESTS_ZDBS_SUPPORT_ONE_PART_H
#define TESTS_ZDBS_SUPPORT_ONE_PART_H

#include <functional>
#include <memory>
#include <utility>

#include "zdbs/embedded/embedded_database.h"

namespace zdbs::embedded {

/** For makeEmbeddedDatabase(): what `newest` yields is the one part of the newest state. */
inline StateSource onePart(std::function<std::shared_ptr<const NodeTable>()> newest) {
    return [newest = std::move(newest), last = std::shared_ptr<const PartTables>()]() mutable {
        auto table = newest();
        if (!last || last->front() != table)
            last = std::make_shared<const PartTables>(PartTables{std::move(table)});
        return last;
    };
}

}  // namespace zdbs::embedded

#endif
