#include "zdbs/embedded/store/segment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "tests/support/temporary_directory.h"
#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/support/numbered.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/segment_encoding.h"
#include "zdbs/embedded/store/segment_rows.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::vector<Path> paths = {
    {noPath, NodeKind::element, 0, 1, true},          // 0: /a
    {0, NodeKind::attribute, 1, 2, true},             // 1: /a/@b
    {0, NodeKind::element, 2, 2, true},               // 2: /a/c
    {2, NodeKind::text, noName, 3, true},             // 3: /a/c/text()
    {noPath, NodeKind::element, noName, 0, false},    // 4
    {noPath, NodeKind::attribute, noName, 0, false},  // 5
};

class SegmentTest : public testing::Test {
protected:
    std::shared_ptr<const Segment> written(SegmentRows rows) {
        SegmentEncoding(std::move(rows)).write(file());
        return Segment::open(file());
    }
    std::filesystem::path file() const { return directory_.path() / "1.seg"; }

    /** The same file with other bytes. */
    void overwrite(const std::string &bytes) const {
        std::ofstream(file(), std::ios::binary | std::ios::trunc) << bytes;
    }

    support::TemporaryDirectory directory_;
};

RowPlace add(SegmentRows &rows, PathId path, const NewRow &row) {
    return rows.add(path, paths[path], row);
}

/** `<a b="1"><c>x</c><c>y</c></a>`, the first c with a declaration, from node 10 on. */
SegmentRows smallRows() {
    SegmentRows rows;
    const RowPlace a = add(rows, 0, {10, noNode, 0, {}});
    add(rows, 1, {11, 10, 1, "1"});
    const RowPlace c = add(rows, 2, {12, 10, 2, {}});
    rows.addDeclaration({12, 7});
    add(rows, 3, {13, 12, noName, "x"});
    const RowPlace second = add(rows, 2, {14, 10, 2, {}});
    add(rows, 3, {15, 14, noName, "y"});
    rows.setBelow(a, 5);
    rows.setBelow(c, 1);
    rows.setBelow(second, 1);
    return rows;
}

std::vector<std::uint32_t> numbersOf(const PackedColumn &column) {
    std::vector<std::uint32_t> numbers(column.size());
    column.read(0, numbers);
    return numbers;
}

TEST_F(SegmentTest, ComesBackAsItWasBuilt) {
    const auto segment = written(smallRows());
    EXPECT_EQ(segment->firstNode(), 10U);
    EXPECT_EQ(segment->lastNode(), 15U);
    EXPECT_EQ(segment->nodeCount(), 6U);
    EXPECT_EQ(segment->stretches().size(), 1U);
    EXPECT_THAT(numbersOf(segment->pathOfNode()), ElementsAre(0, 1, 2, 3, 2, 3));
    EXPECT_THAT(numbersOf(segment->declarationElements()), ElementsAre(2));
    EXPECT_THAT(numbersOf(segment->declarationNames()), ElementsAre(7));
    ASSERT_EQ(segment->directory().size(), 4U);
    const PathRun c = segment->run(2, paths[2]);
    EXPECT_EQ(c.count, 2U);
    EXPECT_THAT(numbersOf(c.nodes), ElementsAre(2, 4));
    EXPECT_THAT(numbersOf(c.parents), ElementsAre(1, 1));
    EXPECT_THAT(numbersOf(c.below), ElementsAre(1, 1));
    EXPECT_EQ(c.values.size(), 0U);
    const PathRun text = segment->run(3, paths[3]);
    EXPECT_THAT(numbersOf(text.parents), ElementsAre(1, 2));
    EXPECT_EQ(text.values.at(0), "x");
    EXPECT_EQ(text.values.at(1), "y");
    EXPECT_TRUE(text.below.empty());
    EXPECT_TRUE(segment->run(0, paths[0]).parents.empty());
}

TEST_F(SegmentTest, CountsParentsOfAnEarlierSegmentAsNone) {
    SegmentRows rows;
    add(rows, 3, {20, 12, noName, "before its parent's next"});
    add(rows, 2, {21, 10, 2, {}});
    add(rows, 3, {22, 21, noName, ""});
    const auto segment = written(std::move(rows));
    EXPECT_THAT(numbersOf(segment->run(1, paths[3]).parents), ElementsAre(0, 1));
    EXPECT_THAT(numbersOf(segment->run(0, paths[2]).parents), ElementsAre(0));
}

TEST_F(SegmentTest, KeepsNamesAndDistancesOfIrregularPaths) {
    SegmentRows rows;
    add(rows, 4, {5, noNode, 8, {}});
    add(rows, 5, {6, 5, 9, "v"});
    add(rows, 4, {7, 5, 3, {}});
    const auto segment = written(std::move(rows));
    const PathRun elements = segment->run(0, paths[4]);
    EXPECT_THAT(numbersOf(elements.names), ElementsAre(8, 3));
    EXPECT_THAT(numbersOf(elements.parentDistances), ElementsAre(0, 2));
    EXPECT_TRUE(elements.parents.empty());
    EXPECT_THAT(numbersOf(segment->run(1, paths[5]).names), ElementsAre(9));
}

