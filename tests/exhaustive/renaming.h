/** Forests written again, with other names and kinds of nodes, into whatever holds nodes. */
#ifndef TESTS_EXHAUSTIVE_RENAMING_H
#define TESTS_EXHAUSTIVE_RENAMING_H

#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/tree/node_table.h"

namespace exhaustive {

/** Which nodes of a forest are of one path. */
enum class Naming {
    alike,      ///< as many as can be: attributes differ by their place in the element
    changing,   ///< two names of elements in turn
    different,  ///< no two nodes
    ofAllKinds  ///< leaves are texts, comments and instructions in turn
};

/** What takes the nodes of documents in document order. */
class NodeSink {
public:
    virtual ~NodeSink() = default;

    virtual void startDocument(const std::string &name) = 0;
    virtual void startElement(const std::string &name) = 0;
    virtual void attribute(const std::string &name, std::string_view value) = 0;
    virtual void text(std::string_view value) = 0;
    virtual void comment(std::string_view value) = 0;
    virtual void instruction(std::string_view target, std::string_view value) = 0;
    virtual void endElement() = 0;
    virtual void endDocument() = 0;
};

/** Writes documents of a forest, which must outlive it. */
class Renaming {
public:
    Renaming(const zdbs::embedded::NodeTable &forest, Naming naming)
        : forest_(forest), naming_(naming) {}

    /** A document called `name` with the nodes of one of the forest. */
    void write(const zdbs::embedded::DocumentRange &document, const std::string &name,
               NodeSink &sink);

private:
    void closeDownTo(zdbs::embedded::NodeId parent, NodeSink &sink);
    void writeNode(zdbs::embedded::NodeId node, NodeSink &sink);
    static void writeLeaf(zdbs::embedded::NodeId node, NodeSink &sink);
    std::string suffix(zdbs::embedded::NodeId node, zdbs::embedded::NodeId place) const;

    const zdbs::embedded::NodeTable &forest_;
    Naming naming_;
    std::vector<zdbs::embedded::NodeId> open_;
};

}  // namespace exhaustive

#endif
