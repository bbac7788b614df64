#include "zdbs/embedded/store/writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <thread>

#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "tests/zdbs/support/numbered.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs::embedded {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/** Writes `<element>value</element>`. */
void writeSmall(Writer &writer, const std::string &name, const std::string &value,
                const std::string &element = "e") {
    writer.beginDocument(name);
    writer.startElement(numbered({element, "", ""}));
    writer.text(value, unmarked);
    writer.endElement();
    writer.endDocument(value.size());
}

class WriterTest : public testing::Test {
protected:
    std::unique_ptr<Writer> open() { return test_.home->write("db"); }
    std::string content() { return treeText(*test_.home->snapshot("db")); }
    std::shared_ptr<Environment> environment() {
        return Environment::open(test_.home->databasePath("db"));
    }
    std::size_t segments() { return test_.home->snapshot("db")->segmentCount(); }

    /** Files of segments, seen or not. */
    std::ptrdiff_t files() {
        const auto entries =
            std::filesystem::directory_iterator(environment()->segmentsDirectory());
        return std::distance(entries, {});
    }

    Compaction compact(const SegmentLimits &limits) {
        return Writer(environment(), {}, limits).compact();
    }

    TestHome test_;
};

TEST_F(WriterTest, CommitsAllOfItOrNothing) {
    {
        const auto writer = open();
        writeSmall(*writer, "a", "1");
        writeSmall(*writer, "b", "2");
        EXPECT_EQ(content(), "");
    }
    EXPECT_EQ(content(), "");
    const auto writer = open();
    writeSmall(*writer, "a", "1");
    writeSmall(*writer, "b", "2");
    EXPECT_EQ(content(), "");
    writer->commit();
    EXPECT_EQ(content(), "a: e('1')\nb: e('2')\n");
}

TEST_F(WriterTest, WithNothingToDoMakesNoNewState) {
    const auto before = test_.home->snapshot("db");
    open()->commit();
    EXPECT_EQ(test_.home->snapshot("db"), before);
}

TEST_F(WriterTest, KeepsTheOrderOfLoading) {
    for (const char *name : {"z", "a", "m"}) {
        const auto writer = open();
        writeSmall(*writer, name, name);
        writer->commit();
    }
    EXPECT_EQ(content(), "z: e('z')\na: e('a')\nm: e('m')\n");
}

TEST_F(WriterTest, RefusesADocumentThatIsThereAndNamesReplace) {
    auto writer = open();
    writeSmall(*writer, "a", "1");
    std::string sentence;
    EXPECT_EQ(statusOf([&] { writer->beginDocument("a"); }, &sentence), Status::documentExists);
    writer->commit();
    writer.reset();
    writer = open();
    EXPECT_TRUE(writer->hasDocument("a"));
    EXPECT_FALSE(writer->hasDocument("b"));
    EXPECT_EQ(statusOf([&] { writer->beginDocument("a"); }, &sentence), Status::documentExists);
    EXPECT_THAT(sentence, HasSubstr("a in database db"));
    EXPECT_THAT(sentence, HasSubstr("replace"));
}

TEST_F(WriterTest, RefusesNamesThatLeaveTheFolder) {
    const auto writer = open();
    for (const char *name : {"", "/a", "../a", "a//b", "a\n"})
        EXPECT_EQ(statusOf([&] { writer->beginDocument(name); }), Status::badDocumentName) << name;
}

TEST_F(WriterTest, RemovesDocuments) {
    auto writer = open();
    for (const char *name : {"a", "b", "c"})
        writeSmall(*writer, name, name);
    writer->commit();
    writer.reset();
    writer = open();
    writer->removeDocument("b");
    EXPECT_FALSE(writer->hasDocument("b"));
    EXPECT_EQ(statusOf([&] { writer->removeDocument("b"); }), Status::unknownDocument);
    EXPECT_EQ(statusOf([&] { writer->removeDocument("d"); }), Status::unknownDocument);
    EXPECT_EQ(content(), "a: e('a')\nb: e('b')\nc: e('c')\n");
    writer->commit();
    EXPECT_EQ(content(), "a: e('a')\nc: e('c')\n");
    const auto snapshot = test_.home->snapshot("db");
    EXPECT_EQ(snapshot->nodeCount(), 4U);
    EXPECT_EQ(snapshot->sizes().storedNodes, 6U);
    EXPECT_FALSE(snapshot->findDocument("b"));
}