TEST_F(SegmentTest, KnowsThePlacesOfNodesWithGapsBetweenThem) {
    SegmentRows rows;
    for (const NodeId node : {3, 4, 5, 9, 20, 21})
        add(rows, 0, {node, noNode, 0, {}});
    const auto segment = written(std::move(rows));
    ASSERT_EQ(segment->stretches().size(), 3U);
    EXPECT_EQ(segment->lastOf(0), 5U);
    EXPECT_EQ(segment->lastOf(1), 9U);
    EXPECT_EQ(segment->lastOf(2), 21U);
    std::vector<NodeId> there;
    for (NodeId node = 1; node < 30; ++node) {
        const auto place = segment->placeOf(node);
        if (!place) continue;
        EXPECT_EQ(segment->nodeAtPlace(*place), node);
        EXPECT_EQ(*place, there.size());
        there.push_back(node);
    }
    EXPECT_THAT(there, ElementsAre(3, 4, 5, 9, 20, 21));
}

TEST_F(SegmentTest, ForgetsWhatIsTruncated) {
    SegmentRows rows = smallRows();
    rows.truncate(14);
    EXPECT_EQ(rows.lastNode(), 13U);
    rows.truncate(12);
    EXPECT_EQ(rows.nodeCount(), 2U);
    EXPECT_TRUE(rows.declarations().empty());
    // The number of a path may mean another one afterwards.
    rows.add(2, paths[5], {12, 10, 4, "z"});
    const auto segment = written(std::move(rows));
    EXPECT_THAT(numbersOf(segment->pathOfNode()), ElementsAre(0, 1, 2));
    EXPECT_EQ(segment->run(2, paths[5]).values.at(0), "z");
    rows = smallRows();
    rows.truncate(10);
    EXPECT_TRUE(rows.empty());
    EXPECT_EQ(rows.valueBytes(), 0U);
}

TEST_F(SegmentTest, TakesOverThePresentNodesOfOthers) {
    const auto first = written(smallRows());
    SegmentRows merged;
    const DocumentRange documents[] = {{10, 11, {}}, {14, 15, {}}};
    merged.addSegment(*first, paths, documents);
    const DocumentRange later[] = {{30, 31, {}}};
    SegmentRows more;
    add(more, 2, {30, 10, 2, {}});
    add(more, 3, {31, 30, noName, "w"});
    SegmentEncoding(std::move(more)).write(directory_.path() / "2.seg");
    merged.addSegment(*Segment::open(directory_.path() / "2.seg"), paths, later);
    SegmentEncoding(std::move(merged)).write(directory_.path() / "3.seg");
    const auto segment = Segment::open(directory_.path() / "3.seg");
    EXPECT_EQ(segment->firstNode(), 10U);
    EXPECT_EQ(segment->lastNode(), 31U);
    EXPECT_EQ(segment->stretches().size(), 3U);
    EXPECT_THAT(numbersOf(segment->pathOfNode()), ElementsAre(0, 1, 2, 3, 2, 3));
    const PathRun text = segment->run(3, paths[3]);
    EXPECT_THAT(numbersOf(text.nodes), ElementsAre(5, 21));
    EXPECT_THAT(numbersOf(text.parents), ElementsAre(1, 2));
    EXPECT_EQ(text.values.at(1), "w");
    EXPECT_TRUE(segment->declarationElements().empty()) << "its element is gone";
}

TEST_F(SegmentTest, HasEveryByteInAPartWithAChecksum) {
    const auto segment = written(smallRows());
    std::uint64_t next = frontChecksumBegin;
    for (const SegmentPart &part : segment->parts()) {
        EXPECT_EQ(part.offset, next) << part.name;
        const bool isFront = part.name == "front";
        EXPECT_TRUE(isFront || segment->isSound(part.bytes)) << part.name;
        next += part.bytes.size();
    }
    EXPECT_EQ(next, segment->fileBytes());
}

TEST_F(SegmentTest, ThatIsNotThereIsMissing) {
    EXPECT_THROW(Segment::open(file()), SegmentMissing);
}

TEST_F(SegmentTest, OfAnotherLengthIsDamaged) {
    written(smallRows());
    const std::string bytes = support::readFile(file());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        overwrite(bytes.substr(0, length));
        std::string sentence;
        ASSERT_EQ(statusOf([&] { Segment::open(file()); }, &sentence), Status::homeDamaged);
        EXPECT_THAT(sentence, HasSubstr(file().native()));
    }
    overwrite(bytes + 'x');
    EXPECT_EQ(statusOf([&] { Segment::open(file()); }), Status::homeDamaged);
}

