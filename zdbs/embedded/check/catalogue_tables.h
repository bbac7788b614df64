/** The tables of a database, read without trust in any record. */
#ifndef ZDBS_EMBEDDED_CHECK_CATALOGUE_TABLES_H
#define ZDBS_EMBEDDED_CHECK_CATALOGUE_TABLES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "zdbs/embedded/check/findings.h"
#include "zdbs/embedded/paths/path_summary.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/records.h"

namespace zdbs::embedded {

/** What they say of one part. */
struct PartTables {
    std::vector<DocumentRange> documents;   ///< ascending, not overlapping
    std::vector<StoredSegment> segments;    ///< likewise
    std::vector<LongElement> longElements;  ///< ascending
};

/** What the records of a state say, as far as they make sense by themselves. */
struct CatalogueTables {
    StateRecord state;
    std::vector<std::optional<NodeName>> names;  ///< by number
    std::vector<std::optional<Path>> paths;      ///< by number
    std::vector<PartTables> parts;               ///< by number, all that the state has

    /** "/a/b/@c", "/a/text()"; the end of it, when it is long. */
    std::string pathText(PathId path) const;
};

/** Reads the tables and compares them with each other. */
class CatalogueReader {
public:
    CatalogueReader(const ReadTransaction &transaction, Findings &findings)
        : transaction_(transaction), findings_(findings) {}

    /** The state that the tables are of; nothing when there is none: then nothing can be read. */
    std::optional<CatalogueTables> read();

private:
    bool readMeta();
    void readNames();
    void readName(std::string_view key, std::string_view record);
    void readPaths();
    void readPath(std::string_view key, std::string_view record);
    std::string faultOf(const Path &path) const;
    std::string faultOfIrregular(const Path &path) const;
    void readDocuments();
    void readDocument(std::string_view key, std::string_view record);
    void readDocumentNames();
    void readHash(std::string_view key, std::string_view record);
    void readSegments();
    void readSegment(std::string_view key, std::string_view record);
    void readLongElements();
    void readLongElementsOf(std::string_view key, std::string_view record);

    void forEach(Table table, const char *name, const ReadTransaction::Visitor &visit);

    template <typename Record>
    bool makeRoom(const char *table, std::string_view key,
                  std::vector<std::optional<Record>> &records);
    void compareCount(const char *what, std::uint64_t stored, std::uint64_t counted);
    const DocumentRange *documentAt(RecordId first) const;
    bool hasPart(RecordId record) const { return partOf(record) < tables_.parts.size(); }

    const ReadTransaction &transaction_;
    Findings &findings_;
    CatalogueTables tables_;
    std::unordered_set<std::string_view> knownNames_;
    std::unordered_set<std::string> knownPaths_;
    std::unordered_set<std::uint32_t> knownFiles_;
    std::unordered_set<RecordId> hashed_;  ///< first nodes of documents
    std::uint64_t documentCount_ = 0;
};

}  // namespace zdbs::embedded

#endif