TEST_F(WriterTest, NeverUsesANumberTwice) {
    NodeId last = noNode;
    for (int turn = 0; turn < 5; ++turn) {
        const auto writer = open();
        if (turn > 0) writer->removeDocument("a");
        writeSmall(*writer, "a", std::to_string(turn));
        writer->commit();
        const auto snapshot = test_.home->snapshot("db");
        ASSERT_EQ(snapshot->documents().size(), 1U);
        EXPECT_GT(snapshot->documents()[0].first, last);
        last = snapshot->documents()[0].last;
    }
    EXPECT_EQ(content(), "a: e('4')\n");
    EXPECT_EQ(files(), 1);
}

TEST_F(WriterTest, ReplacesADocumentInOneCommit) {
    auto writer = open();
    writeSmall(*writer, "a", "old");
    writeSmall(*writer, "b", "stays");
    writer->commit();
    writer.reset();
    const auto before = test_.home->snapshot("db");
    writer = open();
    writer->removeDocument("a");
    writeSmall(*writer, "a", "new");
    writer->commit();
    EXPECT_EQ(treeText(*before), "a: e('old')\nb: e('stays')\n");
    EXPECT_EQ(content(), "b: e('stays')\na: e('new')\n");
}

TEST_F(WriterTest, CanRemoveWhatItHasJustAdded) {
    const auto writer = open();
    writeSmall(*writer, "a", "1");
    writeSmall(*writer, "b", "2");
    writer->removeDocument("a");
    EXPECT_FALSE(writer->hasDocument("a"));
    writeSmall(*writer, "a", "3");
    writer->commit();
    EXPECT_EQ(content(), "b: e('2')\na: e('3')\n");
    EXPECT_EQ(files(), 1);
}

TEST_F(WriterTest, AbandonsADocumentWithoutATrace) {
    const auto writer = open();
    writeSmall(*writer, "a", "1");
    writer->beginDocument("bad");
    writer->startElement(numbered({"neverSeenElsewhere", "", ""}));
    writer->text("half", unmarked);
    writer->abandonDocument();
    EXPECT_FALSE(writer->hasDocument("bad"));
    writeSmall(*writer, "b", "2");
    writer->commit();
    EXPECT_EQ(content(), "a: e('1')\nb: e('2')\n");
    const auto snapshot = test_.home->snapshot("db");
    EXPECT_EQ(snapshot->nameCount(), 1U);
    // The numbers go on without a gap.
    EXPECT_EQ(snapshot->documents()[1].first, snapshot->documents()[0].last + 1);
}

TEST_F(WriterTest, CommitsNothingWhenItsOnlyDocumentIsAbandoned) {
    const auto before = test_.home->snapshot("db");
    const auto writer = open();
    writer->beginDocument("bad");
    writer->startElement(numbered({"e", "", ""}));
    writer->abandonDocument();
    writer->commit();
    EXPECT_EQ(test_.home->snapshot("db"), before);
}

TEST_F(WriterTest, ContinuesTheNamesOfEarlierCommits) {
    for (const char *name : {"a", "b", "c"}) {
        const auto writer = open();
        writeSmall(*writer, name, "x", std::string(name) == "b" ? "other" : "e");
        writer->commit();
    }
    EXPECT_EQ(content(), "a: e('x')\nb: other('x')\nc: e('x')\n");
    EXPECT_EQ(test_.home->snapshot("db")->nameCount(), 2U);
}

TEST_F(WriterTest, TellsPrefixesAndNamespacesOfOneLocalNameApart) {
    const auto writer = open();
    writer->beginDocument("a");
    const NodeName names[] = {{"n", "", ""},   {"n", "p", "u"}, {"n", "", "u"}, {"n", "q", "u"},
                              {"n", "p", "v"}, {"np", "", "u"}, {"n", "pu", ""}};
    for (const NodeName &name : names)
        writer->startElement(numbered(name));
    for (std::size_t i = 0; i < std::size(names); ++i)
        writer->endElement();
    writer->endDocument(0);
    writer->commit();
    EXPECT_EQ(content(), "a: n({u}p:n({u}n({u}q:n({v}p:n({u}np(pu:n()))))))\n");
}