// In front a flipped bit is found at once, elsewhere by the checksum of its part; and whoever
// reads it all the same comes to an end and stays inside of the file.
TEST_F(SegmentTest, WithAFlippedBitIsFoundOut) {
    const auto original = written(smallRows());
    const std::uint64_t front = original->parts()[1].offset;
    const std::string bytes = support::readFile(file());
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ (1 << at % 8));
        overwrite(damaged);
        std::shared_ptr<const Segment> segment;
        const Status status = statusOf([&] { segment = Segment::open(file()); });
        if (at < front) {
            ASSERT_EQ(status, Status::homeDamaged) << at;
        } else if (status == Status::ok) {
            ASSERT_FALSE(segment->isSound(segment->block(0).bytes)) << at;
            ASSERT_EQ(statusOf([&] { (void)segment->localPathAt(0); }), Status::homeDamaged) << at;
            ASSERT_EQ(statusOf([&] { (void)segment->run(3, paths[3]); }), Status::homeDamaged);
        }
    }
}

/** Asks everything about every node, and every path for its rows; answers how much failed. */
int failuresOfReading(const Snapshot &snapshot) {
    int failures = 0;
    const auto ask = [&](const auto &question) {
        const Status status = statusOf(question);
        EXPECT_TRUE(status == Status::ok || status == Status::homeDamaged);
        failures += status != Status::ok;
    };
    for (const DocumentRange &document : snapshot.documents()) {
        for (NodeId node = document.first; node <= document.last; ++node) {
            ask([&] { (void)snapshot.name(node); });
            ask([&] { (void)snapshot.kind(node); });
            ask([&] { EXPECT_LT(snapshot.parent(node), node); });
            ask([&] { EXPECT_GE(snapshot.lastBelow(node), node); });
            ask([&] { (void)snapshot.value(node).size(); });
            ask([&] { (void)snapshot.namespaces(node); });
            ask([&] { (void)snapshot.locate(node); });
        }
    }
    for (PathId path = 0; path < snapshot.summary().size(); ++path)
        ask([&] { (void)snapshot.liveRows(path)->cardinality(); });
    return failures;
}

TEST_F(SegmentTest, WithDamagedColumnsIsReadWithoutHarm) {
    std::mt19937 random(3);
    TestHome test;
    {
        const auto writer =
            std::make_unique<Writer>(Environment::open(test.home->databasePath("db")),
                                     std::function<void()>(), SegmentLimits{400, 1 << 20});
        write(*writer, "a", randomDocument(random, {600, 9, 30, 5}));
        write(*writer, "b", randomDocument(random, {90, 9, 30, 5}));
        writer->commit();
    }
    const auto damagedFile = snapshotOf(*test.home)->segment(1).file();
    const std::uint64_t front = snapshotOf(*test.home)->segment(1).parts()[1].offset;
    const std::string bytes = support::readFile(damagedFile);
    int failures = 0;
    for (int turn = 0; turn < 60; ++turn) {
        std::string damaged = bytes;
        for (int flips = 0; flips < 5; ++flips)
            damaged[front + random() % (bytes.size() - front)] = static_cast<char>(random());
        std::filesystem::remove(damagedFile);
        std::ofstream(damagedFile, std::ios::binary) << damaged;
        std::shared_ptr<const Snapshot> snapshot;
        const Status status = statusOf([&] { snapshot = snapshotOf(*test.home); });
        if (status == Status::ok)
            failures += failuresOfReading(*snapshot);
        else
            EXPECT_EQ(status, Status::homeDamaged);
    }
    EXPECT_GT(failures, 0);
}

/** The bytes behind "0000:" and so on in the example of the page about the format. */
std::string bytesOfTheExample() {
    const std::string page = support::readFile(ZDBS_FORMAT_PAGE);
    std::string bytes;
    for (std::size_t at = page.find("\n0000:"); at != std::string::npos && page[at + 5] == ':';
         at = page.find('\n', at + 1)) {
        for (std::size_t i = at + 6; page[i] == ' '; i += 3)
            bytes += static_cast<char>(std::stoi(page.substr(i + 1, 2), nullptr, 16));
    }
    return bytes;
}

TEST_F(SegmentTest, OfTheExampleIsAsThePageAboutTheFormatSays) {
    TestHome test;
    const auto writer = test.home->write("db");
    writer->beginDocument("example.xml");
    writer->startElement(numbered({"a", "", ""}));
    writer->attribute(numbered({"b", "", ""}), "1", unmarked);
    writer->text("x", unmarked);
    writer->endElement();
    writer->endDocument(14);
    writer->commit();
    const auto stored = snapshotOf(*test.home)->segment(0).file();
    EXPECT_EQ(bytesOfTheExample(), support::readFile(stored));
}

}  // namespace
}  // namespace zdbs::embedded
