/** The elements of a document that have not ended while it is loaded, and where they stand. */
#ifndef ZDBS_SQL_OPEN_ELEMENTS_H
#define ZDBS_SQL_OPEN_ELEMENTS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "zdbs/engine/events.h"
#include "zdbs/sql/summary.h"

namespace zdbs::sql {

struct OpenElement {
    int id = 0;
    PathNumber path = rootPath;
    int ordinal = 1;
    std::string declarations = {};
    std::unordered_map<int, int> siblings = {};  ///< how many there are of each name by now
};

/** Finds paths quickly by the numbers that the loader has for names. */
class OpenElements {
public:
    explicit OpenElements(Summary &summary) : summary_(summary) {}

    /** A document begins: with the row of its root, and numbers of names anew. */
    void begin(int root);

    OpenElement &top() { return open_.back(); }
    std::size_t depth() const { return open_.size(); }
    void push(int id, PathNumber path, int ordinal) { open_.push_back({id, path, ordinal}); }
    void pop() { open_.pop_back(); }

    /** The path of a node in the element that is open. */
    PathNumber pathOf(NodeKind kind, std::uint32_t number, const NodeName &name);

    /** The place of one more node among the siblings of its name. */
    int nextOrdinal(PathNumber path);

    /** Numbers of the rows at the levels from 1 to two above a node in the open element. */
    std::vector<int> above() const;

private:
    int slotOf(PathNumber path);

    Summary &summary_;
    std::vector<OpenElement> open_;
    std::unordered_map<std::uint64_t, PathNumber> known_;
    std::vector<int> slots_;  ///< of paths; those of one parent and written name share one
    std::map<std::string, int> slotNames_;
};

}  // namespace zdbs::sql

#endif