TEST_F(WriterTest, IsOneAtATime) {
    auto first = open();
    writeSmall(*first, "a", "1");
    bool waited = false;
    const auto second = test_.home->write("db", [&] {
        waited = true;
        first->commit();
        first.reset();
    });
    EXPECT_TRUE(waited);
    // It sees what the first one did.
    EXPECT_TRUE(second->hasDocument("a"));
}

TEST_F(WriterTest, WaitingForADatabaseThatIsDroppedGetsNone) {
    for (const bool anew : {false, true}) {
        auto first = open();
        EXPECT_EQ(statusOf([&] {
                      test_.home->write("db", [&] {
                          // As dropDatabase() does it, which would wait for the writer.
                          std::filesystem::rename(test_.home->databasePath("db"),
                                                  test_.home->path() / "databases" / ".db");
                          if (anew) test_.home->createDatabase("db");
                          first.reset();
                      });
                  }),
                  Status::unknownDatabase);
        if (!anew) test_.home->createDatabase("db");
    }
}

/** A document of about 4 MiB of values. */
ModelDocument largeDocument(unsigned seed) {
    std::mt19937 random(seed);
    return randomDocument(random, {4000, 20, 2000, 10});
}

constexpr SegmentLimits mebibyte{1 << 20, 1 << 20};

TEST_F(WriterTest, WritesSegmentsOfLargeLoadsOutOfSight) {
    std::map<std::string, ModelDocument> documents;
    auto writer = std::make_unique<Writer>(environment(), std::function<void()>(), mebibyte);
    for (unsigned i = 0; i < 5; ++i) {
        documents[std::to_string(i)] = largeDocument(i);
        write(*writer, std::to_string(i), documents[std::to_string(i)]);
        EXPECT_GT(files(), 0);
        EXPECT_EQ(content(), "");
    }
    writer->commit();
    const auto snapshot = test_.home->snapshot("db");
    ASSERT_EQ(snapshot->documents().size(), 5U);
    for (const DocumentRange &range : snapshot->documents())
        EXPECT_EQ(difference(*snapshot, range, documents[std::string(range.name)]), "");
    EXPECT_EQ(numberingFaults(*snapshot), "");
}

TEST_F(WriterTest, RemovesItsSegmentsWhenItIsGivenUp) {
    auto writer = std::make_unique<Writer>(environment(), std::function<void()>(), mebibyte);
    write(*writer, "large", largeDocument(1));
    EXPECT_GT(files(), 0);
    writer.reset();
    EXPECT_EQ(files(), 0);
}

TEST_F(WriterTest, RemovesSegmentsOfAnAbandonedDocument) {
    const auto writer = std::make_unique<Writer>(environment(), std::function<void()>(), mebibyte);
    const ModelDocument good = largeDocument(1);
    write(*writer, "good", good);
    const auto before = files();
    writer->beginDocument("bad");
    writer->startElement(numbered({"e", "", ""}));
    for (int i = 0; i < 100; ++i)
        writer->text(std::string(100000, 'x'), unmarked);
    EXPECT_GT(files(), before + 5);
    writer->abandonDocument();
    EXPECT_LE(files(), before + 2) << "one was being written, and one is shared";
    writeSmall(*writer, "small", "1");
    writer->commit();
    const auto snapshot = test_.home->snapshot("db");
    ASSERT_EQ(snapshot->documents().size(), 2U);
    EXPECT_EQ(difference(*snapshot, snapshot->documents()[0], good), "");
    EXPECT_EQ(treeText(*snapshot, snapshot->documents()[1]), "e('1')");
    EXPECT_EQ(numberingFaults(*snapshot), "");
}

// What an abandoned document leaves: nothing, rows that wait, or rows in a segment that an
// earlier document is in too.
TEST_F(WriterTest, GoesOnAfterAnAbandonedDocumentWhereverSegmentsEnd) {
    for (std::uint32_t most = 1; most < 12; ++most) {
        TestHome test;
        Writer writer(Environment::open(test.home->databasePath("db")), {}, {most, 1000});
        std::string expected;
        for (const char *name : {"a", "b", "c"}) {
            writeSmall(writer, name, name, std::string("e") + name);
            writer.beginDocument("bad");
            writer.startElement(numbered({"x", "", ""}));
            writer.startElement(numbered({std::string("y") + name, "", ""}));
            writer.text("1", unmarked);
            writer.attribute(numbered({"z", "", ""}), "2", unmarked);
            writer.abandonDocument();
            expected.append(name).append(": e").append(name).append("('").append(name).append(
                "')\n");
        }
        writer.commit();
        const auto snapshot = test.home->snapshot("db");
        EXPECT_EQ(treeText(*snapshot), expected) << most;
        EXPECT_EQ(numberingFaults(*snapshot), "") << most;
    }
}

