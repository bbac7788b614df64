/** Documents on their way into a database: what a loader tells an engine. */
#ifndef ZDBS_ENGINE_LOAD_H
#define ZDBS_ENGINE_LOAD_H

#include <cstdint>
#include <string_view>

#include "zdbs/engine/events.h"

namespace zdbs {

/**
 * One transaction that brings documents in and takes documents out. Nobody sees what it does
 * before commit(), and everybody after it; destroyed or killed before that it leaves the database
 * as it was. Others who want to change the database wait until it is destroyed.
 *
 *   beginDocument  { its nodes, as events }  endDocument
 *
 * Numbers of names hold until the end of the document. Hits are passed over. Memory does not grow
 * with the input, but for the open elements and a record for each document. One thread at a time.
 *
 * Every operation throws Failure: diskFull, storeFailed; events also tooManyNodes, valueTooLong
 * (2^31 bytes and more). After a Failure from within a document only abandonDocument() or the
 * destructor may be called; after storeFailed and diskFull only the destructor.
 */
class Load : public NodeEvents {
public:
    /** How many nodes a document can have; one more is tooManyNodes. */
    virtual std::uint64_t maxNodes() const = 0;

    /**
     * Names of documents are paths: UTF-8, at most 4096 bytes, no control characters, not
     * absolute, no empty, "." or ".." steps. Throws Failure: badDocumentName, documentExists.
     */
    virtual void beginDocument(std::string_view document) = 0;

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
