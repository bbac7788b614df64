#include "zdbs/embedded/store/snapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr SegmentLimits threeNodes{3, std::size_t{1} << 20};

/** Stores documents under their numbers, in one commit, and answers what is stored then. */
std::shared_ptr<const Snapshot> stored(Home &home, const std::vector<ModelDocument> &documents,
                                       const SegmentLimits &limits = {},
                                       const PathLimits &paths = {}) {
    Writer writer(Environment::open(home.databasePath("db")), {}, limits, paths);
    for (std::size_t i = 0; i < documents.size(); ++i)
        write(writer, std::to_string(i), documents[i]);
    writer.commit();
    return snapshotOf(home);
}

void expectStored(const Snapshot &snapshot, const std::vector<ModelDocument> &documents) {
    ASSERT_EQ(snapshot.documents().size(), documents.size());
    std::size_t nodes = 0;
    for (std::size_t i = 0; i < documents.size(); ++i) {
        EXPECT_EQ(difference(snapshot, snapshot.documents()[i], documents[i]), "") << i;
        nodes += documents[i].size();
    }
    EXPECT_EQ(snapshot.nodeCount(), nodes);
    EXPECT_EQ(numberingFaults(snapshot), "");
}

/** Paths of neighbours and the elements with declarations, against asking node by node. */
void expectSameInOneGo(const Snapshot &snapshot) {
    std::size_t windows = 0;
    std::size_t declaring = 0;
    for (const DocumentRange &document : snapshot.documents()) {
        PathWindow window;
        for (NodeId node = document.first; node <= document.last; ++node) {
            if (node - window.first >= window.count) {
                snapshot.readPaths(node, window);
                ++windows;
            }
            ASSERT_LT(node - window.first, window.count);
            ASSERT_EQ(window.paths[node - window.first], snapshot.locate(node).path) << node;
            const bool declares = !snapshot.namespaces(node).empty();
            const NodeId next = snapshot.nextDeclaring(node);
            ASSERT_EQ(declares, next == node) << node;
            ASSERT_GE(next, node);
            for (NodeId between = node; between < std::min(next, document.last); ++between)
                ASSERT_TRUE(snapshot.namespaces(between).empty()) << between;
            declaring += declares ? 1 : 0;
        }
    }
    EXPECT_LT(windows, snapshot.nodeCount());
    EXPECT_GT(declaring, 0U);
}

TEST(Snapshot, TellsPathsOfNeighboursAndDeclarationsInOneGo) {
    for (const SegmentLimits limits : {threeNodes, SegmentLimits{}}) {
        TestHome test;
        std::mt19937 random(7);
        std::vector<ModelDocument> documents;
        for (int i = 0; i < 5; ++i)
            documents.push_back(randomDocument(random));
        expectSameInOneGo(*stored(*test.home, documents, limits));
        {
            const auto writer = test.home->write("db");
            writer->removeDocument("1");
            writer->removeDocument("3");
            writer->commit();
        }
        expectSameInOneGo(*snapshotOf(*test.home));
        test.home->write("db")->compact();
        expectSameInOneGo(*snapshotOf(*test.home));
    }
}

TEST(Snapshot, OfAnEmptyDatabaseIsEmpty) {
    TestHome test;
    const auto snapshot = snapshotOf(*test.home);
    EXPECT_THAT(snapshot->documents(), IsEmpty());
    EXPECT_EQ(snapshot->nodeCount(), 0U);
    EXPECT_EQ(snapshot->nameCount(), 0U);
    EXPECT_FALSE(snapshot->findDocument("a"));
}

TEST(Snapshot, IsWhatWasWrittenForManySmallDocuments) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        std::vector<ModelDocument> documents;
        for (int i = 0; i < 30; ++i)
            documents.push_back(randomDocument(random, {1 + random() % 60, 6, 12, 5}));
        TestHome test;
        const SegmentLimits limits{seed < 10 ? 1000000U : 1 + seed % 7, 1000};
        expectStored(*stored(*test.home, documents, limits), documents);
    }
}

TEST(Snapshot, HoldsSmallDocumentsInOneSegment) {
    std::mt19937 random(2);
    const std::vector<ModelDocument> documents(100, randomDocument(random, {50, 6, 12, 5}));
    TestHome test;
    EXPECT_EQ(stored(*test.home, documents)->segmentCount(), 1U);
}