TEST_F(WriterTest, RemovesFilesThatAKilledWriterLeft) {
    {
        const auto writer = open();
        writeSmall(*writer, "a", "1");
        writer->commit();
    }
    for (const char *name : {"00000002.seg", "00000077.seg"})
        std::ofstream(environment()->segmentsDirectory() / name) << "left behind";
    EXPECT_EQ(content(), "a: e('1')\n");
    EXPECT_EQ(files(), 3) << "a reader removes nothing";
    const auto writer = open();
    EXPECT_EQ(files(), 1);
    writeSmall(*writer, "b", "2");
    writer->commit();
    EXPECT_EQ(content(), "a: e('1')\nb: e('2')\n");
}

TEST_F(WriterTest, MergesTheSegmentsOfManyCommits) {
    std::string expected;
    std::size_t most = 0;
    for (int i = 0; i < 80; ++i) {
        const std::string name = "d" + std::to_string(1000 + i);
        const auto writer = open();
        writeSmall(*writer, name, std::to_string(i));
        writer->commit();
        expected += name + ": e('" + std::to_string(i) + "')\n";
        most = std::max(most, segments());
        ASSERT_EQ(static_cast<std::size_t>(files()), segments());
    }
    EXPECT_LE(most, 7U * 3);
    EXPECT_EQ(content(), expected);
    EXPECT_EQ(numberingFaults(*test_.home->snapshot("db")), "");
}

// On a full disk there is no room for one. The next load merges what the removal brought together.
TEST_F(WriterTest, WritesNoSegmentToRemoveADocument) {
    const auto commit = [&](const std::string &name, int nodes) {
        const auto writer = open();
        writer->beginDocument(name);
        for (int i = 0; i < nodes; ++i)
            writer->startElement(numbered({"e", "", ""}));
        for (int i = 0; i < nodes; ++i)
            writer->endElement();
        writer->endDocument(1);
        writer->commit();
    };
    for (int i = 0; i < 7; ++i)
        commit("before" + std::to_string(i), 1);
    commit("large", 1000);
    commit("behind", 1);
    ASSERT_EQ(segments(), 9U);
    {
        const auto writer = open();
        writer->removeDocument("large");
        writer->commit();
    }
    EXPECT_EQ(segments(), 8U);
    commit("last", 1);
    EXPECT_EQ(segments(), 1U);
}

TEST_F(WriterTest, DropsRowsOfRemovedDocumentsWhereItMerges) {
    for (int i = 0; i < 20; ++i) {
        auto writer = open();
        writeSmall(*writer, "twin", "x");
        writeSmall(*writer, "d" + std::to_string(i), "y");
        writer->commit();
        writer.reset();
        writer = open();
        writer->removeDocument("twin");
        writer->commit();
    }
    const auto snapshot = test_.home->snapshot("db");
    EXPECT_EQ(snapshot->nodeCount(), 40U);
    EXPECT_LT(snapshot->sizes().storedNodes, 60U);
    EXPECT_EQ(numberingFaults(*snapshot), "");
}

TEST_F(WriterTest, RefusesToMergeADamagedSegment) {
    for (int i = 0; i < 7; ++i) {
        const auto writer = open();
        writeSmall(*writer, std::to_string(i), "value");
        writer->commit();
    }
    const auto file = environment()->segmentFile(3);
    std::string bytes = support::readFile(file);
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    std::ofstream(file) << bytes;
    const auto writer = open();
    writeSmall(*writer, "8", "value");
    std::string sentence;
    EXPECT_EQ(statusOf([&] { writer->commit(); }, &sentence), Status::homeDamaged);
    EXPECT_THAT(sentence, HasSubstr("00000003.seg"));
}

