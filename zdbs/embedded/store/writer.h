/** Changes to one database: documents in, documents out, all or nothing. */
#ifndef ZDBS_EMBEDDED_STORE_WRITER_H
#define ZDBS_EMBEDDED_STORE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "zdbs/embedded/store/data_file.h"
#include "zdbs/embedded/store/path_dictionary.h"
#include "zdbs/embedded/store/segment_rows.h"
#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/engine/administration.h"
#include "zdbs/engine/load.h"

namespace zdbs::embedded {

class Environment;

/**
 * The one writer of a database.
 *
 * Nodes are collected into segments (segment.h); a full one is encoded and written by
 * another thread while the next one is filled. Memory: the open elements, two segments, and
 * one record for each document of the run; however large the input is.
 *
 * Documents go to the last part of the database. One that turns out to have no room in it begins
 * the next part: what was written of it is written once more there.
 */
class Writer final : public Load {
public:
    /** In the directory of the database; whoever changes or drops it locks this file. */
    static constexpr const char *lockFileName = writerLockName;

    /**
     * Takes the database's writer lock; `waiting`, if given, is called once when
     * another writer holds it. Drops what a killed writer left behind.
     * Throws Failure: unknownDatabase (dropped while waiting), homeReadOnly.
     */
    explicit Writer(std::shared_ptr<Environment> environment,
                    const std::function<void()> &waiting = {},
                    const SegmentLimits &segmentLimits = {}, const PathLimits &pathLimits = {});
    ~Writer() override;
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    /** As it will be after commit(). */
    bool hasDocument(std::string_view document) const;

    std::uint64_t maxNodes() const override;
    void beginDocument(std::string_view document) override;
    void startElement(const NumberedName &name) override;
    void attribute(const NumberedName &name, std::string_view value,
                   std::span<const HitRange> hits) override;
    void text(std::string_view value, std::span<const HitRange> hits) override;
    void comment(std::string_view value) override;
    void processingInstruction(std::string_view target, std::string_view value) override;
    void namespaceDeclaration(std::string_view prefix, std::string_view uri) override;
    void endElement() override;
    void endDocument(std::uint64_t xmlBytes) override;
    void abandonDocument() override;
    void removeDocument(std::string_view document) override;
    void commit() override;

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

}  // namespace zdbs::embedded

#endif