TEST(Snapshot, IsWhatWasWrittenForDocumentsOfManySegments) {
    std::mt19937 random(1);
    const std::vector<ModelDocument> documents = {
        randomDocument(random, {30000, 30, 5, 20}), randomDocument(random, {50, 5, 5, 20}),
        randomDocument(random, {5000, 200, 3000, 20}),  // segments full of values
        randomDocument(random, {20000, 20000, 3, 20})};
    TestHome test;
    const auto snapshot = stored(*test.home, documents, {4000, 1 << 20});
    EXPECT_GT(snapshot->segmentCount(), 12U);
    expectStored(*snapshot, documents);
}

TEST(Snapshot, IsWhatWasWrittenForDocumentsOfTinySegments) {
    for (unsigned seed = 0; seed < 5; ++seed) {
        std::mt19937 random(seed);
        const std::vector<ModelDocument> documents = {randomDocument(random, {150, 30, 5, 3}),
                                                      randomDocument(random, {150, 4, 5, 20})};
        TestHome test;
        const auto snapshot = stored(*test.home, documents, threeNodes);
        EXPECT_GT(snapshot->segmentCount(), 100U);
        expectStored(*snapshot, documents);
    }
}

// Segments end exactly before, at and behind the last node of an element.
TEST(Snapshot, KnowsTheEndsOfElementsAroundTheEndOfASegment) {
    constexpr std::uint32_t most = 100;
    for (const std::size_t leaves : {most - 3, most - 2, most - 1, most, most + 1}) {
        ModelDocument document = {{NodeKind::element, noParent, leaves + 2, "a", "", "", "", {}},
                                  {NodeKind::element, 0, leaves + 1, "b", "", "", "", {}}};
        for (std::size_t i = 0; i < leaves; ++i)
            document.push_back({NodeKind::comment, 1, i + 2, "", "", "", "c", {}});
        document.push_back({NodeKind::element, 0, leaves + 2, "d", "", "", "", {}});
        TestHome test;
        expectStored(*stored(*test.home, {document}, {most, 1 << 20}), {document});
    }
}

TEST(Snapshot, KeepsNamespacesOfAnElementThatIsTheLastOfItsSegment) {
    ModelDocument document = {{NodeKind::element, noParent, 0, "a", "", "", "", {}}};
    for (std::size_t i = 1; i < 99; ++i)
        document.push_back({NodeKind::comment, 0, i, "", "", "", "", {}});
    const std::size_t last = document.size();
    document.push_back({NodeKind::element, 0, last + 1, "e", "p", "u", "", {{"p", "u"}, {"", ""}}});
    document.push_back({NodeKind::attribute, last, last + 1, "x", "p", "u", "v", {}});
    document[0].last = last + 1;
    for (std::uint32_t most = 98; most < 103; ++most) {
        TestHome test;
        expectStored(*stored(*test.home, {document}, {most, 1 << 20}), {document});
    }
}

TEST(Snapshot, HoldsValuesLargerThanASegment) {
    ModelDocument document = {{NodeKind::element, noParent, 3, "a", "", "", "", {}}};
    for (const std::size_t size : {std::size_t{999}, std::size_t{50000}, std::size_t{1}})
        document.push_back(
            {NodeKind::comment, 0, document.size(), "", "", "", std::string(size, 'v'), {}});
    TestHome test;
    expectStored(*stored(*test.home, {document}, {1000, 1000}), {document});
}

// Too deep, or too many paths: both end in the irregular paths.
TEST(Snapshot, IsWhatWasWrittenWhereNodesAreInIrregularPaths) {
    const PathLimits cases[] = {{200, 65536}, {3, 65536}, {1, 65536}, {200, 10}, {200, 0}, {5, 40}};
    for (const PathLimits &paths : cases) {
        for (const SegmentLimits &limits : {SegmentLimits(), threeNodes}) {
            std::mt19937 random(9);
            const std::vector<ModelDocument> documents = {randomDocument(random, {300, 12, 5, 5}),
                                                          randomDocument(random, {90, 6, 5, 5})};
            TestHome test;
            const auto snapshot = stored(*test.home, documents, limits, paths);
            EXPECT_EQ(snapshot->summary().irregular().empty(),
                      paths.levels == 200 && paths.paths > 1000);
            expectStored(*snapshot, documents);
        }
    }
}

