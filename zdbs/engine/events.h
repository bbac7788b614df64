/** Trees on their way: what a loader tells an engine, and an engine an export or a dump. */
#ifndef ZDBS_ENGINE_EVENTS_H
#define ZDBS_ENGINE_EVENTS_H

#include <cstdint>
#include <span>
#include <string_view>

#include "zdbs/base/hits.h"
#include "zdbs/base/node.h"

namespace zdbs {

/**
 * A name, and the number by which the teller knows it: from 0 without large gaps, and the same
 * for all fragments of one call, or all of a document. Who is told can keep what it makes of a name
 * under the number.
 */
struct NumberedName {
    std::uint32_t number = 0;
    NodeName name;
};

/** Where hits are not told. */
constexpr std::span<const HitRange> unmarked{};

/**
 * Nodes in document order:
 *
 *   { startElement {namespaceDeclaration} {attribute} … endElement
 *   | text | comment | processingInstruction }
 *
 * Texts are UTF-8, and like all that is handed over live no longer than the call. Adjacent
 * character data is one text. Hits are stretches of the value: ascending, apart from each other,
 * not empty. What an event throws ends the telling.
 */
class NodeEvents {
public:
    virtual ~NodeEvents() = default;

    virtual void startElement(const NumberedName &name) = 0;

    /** Of the element started last, before its attributes; an empty prefix is the default. */
    virtual void namespaceDeclaration(std::string_view prefix, std::string_view uri) = 0;

    /** Of the element started last, before its content; by itself where an attribute is told. */
    virtual void attribute(const NumberedName &name, std::string_view value,
                           std::span<const HitRange> hits) = 0;

    virtual void text(std::string_view value, std::span<const HitRange> hits) = 0;
    virtual void comment(std::string_view value) = 0;
    virtual void processingInstruction(std::string_view target, std::string_view value) = 0;
    virtual void endElement() = 0;
};

/** Is told fragments one after the other. */
class FragmentVisitor {
public:
    virtual ~FragmentVisitor() = default;

    /**
     * Begins with the fragment of a record, and answers who is told its node and what is below.
     * An element declares every namespace in scope there, its ancestors' too, each prefix once:
     * its own as they were written, then those of its parent, and so on; none without a name.
     * @param document name of the document that it is in
     * @param path where it stands there, such as /PLAY[1]/ACT[2]/@id: names as they are written,
     *     positions among the siblings of the same name
     */
    virtual NodeEvents &beginFragment(RecordId record, std::string_view document,
                                      std::string_view path) = 0;
    virtual void endFragment() = 0;
};

}  // namespace zdbs

#endif
