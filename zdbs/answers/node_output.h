/** The forms in which nodes that were found are written. */
#ifndef ZDBS_ANSWERS_NODE_OUTPUT_H
#define ZDBS_ANSWERS_NODE_OUTPUT_H

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "zdbs/engine/engine.h"

namespace zdbs {

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

/** Nodes in document order; each call begins with the first. */
using NodeSource = std::function<std::unique_ptr<RecordCursor>()>;

/** Takes a text piece by piece; what it throws ends the writing. */
using TextConsumer = std::function<void(std::string_view)>;

/**
 * Writes nodes: one column as lines, several as CSV (RFC 4180) or as members of a JSON object.
 * Documents are written once each but for CSV, where every node has a row.
 * Nothing is built as a whole, for there may be more of it than memory holds.
 */
class NodeOutput {
public:
    /**
     * The forms must outlive it, and go together: columns are several in CSV and JSON only.
     * @param isTerminal it obeys what stands in values; elsewhere they are written as they are
     */
    NodeOutput(const NodeForms &forms, TextConsumer write, bool isTerminal = false)
        : forms_(forms), write_(std::move(write)), isTerminal_(isTerminal) {}

    /** Lines or CSV; the names of the columns are in front of the first rows only. */
    void write(const OpenDatabase &database, const NodeSource &nodes);

    /** An array for each column, as members that stand behind others: `,"ids":[1,2]`. */
    void writeMembers(const OpenDatabase &database, const NodeSource &nodes) const;

    /** What stands in the object of a node behind its columns, of which there must be some. */
    using MoreOf = std::function<std::string(RecordId)>;

    /** An object for each node, with commas between them: `{"id":1,"path":"/a"},{"id":2,…`. */
    void writeObjects(const OpenDatabase &database, const NodeSource &nodes,
                      const MoreOf &more = {}) const;

    /** An element for each node: `<node id="1" path="/a">value</node>`, one a line. */
    void writeElements(const OpenDatabase &database, const NodeSource &nodes) const;

private:
    using Take = std::function<void(RecordId, const RecordFacts &)>;

    void writeCsv(const OpenDatabase &database, RecordCursor &nodes);
    void tellRows(const NodeForms &columns, const OpenDatabase &database, RecordCursor &nodes,
                  const Take &take) const;
    void tell(NodeColumn column, const OpenDatabase &database, RecordCursor &nodes,
              const Take &take) const;

    const NodeForms &forms_;
    TextConsumer write_;
    bool isTerminal_;
    bool hasHeader_ = false;
};

/** A field of CSV, in quotes where it needs them. */
std::string csvField(std::string_view text);

}  // namespace zdbs

#endif