TEST(Snapshot, NumbersEachNameOnce) {
    std::mt19937 random(3);
    const std::vector<ModelDocument> documents = {randomDocument(random, {500, 8, 5, 7}),
                                                  randomDocument(random, {500, 8, 5, 7})};
    TestHome test;
    const auto snapshot = stored(*test.home, documents);
    std::map<std::string, std::uint32_t> numbers;
    for (const DocumentRange &document : snapshot->documents()) {
        for (NodeId node = document.first; node <= document.last; ++node) {
            const auto number = snapshot->nameNumber(node);
            const NodeName name = snapshot->name(node);
            ASSERT_EQ(number.has_value(), !name.local.empty());
            if (!number) continue;
            EXPECT_EQ(snapshot->nameOf(*number).local, name.local);
            const auto text = std::string(name.prefix) + ':' + std::string(name.local);
            EXPECT_EQ(numbers.emplace(text, *number).first->second, *number);
        }
    }
    EXPECT_LE(numbers.size(), snapshot->nameCount());
}

TEST(Snapshot, FindsDocumentsByNameAndKnowsTheirSizes) {
    std::mt19937 random(4);
    const std::vector<ModelDocument> documents = {randomDocument(random), randomDocument(random)};
    TestHome test;
    const auto snapshot = stored(*test.home, documents);
    ASSERT_TRUE(snapshot->findDocument("1"));
    EXPECT_EQ(snapshot->findDocument("1")->first, snapshot->documents()[1].first);
    EXPECT_FALSE(snapshot->findDocument("2"));
    EXPECT_EQ(snapshot->xmlBytes(0), documents[0].size() * 10);
    EXPECT_EQ(snapshot->xmlBytes(1), documents[1].size() * 10);
}

TEST(Snapshot, MeasuresItsStructures) {
    std::mt19937 random(5);
    TestHome test;
    const auto snapshot = stored(*test.home, {randomDocument(random, {100000, 10, 50, 100})});
    const auto state = test.home->state("db");
    const StoreSizes sizes = state->sizes();
    EXPECT_GT(sizes.structure, 10000U);
    EXPECT_GT(sizes.pathOfNode, 10000U);
    EXPECT_GT(sizes.values, 100000U);
    EXPECT_GT(sizes.textOrder + sizes.trigrams + sizes.words, 10000U);
    EXPECT_GT(sizes.valueIndex, 1000U);
    EXPECT_GT(sizes.documents, 0U);
    EXPECT_GT(sizes.names, 0U);
    EXPECT_GT(sizes.paths, 0U);
    EXPECT_EQ(sizes.storedNodes, snapshot->nodeCount());
    EXPECT_EQ(sizes.all, state->diskBytes());
    EXPECT_EQ(sizes.all, sizes.structure + sizes.pathOfNode + sizes.values + sizes.textOrder +
                             sizes.numberOrder + sizes.trigrams + sizes.words + sizes.valueIndex +
                             sizes.documents + sizes.names + sizes.paths + sizes.unused);
}

TEST(Snapshot, IsReadByManyThreadsAtOnce) {
    std::mt19937 random(6);
    const ModelDocument document = randomDocument(random, {40000, 20, 10, 10});
    TestHome test;
    const auto snapshot = stored(*test.home, {document}, {5000, 1 << 20});
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [&] { wrong += !difference(*snapshot, snapshot->documents()[0], document).empty(); });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

void putPathCount(WriteTransaction &change, std::uint32_t count) {
    auto state = *decodeState(*change.get(Table::meta, stateKey));
    state.pathCount = count;
    change.put(Table::meta, stateKey, encodeState(state));
}

struct DamageCase {
    const char *what;
    std::function<void(WriteTransaction &)> damage;
};

