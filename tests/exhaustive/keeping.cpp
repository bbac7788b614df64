#include "tests/exhaustive/keeping.h"

#include <algorithm>
#include <set>
#include <utility>

#include "tests/zdbs/embedded/joins/naive_axes.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/support/numbered.h"
#include "tests/zdbs/support/one_part.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"

namespace exhaustive {

using zdbs::NodeName;
using zdbs::embedded::DocumentRange;
using zdbs::embedded::NodeTable;
using zdbs::testing::MemoryNodeTable;
using zdbs::testing::MemoryPathTable;
using zdbs::testing::PathTableOptions;

namespace {

class TableSink : public NodeSink {
public:
    explicit TableSink(MemoryNodeTable &table) : table_(table) {}

    void startDocument(const std::string &name) override { table_.startDocument(name); }
    void startElement(const std::string &name) override { table_.startElement({name}); }
    void attribute(const std::string &name, std::string_view value) override {
        table_.attribute({name}, value);
    }
    void text(std::string_view value) override { table_.text(value); }
    void comment(std::string_view value) override { table_.comment(value); }
    void instruction(std::string_view target, std::string_view value) override {
        table_.instruction(target, value);
    }
    void endElement() override { table_.endElement(); }
    void endDocument() override { table_.endDocument(); }

private:
    MemoryNodeTable &table_;
};

/** A table by path, and the one that it is made of. */
struct PathForest {
    MemoryNodeTable nodes;
    std::unique_ptr<MemoryPathTable> byPath;
};

/** Writes the documents, with others between them that are to be removed; answers their places. */
std::set<zdbs::embedded::DocumentIndex> writeForest(const MemoryNodeTable &forest,
                                                    const Keeping &keeping, NodeSink &sink) {
    Renaming renaming(forest, keeping.naming);
    std::set<zdbs::embedded::DocumentIndex> removed;
    zdbs::embedded::DocumentIndex index = 0;
    const auto addRemoved = [&](const DocumentRange &document) {
        if (!keeping.hasRemoved) return;
        removed.insert(index);
        renaming.write(document, "d" + std::to_string(index++), sink);
    };
    for (const DocumentRange &document : forest.documents()) {
        addRemoved(document);
        renaming.write(document, "d" + std::to_string(index++), sink);
    }
    addRemoved(forest.documents().back());
    return removed;
}

std::shared_ptr<const NodeTable> pathTableOf(const MemoryNodeTable &forest,
                                             const Keeping &keeping) {
    auto result = std::make_shared<PathForest>();
    TableSink sink(result->nodes);
    const PathTableOptions options{keeping.nodesPerSegment, keeping.deepestLevel, keeping.mostPaths,
                                   writeForest(forest, keeping, sink)};
    result->byPath = std::make_unique<MemoryPathTable>(result->nodes, options);
    return {result, result->byPath.get()};
}

/** Takes nodes into a database on disk. */
class StoreSink : public NodeSink {
public:
    explicit StoreSink(zdbs::embedded::Writer &writer) : writer_(writer) {}

