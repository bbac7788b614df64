/** Writes nodes of a node table as XML text. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_SERIALIZER_H
#define ZDBS_EMBEDDED_FRAGMENTS_SERIALIZER_H

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zdbs/base/hits.h"
#include "zdbs/base/sink.h"
#include "zdbs/embedded/tree/node_table.h"

namespace zdbs {

/**
 * How hits are marked, and in whose namespace.
 *
 * In a text node each hit becomes `<prefix:hit>…</prefix:hit>`. On an element,
 * each attribute with hits gets a marker attribute right behind it, named by
 * markerName(), whose value lists the hits as `start,length` pairs: characters
 * from 1, as XPath's substring() counts them, with blanks between the pairs.
 * Comments and instructions cannot be marked and stay as they are.
 *
 * The surrounding document must bind `prefix` to `uri`. Where the written nodes
 * bind the prefix to something else, the markup brings a declaration of its own.
 */
struct HitMarkup {
    const HitRanges *hits = nullptr;  ///< not owned; null marks nothing
    std::string prefix;
    std::string uri;
};

/**
 * Local name of the marker of an attribute: "hit-" and the name as written, with
 * every "." doubled and the ":" of a prefix replaced by one ".", so that no two
 * attributes of an element share a marker: `id` → "hit-id", `p:id` → "hit-p.id".
 */
std::string markerName(const NodeName &attribute);

/** The declarations in scope at an element, nearest first, each prefix once. */
std::vector<NamespaceDeclaration> namespacesInScope(const NodeTable &nodes, NodeId element);

/**
 * Writes subtrees and documents. Canonicalised (C14N 1.0 with comments), a
 * written document equals its canonicalised source: texts, attributes, comments,
 * instructions and namespace declarations come out as they went in; what C14N
 * drops (entities, CDATA marks, the DTD, the order of attributes' quotes) does
 * not come back.
 *
 * The text is UTF-8 without an XML declaration. Memory does not grow with the size of what
 * is written; with its depth only by some bytes for each open element, and only where a
 * document is written by path (PathSerializer).
 *
 * Ownership: keeps references to the table, the sink and the hits, which must
 * outlive the serializer. One thread at a time. Throws only what the sink throws.
 */
class XmlSerializer {
public:
    XmlSerializer(const NodeTable &nodes, XmlSink &sink, HitMarkup markup = {});

    /** All top-level nodes of a document, a line each: "\n" follows every one. */
    void writeDocument(const DocumentRange &document);

    /**
     * One node as it could stand in another document's element content. An
     * element declares every namespace in scope, its ancestors' too, so that
     * names in its content keep their meaning.
     * REQUIRES: `node` is no attribute (see writeValue), and no default namespace
     * is in scope where the text is put.
     */
    void writeFragment(NodeId node);

    /** The value of a text or an attribute as character data, its hits marked. */
    void writeValue(NodeId node);

private:
    /** A declaration in scope whose prefix begins like the markup's. */
    struct Binding {
        NodeId element;
        std::string_view prefix;
        std::string_view uri;
    };
    using Declarations = std::vector<NamespaceDeclaration>;

    void writeSubtree(NodeId top, const Declarations &topDeclarations);
    void writeStartTag(NodeId element, const Declarations &declarations);
    void writeEndTag(NodeId element);
    void writeLeaf(NodeId node);
    void writeName(const NodeName &name);
    void writeDeclaration(std::string_view prefix, std::string_view uri);
    void writeAttributes(NodeId element);
    void writeMarker(NodeId attribute, const std::vector<HitRange> &hits, std::string_view prefix);
    std::string markerPrefix();
    bool markerTaken(NodeId element, NodeId attributesEnd, const NodeName &attribute);
    void writeHit(std::string_view text);
    void writeInstruction(NodeId instruction);
    std::vector<HitRange> hitsIn(NodeId node) const;
    void enterScope(NodeId element, const Declarations &declarations);
    void leaveScope(NodeId element);
    const Binding *binding(std::string_view prefix) const;
    bool markupShadowed() const;
    std::string unboundPrefix() const;

    const NodeTable &nodes_;
    XmlSink &sink_;
    HitMarkup markup_;
    std::vector<Binding> bindings_;  ///< of the open elements, outermost first
    NodeId markersOf_ = noNode;      ///< the element that `markers_` is about
    std::set<std::string_view> markers_;
};

}  // namespace zdbs

#endif