TEST(Snapshot, OfADamagedDatabaseIsRefused) {
    const auto documentKey = encodeKey(1);
    const DamageCase cases[] = {
        {"state", [](auto &change) { change.remove(Table::meta, stateKey); }},
        {"state", [](auto &change) { change.put(Table::meta, stateKey, "x"); }},
        {"number of documents", [](auto &change) { change.clear(Table::documents); }},
        {"a document", [&](auto &change) { change.put(Table::documents, documentKey, "x"); }},
        {"a document", [](auto &change) { change.put(Table::documents, "x", "x"); }},
        {"a document",
         [&](auto &change) {
             change.put(Table::documents, documentKey, encodeDocument({5000, 1, "0"}));
         }},
        {"nodes of a document", [&](auto &change) { change.remove(Table::segments, documentKey); }},
        {"a segment", [&](auto &change) { change.put(Table::segments, documentKey, "x"); }},
        {"another segment",
         [&](auto &change) {
             change.put(Table::segments, documentKey, encodeSegment({1, 5, 5, 17, 9}));
         }},
        {"segment is missing",
         [&](auto &change) {
             change.put(Table::segments, documentKey, encodeSegment({0, 5, 5, 17, 9}));
         }},
        {"number of names", [](auto &change) { change.clear(Table::names); }},
        {"a name", [](auto &change) { change.put(Table::names, encodeKey(0), "x"); }},
        {"a name", [](auto &change) { change.remove(Table::names, encodeKey(0)); }},
        {"number of a path",
         [](auto &change) {
             change.clear(Table::paths);
             putPathCount(change, 0);
         }},
        {"number of paths", [](auto &change) { change.clear(Table::paths); }},
        {"a path", [](auto &change) { change.put(Table::paths, encodeKey(0), "x"); }},
        {"a path", [](auto &change) { change.remove(Table::paths, encodeKey(0)); }},
        {"a path",
         [](auto &change) {
             change.put(Table::paths, encodeKey(1), encodePath({1, NodeKind::element, 0, 2, true}));
         }},
        {"a path",
         [](auto &change) {
             change.put(Table::paths, encodeKey(1),
                        encodePath({noPath, NodeKind::element, 5000, 1, true}));
         }},
        {"a list of long elements",
         [&](auto &change) { change.put(Table::longElements, documentKey, "x"); }},
    };
    for (const DamageCase &row : cases) {
        std::mt19937 random(7);
        TestHome test;
        stored(*test.home, {randomDocument(random)});
        const auto environment = Environment::open(test.home->databasePath("db"));
        WriteTransaction::run(*environment, row.damage);
        std::string sentence;
        EXPECT_EQ(statusOf([&] { snapshotOf(*test.home); }, &sentence), Status::homeDamaged)
            << row.what;
        EXPECT_THAT(sentence, HasSubstr(row.what));
    }
}

TEST(Snapshot, LacksNoLongElement) {
    std::mt19937 random(8);
    TestHome test;
    stored(*test.home, {randomDocument(random, {200, 10, 3, 5})}, {50, 1 << 20});
    const auto environment = Environment::open(test.home->databasePath("db"));
    WriteTransaction::run(*environment, [](WriteTransaction &change) {
        change.remove(Table::longElements, encodeKey(1));
    });
    const auto snapshot = snapshotOf(*test.home);
    EXPECT_EQ(statusOf([&] { (void)snapshot->lastBelow(2); }), Status::homeDamaged);
}

// A commit of another process may remove files between the look at the catalogue and the look at
// the files.
TEST(Snapshot, IsOfANewerStateWhereACommitTookTheFilesAway) {
    TestHome test;
    const ModelDocument document = {{NodeKind::element, noParent, 1, "e", "", "", "", {}},
                                    {NodeKind::text, 0, 1, "", "", "", "t", {}}};
    stored(*test.home, {document});
    const pid_t child = ::fork();
    if (child == 0) {
        const auto home = Home::open(test.home->path());
        for (int turn = 0; turn < 60; ++turn) {
            const auto writer = home->write("db");
            writer->removeDocument("0");
            write(*writer, "0", document);
            writer->commit();
        }
        ::_exit(0);
    }
    int opened = 0;
    int ended = 0;
    for (int status = 0; ended == 0; ++opened) {
        ended = ::waitpid(child, &status, WNOHANG);
        ASSERT_EQ(status, 0);
        const auto snapshot = snapshotOf(*test.home);
        ASSERT_EQ(treeText(*snapshot), "0: e('t')\n");
    }
    EXPECT_EQ(ended, child);
    EXPECT_EQ(snapshotOf(*test.home)->state(), 61U);
}

/** Reads all that there is; what fails has failed. */
void readEverything(const Snapshot &snapshot) {
    for (const DocumentRange &document : snapshot.documents()) {
        for (NodeId node = document.first; node <= document.last; ++node) {
            (void)statusOf([&] { (void)snapshot.name(node); });
            (void)statusOf([&] { (void)snapshot.value(node).size(); });
            (void)statusOf([&] { (void)snapshot.parent(node); });
        }
    }
}

TEST(Snapshot, OfASegmentThatIsCutShortSaysSoAfterwards) {
    std::mt19937 random(5);
    TestHome test;
    stored(*test.home, {randomDocument(random, {600, 9, 30, 5})});
    const auto snapshot = snapshotOf(*test.home);
    readEverything(*snapshot);
    snapshot->requireIntact();
    std::filesystem::resize_file(snapshot->segment(0).file(), 0);
    readEverything(*snapshot);
    std::string sentence;
    EXPECT_EQ(statusOf([&] { snapshot->requireIntact(); }, &sentence), Status::homeDamaged);
    EXPECT_THAT(sentence, HasSubstr(snapshot->segment(0).file().native()));
}

