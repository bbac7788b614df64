/** Documents on their way into a database: what a loader tells an engine. */
#ifndef ZDBS_ENGINE_LOAD_H
#define ZDBS_ENGINE_LOAD_H

#include <cstdint>
#include <string_view>

#include "zdbs/base/node.h"

namespace zdbs {

/**
 * One transaction that brings documents in and takes documents out. Nobody sees what it does
 * before commit(), and everybody after it; destroyed or killed before that it leaves the database
 * as it was.
 *
 * A document is told in document order:
 *
 *   beginDocument  { startElement {namespaceDeclaration} {attribute} … endElement
 *                  | text | comment | processingInstruction }  endDocument
 *
 * Adjacent character data is one text. Texts are UTF-8 and need not live longer than the call.
 * Memory does not grow with the input, but for the open elements and a record for each document.
 * One thread at a time.
 *
 * Every operation throws Failure: diskFull, storeFailed. After a Failure from within a document
 * only abandonDocument() or the destructor may be called; after storeFailed and diskFull only the
 * destructor.
 */
class Load {
public:
    virtual ~Load() = default;

    /**
     * Names of documents are paths: UTF-8, at most 4096 bytes, no control characters, not
     * absolute, no empty, "." or ".." steps. Throws Failure: badDocumentName, documentExists.
     */
    virtual void beginDocument(std::string_view document) = 0;

    /** Number that stands for a name below. Holds until the end of the document. */
    virtual std::uint32_t nameNumber(const NodeName &name) = 0;

    // Each returns the new node. Throws Failure: tooManyNodes, valueTooLong (2^31 bytes and more).
    virtual NodeId startElement(std::uint32_t name) = 0;
    virtual NodeId attribute(std::uint32_t name, std::string_view value) = 0;
    virtual NodeId text(std::string_view value) = 0;
    virtual NodeId comment(std::string_view value) = 0;
    virtual NodeId processingInstruction(std::string_view target, std::string_view value) = 0;

    /** Of the element started last, before its attributes; in the order written. */
    virtual void namespaceDeclaration(std::string_view prefix, std::string_view uri) = 0;

    virtual void endElement() = 0;

    /**
     * `xmlBytes` is the size of the document's XML, kept for information only.
     * REQUIRES that the document has a node and that its elements have ended.
     */
    virtual void endDocument(std::uint64_t xmlBytes) = 0;

    /** Forgets the document begun last, as if it had never begun. */
    virtual void abandonDocument() = 0;

    /** Throws Failure: unknownDocument. */
    virtual void removeDocument(std::string_view document) = 0;

    /** Makes all of it the database's newest state. Nothing may be called after it. */
    virtual void commit() = 0;
};

}  // namespace zdbs

#endif
