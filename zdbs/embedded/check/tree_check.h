/** The trees of the documents of a part, rebuilt from the paths of nodes. */
#ifndef ZDBS_EMBEDDED_CHECK_TREE_CHECK_H
#define ZDBS_EMBEDDED_CHECK_TREE_CHECK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zdbs/embedded/check/catalogue_tables.h"
#include "zdbs/embedded/check/findings.h"
#include "zdbs/embedded/check/segment_check.h"

namespace zdbs::embedded {

/**
 * Goes through all nodes of the part in order. Of a regular path, level and parent path say where
 * the node hangs: the elements that are open are kept on a stack, as a parser would. What the
 * columns say about rows, parents and subtrees is compared with that. Of an irregular path
 * the column of parents says where the node hangs, and the rest is compared.
 *
 * Where the tree of a document makes no sense any more, the rest of the document is left
 * out. Rows of removed documents are counted and not looked at.
 */
class TreeCheck {
public:
    /** @param part one of the tables */
    TreeCheck(const CatalogueTables &tables, const PartTables &part, Findings &findings);

    /** The next segment, in the order of their nodes. */
    void add(const CheckedSegment &segment);

    /** The next segment cannot be read. */
    void skip(const StoredSegment &segment);

    /** After the last segment. */
    void finish();

    /** Nodes of documents that were looked at. */
    std::uint64_t nodes() const { return nodes_; }

private:
    /** A node where it lies. */
    struct Row {
        NodeId node;
        PathId pathId;
        const Path &path;
        const PathRun &run;
        std::uint32_t row;      ///< in the run
        std::uint64_t fullRow;  ///< among all rows of the path
    };

    /** An element whose subtree has not ended. */
    struct OpenElement {
        NodeId node;
        PathId path;
        std::uint64_t fullRow;
        std::uint32_t below;  ///< as stored
        std::uint32_t attributes = 0;
        const std::string *place;  ///< of the segment it is in
    };

    void readNodes(const CheckedSegment &segment, std::size_t stretch);
    bool readNode(NodeId node, std::uint32_t place);
    void checkRowCounts();
    void checkDeclarations() const;
    bool enterDocument(NodeId node);
    void endDocument();
    void visit(const Row &row);
    bool findParent(const Row &row);
    bool findRegularParent(const Row &row);
    bool findIrregularParent(const Row &row);
    void compareParentRow(const Row &row);
    void checkAttribute(const Row &row);
    void closeDownTo(std::size_t depth, NodeId last);
    void close(const OpenElement &element, NodeId last);
    const LongElement *longElementAt(NodeId node);
    void lose(const Row &row, const std::string &text);
    std::string rowText(const Row &row) const;
    void tell(const Row &row, const char *structure, const std::string &text) const;

    const CatalogueTables &tables_;
    const PartTables &part_;
    Findings &findings_;
    std::uint64_t nodes_ = 0;

    // Of the segment that is being read.
    const CheckedSegment *segment_ = nullptr;
    std::vector<std::uint32_t> rowsRead_;    ///< by local number
    std::vector<std::string> places_;        ///< of the segments, for open elements
    std::vector<std::uint64_t> rowsBefore_;  ///< by path: in earlier segments

    // Of the document that is being read.
    std::size_t document_ = 0;
    std::uint64_t expected_ = 0;  ///< the next of its nodes; 0 before its first one
    bool isTracked_ = false;      ///< its tree makes sense so far
    bool isUnread_ = false;       ///< some of its nodes are in a segment that cannot be read
    std::vector<OpenElement> open_;
    std::vector<bool> isElementFound_;  ///< by place of a long element
};

}  // namespace zdbs::embedded

#endif
