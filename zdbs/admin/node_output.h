/** The forms in which nodes that were found are printed. */
#ifndef ZDBS_ADMIN_NODE_OUTPUT_H
#define ZDBS_ADMIN_NODE_OUTPUT_H

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "zdbs/engine/engine.h"

namespace zdbs::admin {

/** What is told of each node. */
enum class NodeColumn : std::uint8_t { id, document, path, value };

/** Which columns are printed, in what form, and of which of the nodes. */
struct NodeForms {
    bool ids = false;
    bool documents = false;
    bool paths = false;
    bool values = false;
    bool asCsv = false;
    bool endsInNul = false;  ///< what would be lines
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t offset = 0;

    bool hasWindow() const {
        return offset > 0 || limit != std::numeric_limits<std::uint64_t>::max();
    }

    bool has(NodeColumn column) const;
    std::size_t columns() const;
};

/**
 * Throws UsageError for what cannot be done together.
 * @param hasFragments fragments are asked for, too
 */
void checkForms(const NodeForms &forms, bool asJson, bool hasFragments);

/** Nodes in document order; each call begins with the first. */
using NodeSource = std::function<std::unique_ptr<RecordCursor>()>;

/**
 * Prints nodes to standard output: one column as lines, several as CSV (RFC 4180) or as members
 * of a JSON object. Documents are printed once each but for CSV, where every node has a row.
 * Nothing is built as a whole, for there may be more of it than memory holds.
 */
class NodeOutput {
public:
    /** REQUIRES checkForms(); outlived by the forms. */
    explicit NodeOutput(const NodeForms &forms) : forms_(forms) {}

    /** Lines or CSV; the names of the columns are in front of the first rows only. */
    void write(const OpenDatabase &database, const NodeSource &nodes);

    /** An array for each column, as members that stand behind others: `,"ids":[1,2]`. */
    void writeMembers(const OpenDatabase &database, const NodeSource &nodes) const;

private:
    using Take = std::function<void(RecordId, const RecordFacts &)>;

    void writeCsv(const OpenDatabase &database, RecordCursor &nodes);
    void tell(NodeColumn column, const OpenDatabase &database, RecordCursor &nodes,
              const Take &take) const;

    const NodeForms &forms_;
    bool hasHeader_ = false;
};

/** A field of CSV, in quotes where it needs them. */
std::string csvField(std::string_view text);

}  // namespace zdbs::admin

#endif
