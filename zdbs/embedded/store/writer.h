/** Changes to one database: documents in, documents out, all or nothing. */
#ifndef ZDBS_EMBEDDED_STORE_WRITER_H
#define ZDBS_EMBEDDED_STORE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "zdbs/embedded/store/path_dictionary.h"
#include "zdbs/embedded/store/segment_rows.h"
#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/engine/administration.h"

namespace zdbs {

class Environment;

/**
 * The one writer of a database. What it writes is seen by nobody before
 * commit(), and by everybody after it; a writer that is destroyed or killed
 * before that leaves the database as it was.
 *
 * A document is handed over in document order:
 *
 *   beginDocument  { startElement {namespaceDeclaration} {attribute} … endElement
 *                  | text | comment | processingInstruction }  endDocument
 *
 * Nodes are collected into segments (segment.h); a full one is encoded and written by
 * another thread while the next one is filled. Memory: the open elements, two segments, and
 * one record for each document of the run; however large the input is. Texts are UTF-8. One
 * thread at a time.
 *
 * Every operation throws Failure: diskFull, storeFailed. After a Failure from
 * within a document only abandonDocument() or the destructor may be called;
 * after storeFailed and diskFull only the destructor.
 */
class Writer {
public:
    /** In the directory of the database; whoever changes or drops it locks this file. */
    static constexpr const char *lockFileName = "writer.lock";

    /**
     * Takes the database's writer lock; `waiting`, if given, is called once when
     * another writer holds it. Drops what a killed writer left behind.
     * Throws Failure: unknownDatabase (dropped while waiting), homeReadOnly.
     */
    explicit Writer(std::shared_ptr<Environment> environment,
                    const std::function<void()> &waiting = {},
                    const SegmentLimits &segmentLimits = {}, const PathLimits &pathLimits = {});
    ~Writer();
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    /** As it will be after commit(). */
    bool hasDocument(std::string_view document) const;

    /**
     * Names are paths: UTF-8, at most 4096 bytes, no control characters, not
     * absolute, no empty, "." or ".." steps. Throws Failure: badDocumentName, documentExists.
     */
    void beginDocument(std::string_view document);

    /**
     * Number of a name, for who uses it often. Holds until the end of the document.
     */
    std::uint32_t nameNumber(const NodeName &name);

    /** Each returns the new node. Throws Failure: tooManyNodes, valueTooLong (2^31 bytes and more).
     */
    NodeId startElement(const NodeName &name);
    NodeId startElement(std::uint32_t name);
    NodeId attribute(const NodeName &name, std::string_view value);
    NodeId attribute(std::uint32_t name, std::string_view value);
    NodeId text(std::string_view value);
    NodeId comment(std::string_view value);
    NodeId processingInstruction(std::string_view target, std::string_view value);

    /** Of the element started last, before its attributes; in the order written. */
    void namespaceDeclaration(std::string_view prefix, std::string_view uri);

    void endElement();

    /**
     * `xmlBytes` is the size of the document's XML, kept for information only.
     * REQUIRES that the document has a node and that its elements have ended.
     */
    void endDocument(std::uint64_t xmlBytes);

    /** Forgets the document begun last, as if it had never begun. */
    void abandonDocument();

    /** Throws Failure: unknownDocument. */
    void removeDocument(std::string_view document);

    /** Makes all of it the database's newest state. Nothing may be called after it. */
    void commit();

    /**
     * Writes segments that hold removed documents, and small ones, anew, and makes that the
     * database's newest state; as it stands when there is nothing to win. Numbers of nodes
     * stay. REQUIRES that nothing was changed; nothing may be called after it.
     */
    Compaction compact(const ProgressReport &report = {});

private:
    class Run;
    std::unique_ptr<Run> run_;
};

}  // namespace zdbs

#endif
