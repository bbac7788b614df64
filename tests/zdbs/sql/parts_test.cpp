/** Databases of several parts on a server. */
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"
#include "tests/support/database_server.h"
#include "zdbs/base/status.h"

namespace zdbs::conformance {
namespace {

class PartsOnAServer : public ::testing::Test {
protected:
    void SetUp() override {
        if (serverEngines().empty()) GTEST_SKIP() << "PostgreSQL's programs are not installed";
        ::setenv("ZDBS_PART_NODES", "3", 1);
        collection.emplace(serverEngines().front());
        for (const char *name : {"a", "b", "c"})
            collection->load({{name, "<e>x</e>"}});
    }
    void TearDown() override { ::unsetenv("ZDBS_PART_NODES"); }

    std::string placesOf(const OpenDatabase &database, const std::string &condition) {
        Finder finder(database);
        const ResultSetPtr &set = finder.find(condition);
        std::string text;
        for (const RecordId record : recordsOf(database, *set)) {
            const RecordPlace place = database.placeOf(record);
            text += (text.empty() ? "" : " ") + place.database + ":" +
                    std::to_string(place.number) + ":" +
                    std::to_string(database.hitWords(*set, record).front().part);
        }
        return text;
    }

    std::optional<Collection> collection;
};

TEST_F(PartsOnAServer, TellRecordsByTheirPart) {
    const auto whole = collection->open();
    EXPECT_EQ(placesOf(*whole, "N_TVALUE=&x&"), "db:2:1 db.1:2:2 db.2:2:3");
    const RecordId second = recordsOf(*whole, *whole->everything())[2];
    EXPECT_EQ(second, (RecordId{1} << 32U) + 1);
    EXPECT_EQ(placesOf(*whole, "N_ID=" + std::to_string(second)), "db.1:1:2");
    EXPECT_EQ(placesOf(*whole, "N_ID>" + std::to_string(second)), "db.1:2:2 db.2:1:3 db.2:2:3");
    EXPECT_EQ(placesOf(*whole, "N_PARENT=" + std::to_string(second)), "db.1:2:2");
}

TEST_F(PartsOnAServer, AreDatabasesByThemselves) {
    const Engine &engine = collection->engine();
    EXPECT_TRUE(engine.hasDatabase("reader", "db.2"));
    EXPECT_FALSE(engine.hasDatabase("reader", "db.3"));
    EXPECT_FALSE(engine.hasDatabase("reader", "db.0"));
    EXPECT_FALSE(engine.hasDatabase("reader", "db.01"));
    EXPECT_EQ(engine.databases("reader"), std::vector<std::string>{"db"});
    EXPECT_EQ(statusOf([&] { engine.open("reader", "db.3"); }), Status::unknownDatabase);
    const auto part = engine.open("reader", "db.2");
    EXPECT_EQ(part->everything()->size(), 2);
    EXPECT_EQ(placesOf(*part, "N_ID=2"), "db.2:2:1");
    EXPECT_EQ(placesOf(*part, "N_TYPE=ELEMENT"), "db.2:1:1");
    collection->remove({"c"});
    part->refresh({});
    EXPECT_EQ(part->everything()->size(), 0);
    EXPECT_EQ(placesOf(*part, "N_TYPE=ELEMENT"), "");
}

TEST_F(PartsOnAServer, HaveNoNameOfTheirOwnWhereADatabaseHasIt) {
    collection->administration().createDatabase("db.1");
    const auto whole = collection->open();
    EXPECT_EQ(placesOf(*whole, "N_TVALUE=&x&"), "db:2:1 db:4294967298:2 db.2:2:3");
    EXPECT_FALSE(collection->engine().hasDatabase("reader", "db.1"));
}

/** A part that is full takes no more; until then the emptiest one does. */
TEST_F(PartsOnAServer, TakeDocumentsWhileThereIsRoom) {
    ::setenv("ZDBS_PART_NODES", "100", 1);
    collection->load({{"long", "<e><f/><f/><f/></e>"}, {"d", "<e>y</e>"}, {"e", "<e>y</e>"}});
    const auto whole = collection->open();
    EXPECT_EQ(placesOf(*whole, "N_NAME=f"), "db:5:2 db:6:2 db:7:2");
    EXPECT_EQ(placesOf(*whole, "N_TVALUE=&y&"), "db.1:5:4 db.2:5:6");
    EXPECT_EQ(collection->administration().check("db", {}).found, 0U);
    std::string listed;
    const auto documents = collection->administration().documents("db");
    for (const DocumentSummary &each : documents->list())
        listed += each.name + " ";
    EXPECT_EQ(listed, "a b c long d e ");
}

TEST_F(PartsOnAServer, HaveASizeThatIsANumber) {
    for (const char *value : {"0", "x", "2147483648"}) {
        ::setenv("ZDBS_PART_NODES", value, 1);
        EXPECT_EQ(statusOf([&] { collection->administration().load("db", {}); }),
                  Status::badSetting)
            << value;
    }
}

}  // namespace
}  // namespace zdbs::conformance
