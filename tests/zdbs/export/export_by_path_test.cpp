/** Exports of nodes that are stored by path against the same node by node: the same bytes. */
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/namespaced_document.h"
#include "tests/zdbs/support/one_part.h"
#include "tests/zdbs/support/random_document.h"
#include "tests/zdbs/support/told.h"
#include "tests/zdbs/support/word_hits.h"
#include "tests/zdbs/support/xml_text.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/embedded/fragments/path_fragments.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/export/export_document.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::ByNodeDatabase;
using testing::found;
using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::NamespacedDocument;
using testing::PathTableOptions;
using testing::RandomDocument;
using testing::setOf;
using testing::specsOf;
using testing::tableFromXml;
using testing::wellFormednessError;
using testing::WordHits;
using testing::XmlSource;

/** The same answer over both tables, exported with the same specifications. */
class Comparison {
public:
    explicit Comparison(const NodeTable &nodes)
        : hits_(nodes, "v1"),
          byNode_(nodes, &hits_),
          byPath_(makeEmbeddedDatabase("d", onePart([&nodes] {
                                           return std::shared_ptr<const NodeTable>(
                                               std::shared_ptr<void>(), &nodes);
                                       }))) {}

    /** The document by path, when it is the same node by node. */
    std::string expectSame(const std::vector<NodeId> &matches, const std::string &specs,
                           bool marks) {
        const std::string one = exported(*byPath_, matches, specs, marks);
        EXPECT_EQ(one, exported(byNode_, matches, specs, marks)) << specs;
        fragments_ += one.find("<fragment") != std::string::npos ? 1 : 0;
        return one;
    }

    int withFragments() const { return fragments_; }

private:
    static std::string exported(const OpenDatabase &database, const std::vector<NodeId> &matches,
                                const std::string &specs, bool marks) {
        const RequestAnswer answer{
            database, setOf(database, matches), {found(database, "N_TVALUE=$v1$")}};
        return exportDocument(answer, {"//q", specs}, marks);
    }

    WordHits hits_;
    ByNodeDatabase byNode_;
    std::unique_ptr<OpenDatabase> byPath_;
    int fragments_ = 0;
};

constexpr const char *axes[] = {"child",
                                "descendant",
                                "descendant-or-self",
                                "self",
                                "parent",
                                "ancestor",
                                "attribute",
                                "ancestor-or-self",
                                "following-sibling",
                                "following",
                                "preceding-sibling",
                                "preceding",
                                "child",
                                "descendant",
                                "attribute",
                                "child",
                                "descendant",
                                "self"};

constexpr const char *tests[] = {
    "a", "b", "x", "*", "node()", "text()", "comment()", "processing-instruction()", "p:a", "p:*"};

constexpr const char *predicates[] = {
    "[1]",    "[position()=last()]", "[b]",  "[@x]",     "[@x='v1']", "[contains(.,'v')]",
    "[.//a]", "[text()=1]",          "[..]", "[a or b]", "[@x][1]",   "[position()<3]"};

/** Specifications at random; most of them only go down. */
class RandomSpecs {
public:
    explicit RandomSpecs(unsigned seed) : random_(seed) {}

    std::string list() {
        std::string specs = spec();
        for (int more = below(3); more > 0; --more)
            specs += " " + spec();
        return specs;
    }

    std::vector<NodeId> someOf(const NodeTable &nodes) {
        std::vector<NodeId> result;
        const int each = 1 + below(4);
        for (const DocumentRange &document : nodes.documents()) {
            for (NodeId node = document.first; node <= document.last; ++node) {
                if (below(each) == 0) result.push_back(node);
            }
        }
        return result;
    }

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

private:
    std::string spec() {
        if (below(5) == 0) return "/";
        std::string text = path();
        for (int more = below(4); more > 2; --more)
            text += "|" + path();
        return text;
    }

    std::string path() {
        const bool goesDown = below(4) != 0;
        std::string text;
        for (int steps = 1 + below(3); steps > 0; --steps) {
            text += below(3) == 0 ? "//" : "/";
            text += goesDown ? downwards[below(5)] : axes[below(std::size(axes))];
            text += std::string("::") + tests[below(std::size(tests))];
            if (!goesDown && below(2) == 0) text += predicates[below(std::size(predicates))];
        }
        return text;
    }

    static constexpr const char *downwards[] = {"child", "descendant", "attribute", "self",
                                                "descendant-or-self"};

    std::mt19937 random_;
};

PathTableOptions optionsOf(RandomSpecs &random, std::size_t documents) {
    constexpr std::uint32_t all = 0xffffffff;
    constexpr std::uint32_t segments[] = {all, 1, 2, 7, 30};
    constexpr std::uint32_t levels[] = {all, all, 4, 2};
    constexpr std::size_t paths[] = {all, all, 10, 30};
    PathTableOptions options;
    options.nodesPerSegment = segments[random.below(5)];
    options.deepestLevel = levels[random.below(4)];
    options.mostPaths = paths[random.below(4)];
    for (DocumentIndex index = 1; index < documents; ++index) {
        if (random.below(4) == 0) options.removed.insert(index);
    }
    return options;
}

