#include "zdbs/store/snapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/zdbs/store/model_document.h"
#include "tests/zdbs/store/test_home.h"
#include "tests/zdbs/store/tree_text.h"
#include "zdbs/store/environment.h"
#include "zdbs/store/node_block.h"
#include "zdbs/store/writer.h"

namespace zdbs {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/** Stores documents under their numbers, in one commit, and answers what is stored then. */
std::shared_ptr<const Snapshot> stored(Home &home, const std::vector<ModelDocument> &documents) {
    const auto writer = home.write("db");
    for (std::size_t i = 0; i < documents.size(); ++i)
        write(*writer, std::to_string(i), documents[i]);
    writer->commit();
    return home.snapshot("db");
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

TEST(Snapshot, OfAnEmptyDatabaseIsEmpty) {
    TestHome test;
    const auto snapshot = test.home->snapshot("db");
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
        expectStored(*stored(*test.home, documents), documents);
    }
}

TEST(Snapshot, IsWhatWasWrittenForDocumentsOfManyBlocks) {
    std::mt19937 random(1);
    const std::vector<ModelDocument> documents = {
        randomDocument(random, {3 * maxBlockNodes, 30, 5, 20}),
        randomDocument(random, {50, 5, 5, 20}),
        randomDocument(random, {5000, 200, 3000, 20}),  // blocks full of values
        randomDocument(random, {2 * maxBlockNodes, maxBlockNodes, 3, 20}),
    };
    TestHome test;
    expectStored(*stored(*test.home, documents), documents);
}

// Blocks end exactly before, at and behind the last node of an element.
TEST(Snapshot, KnowsTheEndsOfElementsAroundTheEndOfABlock) {
    for (const std::size_t leaves : {maxBlockNodes - 3, maxBlockNodes - 2, maxBlockNodes - 1,
                                     maxBlockNodes, maxBlockNodes + 1}) {
        ModelDocument document = {{NodeKind::element, noParent, leaves + 2, "a", "", "", "", {}},
                                  {NodeKind::element, 0, leaves + 1, "b", "", "", "", {}}};
        for (std::size_t i = 0; i < leaves; ++i)
            document.push_back({NodeKind::comment, 1, i + 2, "", "", "", "c", {}});
        document.push_back({NodeKind::element, 0, leaves + 2, "d", "", "", "", {}});
        TestHome test;
        expectStored(*stored(*test.home, {document}), {document});
    }
}

TEST(Snapshot, KeepsNamespacesOfAnElementThatIsTheLastOfItsBlock) {
    ModelDocument document = {{NodeKind::element, noParent, 0, "a", "", "", "", {}}};
    for (std::size_t i = 1; i < maxBlockNodes - 1; ++i)
        document.push_back({NodeKind::comment, 0, i, "", "", "", "", {}});
    const std::size_t last = document.size();
    document.push_back({NodeKind::element, 0, last + 1, "e", "p", "u", "", {{"p", "u"}, {"", ""}}});
    document.push_back({NodeKind::attribute, last, last + 1, "x", "p", "u", "v", {}});
    document[0].last = last + 1;
    TestHome test;
    expectStored(*stored(*test.home, {document}), {document});
}

TEST(Snapshot, HoldsValuesLargerThanABlock) {
    ModelDocument document = {{NodeKind::element, noParent, 3, "a", "", "", "", {}}};
    for (const std::size_t size : {maxBlockValueBytes - 1, 5 * maxBlockValueBytes, std::size_t{1}})
        document.push_back(
            {NodeKind::comment, 0, document.size(), "", "", "", std::string(size, 'v'), {}});
    TestHome test;
    expectStored(*stored(*test.home, {document}), {document});
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
    const StoreSizes &sizes = snapshot->sizes();
    EXPECT_GT(sizes.nodes, 100000U * 17);
    EXPECT_GT(sizes.documents, 0U);
    EXPECT_GT(sizes.names, 0U);
    EXPECT_EQ(sizes.file, sizes.nodes + sizes.documents + sizes.names + sizes.unused);
}

TEST(Snapshot, IsReadByManyThreadsAtOnce) {
    std::mt19937 random(6);
    const ModelDocument document = randomDocument(random, {40000, 20, 10, 10});
    TestHome test;
    const auto snapshot = stored(*test.home, {document});
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [&] { wrong += !difference(*snapshot, snapshot->documents()[0], document).empty(); });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
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
        {"number of documents",
         [](auto &change) { change.removeRange(Table::documents, encodeKey(0)); }},
        {"a document", [&](auto &change) { change.put(Table::documents, documentKey, "x"); }},
        {"a document", [](auto &change) { change.put(Table::documents, "x", "x"); }},
        {"blocks of a document", [&](auto &change) { change.remove(Table::blocks, documentKey); }},
        {"a block", [&](auto &change) { change.put(Table::blocks, documentKey, "x"); }},
        {"number of names", [](auto &change) { change.removeRange(Table::names, encodeKey(0)); }},
        {"a name", [](auto &change) { change.put(Table::names, encodeKey(0), "x"); }},
        {"a name", [](auto &change) { change.remove(Table::names, encodeKey(0)); }},
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
        EXPECT_EQ(statusOf([&] { test.home->snapshot("db"); }, &sentence), Status::homeDamaged)
            << row.what;
        EXPECT_THAT(sentence, HasSubstr(row.what));
    }
}

TEST(Snapshot, LacksNoLongElement) {
    std::mt19937 random(8);
    TestHome test;
    stored(*test.home, {randomDocument(random, {2 * maxBlockNodes, 10, 3, 5})});
    const auto environment = Environment::open(test.home->databasePath("db"));
    WriteTransaction::run(*environment, [](WriteTransaction &change) {
        change.remove(Table::longElements, encodeKey(1));
    });
    const auto snapshot = test.home->snapshot("db");
    EXPECT_EQ(statusOf([&] { (void)snapshot->lastBelow(2); }), Status::homeDamaged);
}

}  // namespace
}  // namespace zdbs
