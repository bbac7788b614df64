/** Turns the nodes of documents, handed over in order, into rows of segments. */
#ifndef ZDBS_EMBEDDED_STORE_DOCUMENT_BUILDER_H
#define ZDBS_EMBEDDED_STORE_DOCUMENT_BUILDER_H

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "zdbs/embedded/store/name_dictionary.h"
#include "zdbs/embedded/store/path_dictionary.h"
#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/segment_rows.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

constexpr std::size_t maxValueBytes = 2147483647;  ///< of one node

/**
 * Numbers nodes, knows their paths, keeps the open elements, and hands out every full
 * segment. Documents share segments. Contracts of the operations as in Writer.
 */
class DocumentBuilder {
public:
    using SegmentSink = std::function<void(SegmentRows rows)>;

    /** Takes the document to a part of its own, by renumber(): it is in one that is full. */
    using PartSink = std::function<void()>;

    DocumentBuilder(NameDictionary &names, PathDictionary &paths, const SegmentLimits &limits,
                    SegmentSink sink, PartSink nextPart)
        : names_(names),
          paths_(paths),
          limits_(limits),
          sink_(std::move(sink)),
          nextPart_(std::move(nextPart)) {}

    /** The first node of the document will be `first`: 1 in a part that is empty. */
    void begin(NodeId first);

    NodeId startElement(std::uint32_t name);
    NodeId addLeaf(NodeKind kind, std::uint32_t name, std::string_view value) {
        return add(kind, name, value);
    }
    void addNamespace(std::string_view prefix, std::string_view uri);
    void endElement();

    /** REQUIRES that every element has ended. Answers the last node; noNode without nodes. */
    NodeId end();

    /**
     * Forgets the nodes of the document that were not handed out. `lastHandedOut` is the last
     * node that is left of those that were.
     */
    void abandon(NodeId lastHandedOut);

    /** Hands out all rows, as far as there are any. */
    void handOut();

    /**
     * Numbers the nodes of the document from 1, as the first ones of a part. REQUIRES that all
     * were handed out.
     */
    void renumber();

    NodeId first() const { return first_; }

    /** The node added last; noNode where the document has none. */
    NodeId last() const { return next_ == first_ ? noNode : static_cast<NodeId>(next_ - 1); }

    /** After end(): the elements that end in a later segment, by node. */
    const std::vector<LongElement> &longElements() const { return longElements_; }

    /** The nodes that no segment was handed out with; empty afterwards. */
    SegmentRows takeRows() { return std::exchange(rows_, {}); }

private:
    struct OpenElement {
        NodeId node;
        PathId path;
        RowPlace place;
    };

    NodeId add(NodeKind kind, std::uint32_t name, std::string_view value);
    void makeRoom();

    /** The last number of a document in its part. */
    NodeId mostFrom(NodeId first) const {
        return first == 1 ? limits_.nodesOfDocument : limits_.nodesOfPart;
    }
    void finishSegment();

    NameDictionary &names_;
    PathDictionary &paths_;
    SegmentLimits limits_;
    SegmentSink sink_;
    PartSink nextPart_;
    SegmentRows rows_;
    NodeId first_ = noNode;
    std::uint64_t next_ = 0;
    NodeId most_ = 0;
    NodeId lastHandedOut_ = noNode;
    PathId lastPath_ = noPath;  ///< of the node added last
    RowPlace lastPlace_{};
    std::vector<OpenElement> open_;
    std::vector<LongElement> longElements_;
};

}  // namespace zdbs::embedded

#endif