class ExportByPath : public ::testing::TestWithParam<unsigned> {};

MemoryNodeTable documents(unsigned seed) {
    return tableFromXml({{"one.xml", NamespacedDocument(seed).make()},
                         {"two & \"2\".xml", RandomDocument(seed).make()},
                         {"dir/three.xml", NamespacedDocument(seed + 1000).make()},
                         {"four", NamespacedDocument(seed + 2000).make()}});
}

TEST_P(ExportByPath, IsTheSameAsNodeByNode) {
    const MemoryNodeTable nodes = documents(GetParam());
    RandomSpecs random(GetParam());
    int withFragments = 0;
    for (int round = 0; round < 6; ++round) {
        const MemoryPathTable table(nodes, optionsOf(random, nodes.documents().size()));
        Comparison comparison(table);
        for (int count = 0; count < 60; ++count) {
            const std::string document =
                comparison.expectSame(random.someOf(table), random.list(), random.below(2) == 1);
            EXPECT_EQ(wellFormednessError(document), "") << document;
        }
        withFragments += comparison.withFragments();
    }
    EXPECT_GT(withFragments, 100);
}

TEST_P(ExportByPath, EveryNodeHasTheSamePlaceAndText) {
    const MemoryNodeTable nodes = documents(GetParam());
    RandomSpecs random(GetParam());
    for (int round = 0; round < 8; ++round) {
        const MemoryPathTable table(nodes, optionsOf(random, nodes.documents().size()));
        std::vector<NodeId> all;
        for (const DocumentRange &document : table.documents()) {
            for (NodeId node = document.first; node <= document.last; ++node)
                all.push_back(node);
        }
        for (const bool marks : {false, true})
            Comparison(table).expectSame(all, "/", marks);
    }
}

#if defined(__SANITIZE_ADDRESS__)
INSTANTIATE_TEST_SUITE_P(Seeds, ExportByPath, ::testing::Range(1U, 6U));
#else
INSTANTIATE_TEST_SUITE_P(Seeds, ExportByPath, ::testing::Range(1U, 13U));
#endif

TEST(ExportByPath, OfStoredDocumentsIsTheSameAsNodeByNode) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        TestHome test;
        std::mt19937 random(seed);
        const SegmentLimits limits{seed % 2 == 0 ? 3U : 50U, std::size_t{1} << 20};
        const PathLimits paths{seed < 3 ? 200U : 3U, seed < 3 ? 65536U : 12U};
        {
            Writer writer(Environment::open(test.home->databasePath("db")), {}, limits, paths);
            for (int i = 0; i < 6; ++i)
                write(writer, std::to_string(i), randomDocument(random));
            writer.commit();
        }
        {
            Writer writer(Environment::open(test.home->databasePath("db")), {}, limits, paths);
            writer.removeDocument("2");
            writer.commit();
        }
        const auto snapshot = snapshotOf(*test.home);
        Comparison comparison(*snapshot);
        RandomSpecs specs(seed);
        for (int count = 0; count < 40; ++count)
            comparison.expectSame(specs.someOf(*snapshot), specs.list(), false);
        EXPECT_GT(comparison.withFragments(), 10);
    }
}

struct WayFact {
    const char *spec;
    bool isByPath;
};

TEST(PathFragments, AnswersWhatOnlyGoesDown) {
    const MemoryNodeTable nodes = tableFromXml("<a><b x='1'>t</b></a>");
    const MemoryPathTable table(nodes);
    const ByNodeDatabase database(table);
    NodeReader reader(table);
    constexpr WayFact facts[] = {
        {"/", true},
        {"/b", true},
        {"//b/@x", true},
        {"/b//text()|/@y", true},
        {"/self::a/descendant-or-self::node()", true},
        {"/b[1]", false},
        {"/b[@x]", false},
        {"/..", false},
        {"/b/following::node()", false},
        {"/b|/b[1]", false},
    };
    for (const WayFact &fact : facts) {
        const std::vector<FragmentSpec> specs =
            specsOf(database, found(database, "N_ID=1"), fact.spec);
        PathFragments fragments(specs.front(), reader);
        EXPECT_EQ(fragments.select(PathMatch(reader, 1), [](NodeId, PathId) {}), fact.isByPath)
            << fact.spec;
    }
}

TEST(PathFragments, LeavesIrregularNodesToOthers) {
    const MemoryNodeTable nodes = tableFromXml("<a><b><c>t</c></b><b/></a>");
    PathTableOptions options;
    options.deepestLevel = 2;
    const MemoryPathTable table(nodes, options);
    NodeReader reader(table);
    const FragmentSpec spec(1);
    PathFragments fragments(spec, reader);
    const auto isByPath = [&](NodeId match) {
        return fragments.select(PathMatch(reader, match), [](NodeId, PathId) {});
    };
    EXPECT_FALSE(isByPath(1));
    EXPECT_FALSE(isByPath(2));
    EXPECT_FALSE(isByPath(3));
    EXPECT_TRUE(isByPath(5));
}

}  // namespace
}  // namespace zdbs
