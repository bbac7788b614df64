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
    std::string content() { return treeText(*snapshotOf(*test_.home)); }
    std::shared_ptr<Environment> environment() {
        return Environment::open(test_.home->databasePath("db"));
    }
    /** The documents of each part. */
    std::string contentOfParts() {
        std::string text;
        const auto state = test_.home->state("db");
        for (const auto &part : state->parts()) {
            text += treeText(*part) + "|";
            EXPECT_EQ(numberingFaults(*part), "");
        }
        return text;
    }

    StoreSizes sizes() { return test_.home->state("db")->sizes(); }
    std::size_t segments() { return snapshotOf(*test_.home)->segmentCount(); }

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
    const auto before = snapshotOf(*test_.home);
    open()->commit();
    EXPECT_EQ(snapshotOf(*test_.home), before);
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
    const auto snapshot = snapshotOf(*test_.home);
    EXPECT_EQ(snapshot->nodeCount(), 4U);
    EXPECT_EQ(sizes().storedNodes, 6U);
    EXPECT_FALSE(snapshot->findDocument("b"));
}

TEST_F(WriterTest, NeverUsesANumberTwice) {
    NodeId last = noNode;
    for (int turn = 0; turn < 5; ++turn) {
        const auto writer = open();
        if (turn > 0) writer->removeDocument("a");
        writeSmall(*writer, "a", std::to_string(turn));
        writer->commit();
        const auto snapshot = snapshotOf(*test_.home);
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
    const auto before = snapshotOf(*test_.home);
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
    const auto snapshot = snapshotOf(*test_.home);
    EXPECT_EQ(snapshot->nameCount(), 1U);
    // The numbers go on without a gap.
    EXPECT_EQ(snapshot->documents()[1].first, snapshot->documents()[0].last + 1);
}

TEST_F(WriterTest, CommitsNothingWhenItsOnlyDocumentIsAbandoned) {
    const auto before = snapshotOf(*test_.home);
    const auto writer = open();
    writer->beginDocument("bad");
    writer->startElement(numbered({"e", "", ""}));
    writer->abandonDocument();
    writer->commit();
    EXPECT_EQ(snapshotOf(*test_.home), before);
}

TEST_F(WriterTest, ContinuesTheNamesOfEarlierCommits) {
    for (const char *name : {"a", "b", "c"}) {
        const auto writer = open();
        writeSmall(*writer, name, "x", std::string(name) == "b" ? "other" : "e");
        writer->commit();
    }
    EXPECT_EQ(content(), "a: e('x')\nb: other('x')\nc: e('x')\n");
    EXPECT_EQ(snapshotOf(*test_.home)->nameCount(), 2U);
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
    const auto snapshot = snapshotOf(*test_.home);
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
    const auto snapshot = snapshotOf(*test_.home);
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
        const auto snapshot = snapshotOf(*test.home);
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
    EXPECT_EQ(numberingFaults(*snapshotOf(*test_.home)), "");
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
    const auto snapshot = snapshotOf(*test_.home);
    EXPECT_EQ(snapshot->nodeCount(), 40U);
    EXPECT_LT(sizes().storedNodes, 60U);
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
    const auto before = snapshotOf(*test_.home);
    const std::uint64_t allBefore = sizes().all;
    const Compaction done = compact({});
    EXPECT_LT(done.after, done.before);
    const auto after = snapshotOf(*test_.home);
    EXPECT_NE(after, before);
    EXPECT_LE(sizes().all, allBefore);
    EXPECT_EQ(sizes().storedNodes, after->nodeCount());
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
    EXPECT_EQ(snapshotOf(*test_.home), after) << "there was nothing to do";
}

TEST_F(WriterTest, BeginsAPartWhereNumbersEnd) {
    WriteTransaction::run(*environment(), [](WriteTransaction &change) {
        StateRecord state;
        state.nextNode = lastNodeId - 1;
        change.put(Table::meta, stateKey, encodeState(state));
    });
    auto writer = open();
    writeSmall(*writer, "last", "1");
    writeSmall(*writer, "first", "2");
    writer->beginDocument("abandoned");
    writer->startElement(numbered({"e", "", ""}));
    writer->abandonDocument();
    writer->commit();
    EXPECT_EQ(contentOfParts(), "last: e('1')\n|first: e('2')\n|");
    const auto state = test_.home->state("db");
    EXPECT_EQ(state->parts()[0]->documents()[0].last, lastNodeId);
    EXPECT_EQ(state->parts()[1]->documents()[0].first, 1U);
    EXPECT_EQ(state->nodeCount(), 4U);
    writer.reset();
    writer = open();
    EXPECT_TRUE(writer->hasDocument("first"));
    writer->removeDocument("first");
    writeSmall(*writer, "next", "3");
    writer->commit();
    EXPECT_EQ(contentOfParts(), "last: e('1')\n|next: e('3')\n|");
    EXPECT_EQ(test_.home->state("db")->parts()[1]->documents()[0].first, 3U);
}

// A document of three nodes behind one of two: where its third one comes it is in a full part.
TEST_F(WriterTest, MovesADocumentThatHasNoRoom) {
    for (const std::uint32_t nodesOfSegment : {1U, 2U, 3U, 100U}) {
        SegmentLimits limits{nodesOfSegment, 1000, 4, 4};
        test_.home->dropDatabase("db");
        test_.home->createDatabase("db");
        {
            Writer writer(environment(), {}, limits);
            writeSmall(writer, "a", "1");
            for (const char *name : {"abandoned", "b"}) {
                writer.beginDocument(name);
                writer.startElement(numbered({"r", "p", "u"}));
                writer.namespaceDeclaration("p", "u");
                writer.startElement(numbered({name, "", ""}));
                writer.text("t", unmarked);
                if (std::string(name) == "abandoned") {
                    writer.abandonDocument();
                    continue;
                }
                writer.endElement();
                writer.comment("c");
                writer.endElement();
                writer.endDocument(9);
            }
            writer.commit();
        }
        const char *const all = "a: e('1')\n|b: {u}p:r(xmlns:p=u b('t') <!--c-->)\n|";
        EXPECT_EQ(contentOfParts(), all) << nodesOfSegment;
        compact(limits);
        EXPECT_EQ(contentOfParts(), all) << nodesOfSegment;
        EXPECT_EQ(sizes().storedNodes, 6U) << nodesOfSegment;
    }
}

TEST_F(WriterTest, RefusesADocumentOfMoreNodesThanHaveNumbers) {
    Writer writer(environment(), {}, {2, 1000, 3, 5});
    EXPECT_EQ(writer.maxNodes(), 5U);
    writeSmall(writer, "before", "1");
    writer.beginDocument("toolong");
    writer.startElement(numbered({"e", "", ""}));
    for (int i = 0; i < 4; ++i)
        writer.comment("c");
    std::string sentence;
    EXPECT_EQ(statusOf([&] { writer.comment("c"); }, &sentence), Status::tooManyNodes);
    EXPECT_THAT(sentence, HasSubstr("more than 5"));
    writer.abandonDocument();
    writeSmall(writer, "fits", "2");
    writer.commit();
    EXPECT_EQ(contentOfParts(), "before: e('1')\n|fits: e('2')\n|");
}

/** A long run of loads, removals, replacements and what is given up against a plain map. */
class WriterModel : public WriterTest, public testing::WithParamInterface<NodeId> {
protected:
    static SegmentLimits randomLimits(std::mt19937 &random) {
        return {random() % 2 ? 100U : 100000U, random() % 2 ? 1000U : 1000000U, GetParam()};
    }

    void change(Writer &writer, std::mt19937 &random) {
        const std::string name = "doc" + std::to_string(random() % 10);
        ASSERT_EQ(writer.hasDocument(name), changed_.contains(name));
        if (changed_.erase(name) > 0) writer.removeDocument(name);
        if (random() % 3 == 0) return;
        const ModelDocument document = randomDocument(random, {1 + random() % 300, 9, 30, 9});
        if (random() % 5 == 0) {
            writeNodes(writer, "abandoned", document);
            return writer.abandonDocument();
        }
        changed_[name] = document;
        write(writer, name, document);
    }

    void expectModel() {
        const auto state = test_.home->state("db");
        std::uint64_t documents = 0;
        for (const auto &part : state->parts()) {
            EXPECT_EQ(numberingFaults(*part), "");
            documents += part->documents().size();
            for (const DocumentRange &range : part->documents())
                ASSERT_EQ(difference(*part, range, model_[std::string(range.name)]), "");
        }
        ASSERT_EQ(documents, model_.size());
    }

    std::map<std::string, ModelDocument> model_;
    std::map<std::string, ModelDocument> changed_;
};

TEST_P(WriterModel, AgreesOverManyCommits) {
    std::mt19937 random(11);
    for (int commit = 0; commit < 40; ++commit) {
        const SegmentLimits limits = randomLimits(random);
        auto writer = std::make_unique<Writer>(environment(), std::function<void()>(), limits);
        changed_ = model_;
        for (auto changes = random() % 6; changes > 0; --changes)
            change(*writer, random);
        if (random() % 4 == 0) continue;  // given up
        writer->commit();
        writer.reset();
        model_ = changed_;
        if (random() % 4 == 0) compact(limits);
        expectModel();
    }
    EXPECT_EQ(test_.home->state("db")->parts().size() > 5, GetParam() != lastNodeId);
}

INSTANTIATE_TEST_SUITE_P(Parts, WriterModel, testing::Values(lastNodeId, 500, 200, 1));

}  // namespace
}  // namespace zdbs::embedded