    void startDocument(const std::string &name) override { writer_.beginDocument(name); }
    void startElement(const std::string &name) override {
        writer_.startElement(zdbs::numbered(NodeName{name, {}, {}}));
    }
    void attribute(const std::string &name, std::string_view value) override {
        writer_.attribute(zdbs::numbered(NodeName{name, {}, {}}), value, zdbs::unmarked);
    }
    void text(std::string_view value) override { writer_.text(value, zdbs::unmarked); }
    void comment(std::string_view value) override { writer_.comment(value); }
    void instruction(std::string_view target, std::string_view value) override {
        writer_.processingInstruction(target, value);
    }
    void endElement() override { writer_.endElement(); }
    void endDocument() override { writer_.endDocument(100); }

private:
    zdbs::embedded::Writer &writer_;
};

/** A home for the database, which goes when nobody holds the table any more. */
struct StoredForest {
    zdbs::embedded::TestHome home;
    std::shared_ptr<const zdbs::embedded::Snapshot> nodes;
};

std::shared_ptr<const NodeTable> storedTableOf(const MemoryNodeTable &forest,
                                               const Keeping &keeping) {
    auto result = std::make_shared<StoredForest>();
    const auto environment =
        zdbs::embedded::Environment::open(result->home.home->databasePath("db"));
    zdbs::embedded::SegmentLimits segments;
    segments.nodes = std::min(segments.nodes, keeping.nodesPerSegment);
    zdbs::embedded::PathLimits paths;
    paths.levels = std::min(paths.levels, keeping.deepestLevel);
    paths.paths = std::min(paths.paths, static_cast<std::uint32_t>(keeping.mostPaths));
    std::set<zdbs::embedded::DocumentIndex> removed;
    {
        zdbs::embedded::Writer writer(environment, {}, segments, paths);
        StoreSink sink(writer);
        removed = writeForest(forest, keeping, sink);
        writer.commit();
    }
    if (!removed.empty()) {
        zdbs::embedded::Writer writer(environment, {}, segments, paths);
        for (const zdbs::embedded::DocumentIndex index : removed)
            writer.removeDocument("d" + std::to_string(index));
        writer.commit();
    }
    result->nodes = snapshotOf(*result->home.home);
    return {result, result->nodes.get()};
}

std::vector<Keeping> allKeepings() {
    constexpr std::uint32_t all = 0xffffffff;
    std::vector<Keeping> result;
    for (const Naming naming :
         {Naming::alike, Naming::changing, Naming::different, Naming::ofAllKinds}) {
        for (const std::uint32_t nodes : {all, 1U, 2U, 3U}) {
            for (const std::uint32_t level : {all, 1U, 2U}) {
                for (const std::size_t paths : {std::size_t{all}, std::size_t{2}}) {
                    for (const bool hasRemoved : {false, true})
                        result.push_back({naming, nodes, level, paths, hasRemoved});
                }
            }
        }
    }
    return result;
}

std::unique_ptr<zdbs::OpenDatabase> databaseOf(std::shared_ptr<const NodeTable> nodes) {
    return zdbs::embedded::makeEmbeddedDatabase("forest",
                                                zdbs::embedded::onePart([nodes] { return nodes; }));
}

}  // namespace

std::string nameOf(Way way) {
    constexpr const char *names[] = {"ByNode", "ByPath", "Stored"};
    return names[static_cast<std::size_t>(way)];
}

const std::vector<Keeping> &everyKeeping() {
    static const std::vector<Keeping> keepings = allKeepings();
    return keepings;
}

std::string nameOf(const Keeping &keeping) {
    constexpr const char *namings[] = {"alike", "changing", "different", "of all kinds"};
    std::string name = std::string("nodes ") + namings[static_cast<std::size_t>(keeping.naming)];
    const auto add = [&name](const char *what, std::size_t count) {
        if (count != 0xffffffff) name += ", " + std::to_string(count) + " " + what;
    };
    add("nodes a segment", keeping.nodesPerSegment);
    add("regular levels", keeping.deepestLevel);
    add("regular paths", keeping.mostPaths);
    return name + (keeping.hasRemoved ? ", removed documents" : "");
}

KeptForest::KeptForest(std::shared_ptr<const NodeTable> nodes, std::string manner)
    : nodes_(std::move(nodes)), database_(databaseOf(nodes_)), manner_(std::move(manner)) {}

KeptForest::KeptForest(const MemoryNodeTable &forest)
    : KeptForest(std::shared_ptr<const NodeTable>(std::shared_ptr<const void>(), &forest), {}) {}

KeptForest::KeptForest(const MemoryNodeTable &forest, const Keeping &keeping, Way way)
    : KeptForest(way == Way::stored ? storedTableOf(forest, keeping) : pathTableOf(forest, keeping),
                 nameOf(way) + ": " + nameOf(keeping)) {}

std::string KeptForest::description() const {
    const std::string shape = zdbs::testing::shapeOf(*nodes_);
    return manner_.empty() ? shape : shape + "\n" + manner_;
}

}  // namespace exhaustive
