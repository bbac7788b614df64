/** Reads the tables of a database: what both a snapshot and a writer begin with. */
#ifndef ZDBS_EMBEDDED_STORE_CATALOGUE_H
#define ZDBS_EMBEDDED_STORE_CATALOGUE_H

#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

class Environment;
class ReadTransaction;

/**
 * One committed state of the tables. Views that it answers live as long as the
 * transaction. Every operation throws Failure: homeDamaged (a record that cannot be one, or
 * too many or too few of them), storeFailed.
 */
class Catalogue {
public:
    Catalogue(const Environment &environment, const ReadTransaction &transaction);

    const StateRecord &state() const { return state_; }

    std::vector<NodeName> names() const;
    std::vector<Path> paths() const;

    /** In the order of their nodes, which do not overlap. */
    std::vector<StoredSegment> segments() const;

    using DocumentVisitor = std::function<bool(RecordId first, const DocumentRecord &document)>;

    /** Calls `visit` with each document in the order of their nodes until it answers false. */
    void forEachDocument(const DocumentVisitor &visit) const;

    /** The same from the document on that has the node, or the one before or behind it. */
    void forEachDocumentFrom(RecordId node, const DocumentVisitor &visit) const;

    /** The document of that name, if there is one. */
    std::optional<RecordRange> find(std::string_view name) const;

    using LongElementsVisitor =
        std::function<void(PartNumber part, std::span<const LongElement> elements)>;

    /** Of all documents, by node. */
    void forEachLongElements(const LongElementsVisitor &visit) const;

private:
    [[noreturn]] void failDamaged(std::string_view what) const;
    bool visitDocument(std::string_view key, std::string_view record,
                       const DocumentVisitor &visit) const;

    const Environment &environment_;
    const ReadTransaction &transaction_;
    StateRecord state_;
};

}  // namespace zdbs::embedded

#endif
