/** Writes nodes that are stored by path as XML text, in one pass over their paths. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_PATH_SERIALIZER_H
#define ZDBS_EMBEDDED_FRAGMENTS_PATH_SERIALIZER_H

#include <cstddef>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "zdbs/base/sink.h"
#include "zdbs/embedded/paths/node_reader.h"

namespace zdbs {

/**
 * Answers which elements have namespace declarations; quick where few have, and when asked
 * in ascending order. For one thread.
 */
class DeclaringElements {
public:
    /** The table must outlive it. */
    explicit DeclaringElements(const NodeTable &nodes) : nodes_(nodes) {}

    /** Whether the node may have some; never false when it has. */
    bool mayHave(NodeId node) {
        if (node < asked_ || node > next_) {
            next_ = nodes_.nextDeclaring(node);
            asked_ = node;
        }
        return node == next_;
    }

private:
    const NodeTable &nodes_;
    NodeId asked_ = 1;
    NodeId next_ = noNode;  ///< the first one from asked_ on
};

/**
 * Writes what XmlSerializer writes when no hits are marked. In document order the path of a
 * node tells by itself which elements end in front of it, so neither parents nor ends are
 * looked up, and a value is in the row behind the one before it. Only the nodes of
 * irregular paths name their parents. Memory grows by some bytes with each open element.
 *
 * Ownership: keeps references to its arguments. One thread at a time. Throws what the sink
 * throws, and Failure(homeDamaged) where the paths of nodes are no tree.
 */
class PathSerializer {
public:
    /** REQUIRES that the reader is one of nodes.paths(). */
    PathSerializer(const NodeTable &nodes, NodeReader &reader, XmlSink &sink)
        : nodes_(nodes),
          reader_(reader),
          sink_(sink),
          declaring_(nodes),
          tags_(reader.summary().size()) {}

    /** All top-level nodes of a document, a line each: "\n" follows every one. */
    void writeDocument(const DocumentRange &document);

    /**
     * One node of a path, and what is below it up to `last`. Of an element, `declarations`
     * are written in place of its own. REQUIRES that it is no attribute.
     */
    void writeTree(NodeId top, PathId path, NodeId last,
                   std::span<const NamespaceDeclaration> declarations);

private:
    /** What the nodes of a path are written with, and what is needed of the path itself. */
    struct Tags {
        PathId path;
        PathId parent;
        std::uint32_t level;
        NodeKind kind;
        bool isRegular;
        std::string front;  ///< of an element `<a`, of an attribute ` a="`, `<?a` of instructions
        std::string end;    ///< of an element `</a>`
        PathCursor *rows;
    };
    struct Open {
        NodeId node;
        const Tags *tags;
        std::uint32_t name;  ///< of an irregular element
    };

    const Tags &tagsOf(PathId path) {
        const Tags *const known = tags_[path];
        return known != nullptr ? *known : makeTags(path);
    }
    const Tags &makeTags(PathId path);
    void enter(NodeId node, const Tags &tags);
    std::size_t irregularDepth(NodeId node, const Tags &tags);
    void write(NodeId node, const Tags &tags, std::span<const NamespaceDeclaration> *declarations);
    void writeElement(NodeId node, const Tags &tags,
                      std::span<const NamespaceDeclaration> *declarations);
    void writeDeclarations(std::span<const NamespaceDeclaration> declarations);
    void writeAttribute(NodeId node, const Tags &tags);
    void writeComment(std::string_view value);
    void writeInstruction(NodeId node, const Tags &tags);
    void writeName(std::uint32_t number);
    std::uint32_t irregularName(NodeId node, const Tags &tags);
    void closeLast();
    void endStartTag() {
        if (!inStartTag_) return;
        inStartTag_ = false;
        sink_.write(">");
    }
    std::string_view valueOf(NodeId node, const Tags &tags) {
        if (tags.rows->seek(node) != node) NodeReader::failAt(node);
        return tags.rows->value();
    }

    const NodeTable &nodes_;
    NodeReader &reader_;
    XmlSink &sink_;
    DeclaringElements declaring_;
    std::vector<const Tags *> tags_;  ///< by path; null until needed
    std::deque<Tags> made_;
    std::vector<Open> open_;      ///< the elements that have not ended, outermost first
    std::uint32_t topLevel_ = 0;  ///< of the tree that is written; 0 of an irregular one
    bool inStartTag_ = false;     ///< of the innermost element, its ">" is not written yet
};

}  // namespace zdbs

#endif
