/** The one writer of XML text. */
#ifndef ZDBS_EXPORT_XML_WRITER_H
#define ZDBS_EXPORT_XML_WRITER_H

#include <cstddef>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/sink.h"
#include "zdbs/engine/events.h"

namespace zdbs {

/**
 * What fragments get besides their own nodes, and in whose namespace.
 *
 * In a text node each hit becomes `<prefix:hit>…</prefix:hit>`. On an element,
 * each attribute with hits gets a marker attribute right behind it, named by
 * markerName(), whose value lists the hits as `start,length` pairs: characters
 * from 1, as XPath's substring() counts them, with blanks between the pairs.
 * Comments and instructions cannot be marked and stay as they are.
 *
 * An attribute that is told by itself cannot stand alone in XML: an element
 * `<prefix:attribute name="…" namespace="…">` stands for it, its value as text.
 *
 * The surrounding document must bind `prefix` to `uri`. Where the written nodes
 * bind the prefix to something else, the markup brings a declaration of its own.
 */
struct FragmentMarkup {
    std::string prefix;
    std::string uri;
};

/**
 * Local name of the marker of an attribute: "hit-" and the name as written, with
 * every "." doubled and the ":" of a prefix replaced by one ".", so that no two
 * attributes of an element share a marker: `id` → "hit-id", `p:id` → "hit-p.id".
 */
std::string markerName(const NodeName &attribute);

/**
 * Writes the nodes that it is told. Canonicalised (C14N 1.0 with comments), a
 * written document equals its canonicalised source: texts, attributes, comments,
 * instructions and namespace declarations come out as they went in; what C14N
 * drops (entities, CDATA marks, the DTD, the order of attributes' quotes) does
 * not come back.
 *
 * The text is UTF-8 without an XML declaration. Memory grows by some bytes with each name, and
 * with each open element; not with what is written. The sink must outlive the writer. One thread at
 * a time. Throws only what the sink throws.
 */
class XmlWriter final : public NodeEvents {
public:
    /** Of documents: each node at the top is a line, "\n" follows it. Hits are not marked. */
    explicit XmlWriter(XmlSink &sink) : XmlWriter(sink, {}, true) {}

    /** Of fragments. REQUIRES that no default namespace is in scope where the text is put. */
    XmlWriter(XmlSink &sink, FragmentMarkup markup) : XmlWriter(sink, std::move(markup), false) {}

    void startElement(const NumberedName &name) override;
    void namespaceDeclaration(std::string_view prefix, std::string_view uri) override;
    void attribute(const NumberedName &name, std::string_view value,
                   std::span<const HitRange> hits) override;
    void text(std::string_view value, std::span<const HitRange> hits) override;
    void comment(std::string_view value) override;
    void processingInstruction(std::string_view target, std::string_view value) override;
    void endElement() override;

private:
    /** What a name is written with. */
    struct Tags {
        std::string start;      ///< `<p:a`
        std::string end;        ///< `</p:a>`
        std::string attribute;  ///< ` p:a="`
    };

    /** A declaration in scope whose prefix begins like the markup's. */
    struct Binding {
        std::size_t depth;  ///< of its element
        std::string prefix;
        std::string uri;
    };

    /** A marker attribute that waits for the end of the start tag. */
    struct Marker {
        std::size_t place;  ///< in waiting_
        std::string name;
        std::string places;
    };

    XmlWriter(XmlSink &sink, FragmentMarkup markup, bool linesAtTop)
        : sink_(sink),
          markup_(std::move(markup)),
          linesAtTop_(linesAtTop),
          waitingSink_(waiting_),
          out_(&sink) {}

    bool hasMarkup() const { return !markup_.uri.empty(); }
    const Tags &tagsOf(const NumberedName &name) {
        const Tags *const known = name.number < tags_.size() ? tags_[name.number] : nullptr;
        return known != nullptr ? *known : makeTags(name);
    }
    const Tags &makeTags(const NumberedName &name);
    void beginContent() {
        if (inStartTag_) endStartTag(">");
    }
    void endStartTag(std::string_view end);
    void endTop() {
        if (linesAtTop_ && open_.empty()) sink_.write("\n");
    }
    void writeDeclaration(XmlSink &sink, std::string_view prefix, std::string_view uri) const;
    void writeLoneAttribute(const NodeName &name, std::string_view value,
                            std::span<const HitRange> hits);
    void writeMarked(std::string_view value, std::span<const HitRange> hits);
    void writeHit(std::string_view text);
    void addMarker(const NodeName &attribute, std::string_view value,
                   std::span<const HitRange> hits);
    void writeWaiting();
    std::string markerPrefix();
    const Binding *binding(std::string_view prefix) const;
    bool isMarkupShadowed() const;
    std::string unboundPrefix() const;

    XmlSink &sink_;
    FragmentMarkup markup_;
    bool linesAtTop_;
    std::vector<const Tags *> tags_;  ///< by number of the name; null until needed
    std::deque<Tags> made_;
    std::vector<const Tags *> open_;    ///< the elements that have not ended, outermost first
    bool inStartTag_ = false;           ///< of the innermost element, its ">" is not written yet
    std::vector<Binding> bindings_;     ///< of the open elements, outermost first
    std::vector<std::string> markers_;  ///< that the element in whose start tag we are holds itself
    std::vector<Marker> added_;         ///< those that it gets
    std::string waiting_;               ///< the start tag from its first marker on
    StringSink waitingSink_;
    XmlSink *out_;  ///< where start tags are written: sink_, or waitingSink_ behind a marker
};

}  // namespace zdbs

#endif