TEST_F(WriterTest, CompactsWhatRemovedDocumentsHeld) {
    std::map<std::string, ModelDocument> documents;
    {
        Writer writer(environment(), {}, mebibyte);
        for (unsigned i = 0; i < 6; ++i) {
            documents[std::to_string(i)] = largeDocument(i);
            write(writer, std::to_string(i), documents[std::to_string(i)]);
            writeSmall(writer, "small" + std::to_string(i), "1");
        }
        writer.commit();
    }
    {
        Writer writer(environment(), {}, mebibyte);
        for (const char *name : {"1", "2", "4", "small3"}) {
            writer.removeDocument(name);
            documents.erase(name);
        }
        writer.commit();
    }
    const auto before = test_.home->snapshot("db");
    const Compaction done = compact({});
    EXPECT_LT(done.after, done.before);
    const auto after = test_.home->snapshot("db");
    EXPECT_NE(after, before);
    EXPECT_LE(after->diskBytes(), before->diskBytes());
    EXPECT_EQ(after->sizes().storedNodes, after->nodeCount());
    EXPECT_EQ(after->segmentCount(), 1U);
    EXPECT_EQ(files(), 1);
    EXPECT_EQ(numberingFaults(*after), "");
    ASSERT_EQ(after->documents().size(), before->documents().size());
    for (std::size_t i = 0; i < after->documents().size(); ++i) {
        EXPECT_EQ(after->documents()[i].first, before->documents()[i].first);
        const auto model = documents.find(std::string(after->documents()[i].name));
        if (model != documents.end()) {
            EXPECT_EQ(difference(*after, after->documents()[i], model->second), "");
            EXPECT_EQ(difference(*before, before->documents()[i], model->second), "");
        }
    }
    EXPECT_EQ(compact({}).before, done.after);
    EXPECT_EQ(test_.home->snapshot("db"), after) << "there was nothing to do";
}

TEST_F(WriterTest, EndsAtTheLastNumber) {
    WriteTransaction::run(*environment(), [](WriteTransaction &change) {
        StateRecord state;
        state.nextNode = lastNodeId - 1;
        change.put(Table::meta, stateKey, encodeState(state));
    });
    auto writer = open();
    writer->beginDocument("toolong");
    writer->startElement(numbered({"e", "", ""}));
    writer->text("t", unmarked);
    std::string sentence;
    EXPECT_EQ(statusOf([&] { writer->comment("c"); }, &sentence), Status::tooManyNodes);
    EXPECT_THAT(sentence, HasSubstr("2147483647"));
    writer->abandonDocument();
    writeSmall(*writer, "fits", "1");
    writer->commit();
    writer.reset();
    EXPECT_EQ(content(), "fits: e('1')\n");
    EXPECT_EQ(numberingFaults(*test_.home->snapshot("db")), "");
    writer = open();
    writer->beginDocument("more");
    EXPECT_EQ(statusOf([&] {
                  writer->startElement(numbered({"e", "", ""}));
              }),
              Status::tooManyNodes);
}

// A long run of loads, removals and replacements against a plain map.
TEST_F(WriterTest, AgreesWithAModelOverManyCommits) {
    std::mt19937 random(11);
    std::map<std::string, ModelDocument> model;
    for (int commit = 0; commit < 40; ++commit) {
        const SegmentLimits limits{random() % 2 ? 100U : 100000U, random() % 2 ? 1000U : 1000000U};
        auto writer = std::make_unique<Writer>(environment(), std::function<void()>(), limits);
        auto changed = model;
        for (auto changes = random() % 6; changes > 0; --changes) {
            const std::string name = "doc" + std::to_string(random() % 10);
            ASSERT_EQ(writer->hasDocument(name), changed.contains(name));
            if (changed.erase(name) > 0) writer->removeDocument(name);
            if (random() % 3 == 0) continue;
            const ModelDocument document = randomDocument(random, {1 + random() % 300, 9, 30, 9});
            changed[name] = document;
            write(*writer, name, document);
        }
        if (random() % 4 == 0) continue;  // given up
        writer->commit();
        writer.reset();
        model = std::move(changed);
        if (random() % 4 == 0) compact(limits);
        const auto snapshot = test_.home->snapshot("db");
        ASSERT_EQ(snapshot->documents().size(), model.size());
        EXPECT_EQ(numberingFaults(*snapshot), "");
        for (const DocumentRange &range : snapshot->documents())
            ASSERT_EQ(difference(*snapshot, range, model[std::string(range.name)]), "");
    }
}

}  // namespace
}  // namespace zdbs::embedded