TEST(Snapshot, OfACatalogueThatIsCutShortOrOverwrittenSaysSo) {
    const ModelDocument document = {{NodeKind::element, noParent, 1, "e", "", "", "", {}}};
    for (const bool isCut : {true, false}) {
        TestHome test;
        stored(*test.home, {document});
        const auto snapshot = snapshotOf(*test.home);
        const auto file = test.home->databasePath("db") / Environment::dataFileName;
        const auto size = std::filesystem::file_size(file);
        if (isCut)
            std::filesystem::resize_file(file, 0);
        else
            std::fstream(file, std::ios::binary | std::ios::in | std::ios::out)
                << std::string(size, 'x');
        readEverything(*snapshot);
        EXPECT_EQ(statusOf([&] { (void)snapshotOf(*test.home); }), Status::homeDamaged) << isCut;
    }
}

TEST(Snapshot, OfADatabaseThatWasDroppedMeanwhileIsOfNone) {
    TestHome test;
    stored(*test.home, {{{NodeKind::element, noParent, 1, "e", "", "", "", {}}}});
    const auto environment = Environment::open(test.home->databasePath("db"));
    test.home->dropDatabase("db");
    std::string sentence;
    EXPECT_EQ(statusOf([&] { CommittedState opened(environment); }, &sentence),
              Status::unknownDatabase)
        << sentence;
}

TEST(Snapshot, KeepsTheFilesThatItHasOpen) {
    std::mt19937 random(10);
    const ModelDocument document = randomDocument(random, {500, 10, 30, 5});
    TestHome test;
    const auto before = stored(*test.home, {document});
    const auto writer = test.home->write("db");
    writer->removeDocument("0");
    writer->commit();
    EXPECT_FALSE(std::filesystem::exists(before->segment(0).file()));
    EXPECT_EQ(difference(*before, before->documents()[0], document), "");
    EXPECT_EQ(snapshotOf(*test.home)->segmentCount(), 0U);
}

/** Nodes by path, and the runs behind them, told in another way than by the columns. */
void expectPathsAgree(const Snapshot &snapshot) {
    std::vector<std::uint64_t> counts(snapshot.summary().size());
    for (const DocumentRange &document : snapshot.documents()) {
        for (NodeId node = document.first; node <= document.last; ++node) {
            const PathRow row = snapshot.locate(node);
            const Path &path = snapshot.summary()[row.path];
            ++counts[row.path];
            ASSERT_EQ(snapshot.PathTable::nodeAt(row), node);
            ASSERT_TRUE(snapshot.liveRows(row.path)->contains(row.row));
            ASSERT_EQ(path.kind, snapshot.kind(node));
            ASSERT_EQ(snapshot.PathTable::lowerBound(row.path, node), row.row);
            if (path.kind == NodeKind::element) {
                ASSERT_EQ(snapshot.lastBelow(row), snapshot.lastBelow(node));
            }
            if (!path.isRegular) continue;
            const NodeId parent = snapshot.parent(node);
            ASSERT_EQ(path.parent == noPath, parent == noNode);
            if (parent == noNode) continue;
            const PathRow above = snapshot.locate(parent);
            ASSERT_EQ(above.path, path.parent);
            ASSERT_EQ(snapshot.runOf(row).parentAt(row.row), above.row);
        }
    }
    for (PathId path = 0; path < counts.size(); ++path)
        EXPECT_EQ(snapshot.liveRows(path)->cardinality(), counts[path]) << path;
}

TEST(Snapshot, HasItsNodesByPath) {
    for (const SegmentLimits &limits : {SegmentLimits(), threeNodes, SegmentLimits{40, 100000}}) {
        for (const PathLimits &paths : {PathLimits(), PathLimits{4, 60}}) {
            std::mt19937 random(12);
            std::vector<ModelDocument> documents;
            for (int i = 0; i < 10; ++i)
                documents.push_back(randomDocument(random, {60, 6, 5, 3}));
            TestHome test;
            const auto before = stored(*test.home, documents, limits, paths);
            expectPathsAgree(*before);
            EXPECT_EQ(before->liveRows(0), before->liveRows(0));
            Writer writer(Environment::open(test.home->databasePath("db")), {}, limits, paths);
            for (const char *name : {"1", "2", "7"})
                writer.removeDocument(name);
            writer.commit();
            expectPathsAgree(*snapshotOf(*test.home));
            expectPathsAgree(*before);
        }
    }
}

}  // namespace
}  // namespace zdbs::embedded
