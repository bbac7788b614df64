/** Databases of several parts through the line. */
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/support/numbered.h"
#include "zdbs/embedded/embedded_engine.h"
#include "zdbs/embedded/open_parts.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::embedded {
namespace {

class Parts : public ::testing::Test {
protected:
    /** `<e><name/>name</e>` each, three nodes: so a part has one document. */
    void load(const std::vector<std::string> &names) {
        SegmentLimits limits;
        limits.nodesOfPart = 4;
        Writer writer(Environment::open(test_.home->databasePath("db")), {}, limits);
        for (const std::string &name : names) {
            writer.beginDocument(name);
            writer.startElement(numbered({"e", "", ""}));
            writer.startElement(numbered({name, "", ""}));
            writer.endElement();
            writer.text(name, unmarked);
            writer.endElement();
            writer.endDocument(1);
        }
        writer.commit();
    }

    std::unique_ptr<OpenDatabase> open(const std::string &name = "db") {
        return openParts(test_.home, name, {});
    }

    static ResultSetPtr find(const OpenDatabase &database, const std::string &condition,
                             const std::vector<ResultSetPtr> &sets = {}) {
        const Command command = parseCommand("FIND " + condition);
        return database.evaluate(std::get<FindCommand>(command).condition,
                                 [&](SetReference set) { return sets.at(set.number - 1U); });
    }

    /** "db.1:4 db.1:7" */
    static std::string told(const OpenDatabase &database, const ResultSet &set) {
        std::string text;
        const auto cursor = database.records(set);
        std::int64_t ordinal = 0;
        for (auto records = cursor->next(); !records.empty(); records = cursor->next()) {
            for (const RecordId record : records) {
                EXPECT_EQ(database.record(set, ++ordinal), record);
                const RecordPlace place = database.placeOf(record);
                text +=
                    (text.empty() ? "" : " ") + place.database + ":" + std::to_string(place.number);
            }
        }
        EXPECT_EQ(ordinal, set.size());
        return text;
    }

    static std::string found(const OpenDatabase &database, const std::string &condition) {
        return told(database, *find(database, condition));
    }

    TestHome test_;
};

TEST_F(Parts, AreMadeWhileLoading) {
    load({"a", "b", "c"});
    load({"d"});
    EXPECT_EQ(test_.home->state("db")->parts().size(), 4U);
    EXPECT_EQ(test_.home->state("db")->nodeCount(), 12U);
    const auto database = open();
    EXPECT_EQ(found(*database, "N_TYPE=TEXT"), "db:3 db.1:3 db.2:3 db.3:3");
    EXPECT_EQ(find(*database, "N_NAME=\"e\"")->hits(), 4);
    EXPECT_EQ(found(*database, "N_TVALUE=&c&"), "db.2:3");
    EXPECT_EQ(database->hitWords(*find(*database, "N_TVALUE=&c&"), recordOf(2, 3)).front().part, 3);
}

TEST_F(Parts, HaveRecordsOfTheirOwn) {
    load({"a", "b", "c"});
    const auto database = open();
    const std::map<std::string, std::string> cases = {
        {"N_ID=2", "db:2"},
        {"N_ID=4294967298", "db.1:2"},
        {"N_ID<2", "db:1"},
        {"N_ID<=4294967297", "db:1 db:2 db:3 db.1:1"},
        {"N_ID>4294967298", "db.1:3 db.2:1 db.2:2 db.2:3"},
        {"N_ID>=8589934594", "db.2:2 db.2:3"},
        {"N_ID<>4294967297 AND N_NAME=\"e\"", "db:1 db.2:1"},
        {"N_PARENT=0", "db:1 db.1:1 db.2:1"},
        {"N_PARENT=1", "db:2 db:3"},
        {"N_PARENT=4294967297", "db.1:2 db.1:3"},
        {"N_PARENT>4294967297", "db.2:2 db.2:3"},
        {"N_PARENT<>4294967297 AND N_TYPE=TEXT", "db:3 db.2:3"},
        {"N_ID=4294967300", ""},
        {"N_ID=12884901889", ""},
    };
    for (const auto &[condition, records] : cases)
        EXPECT_EQ(found(*database, condition), records) << condition;
}

TEST_F(Parts, CanBeOpenedByThemselves) {
    load({"a", "b", "c"});
    const auto part = open("db.1");
    EXPECT_EQ(part->name(), "db.1");
    EXPECT_EQ(part->everything()->size(), 3);
    EXPECT_EQ(found(*part, "N_ID>1"), "db.1:2 db.1:3");
    for (const char *name : {"db.0", "db.01", "db.3", "db.", "db.x", ".1", "db.1x", "none.1"})
        EXPECT_EQ(statusOf([&] { open(name); }), Status::unknownDatabase) << name;
    test_.home->createDatabase("db.1");
    EXPECT_EQ(open("db.1")->everything()->size(), 0) << "a database of that name comes first";
    EXPECT_EQ(found(*open(), "N_NAME=\"e\""), "db:1 db:4294967297 db.2:1");
}

TEST_F(Parts, AreReadByWhoeverMayReadTheDatabase) {
    load({"a", "b"});
    test_.home->addUser("u", "p");
    const auto engine = openEmbeddedEngine(test_.home->path());
    EXPECT_FALSE(engine->hasDatabase("u", "db.1"));
    EXPECT_EQ(statusOf([&] { engine->open("u", "db.1"); }), Status::unknownDatabase);
    test_.home->grantWriting("u", "db");
    EXPECT_TRUE(engine->hasDatabase("u", "db.1"));
    EXPECT_FALSE(engine->hasDatabase("u", "db.2"));
    EXPECT_FALSE(engine->mayWrite("u", "db.1"));
    EXPECT_EQ(engine->open("u", "db.1")->everything()->size(), 3);
    EXPECT_EQ(engine->databases("u"), std::vector<std::string>{"db"});
}

TEST_F(Parts, ThatComeLaterLeaveSetsWhatTheyAre) {
    load({"a"});
    const auto database = open();
    std::vector<ResultSetPtr> sets{find(*database, "N_TYPE=TEXT"), nullptr};
    for (const char *name : {"b", "c"}) {
        load({name});
        database->refresh(sets);
        EXPECT_EQ(told(*database, *sets[0]), "db:3");
        EXPECT_EQ(sets[1], nullptr);
    }
    sets[0] = find(*database, "N_TYPE=TEXT");
    EXPECT_EQ(told(*database, *find(*database, "XPATH(PARENT,1,0,2)", sets)), "db:1 db.1:1 db.2:1");
    {
        Writer writer(Environment::open(test_.home->databasePath("db")));
        writer.removeDocument("b");
        writer.commit();
    }
    database->refresh(sets);
    EXPECT_EQ(told(*database, *sets[0]), "db:3 db.2:3");
}

TEST_F(Parts, OfADatabaseMadeAnewAreNotThoseOfBefore) {
    load({"a", "b", "c"});
    const auto database = open();
    const auto part = open("db.2");
    std::vector<ResultSetPtr> sets{database->everything()};
    test_.home->dropDatabase("db");
    test_.home->createDatabase("db");
    load({"a"});
    database->refresh(sets);
    EXPECT_EQ(told(*database, *sets[0]), "db:1 db:2 db:3");
    EXPECT_EQ(statusOf([&] { part->refresh({}); }), Status::unknownDatabase);
    EXPECT_EQ(part->everything()->size(), 3) << "it stays what it was";
}

TEST_F(Parts, KeepTheFormatOfOneAsLongAsThereIsOne) {
    const auto version = [this] {
        const ReadTransaction transaction(Environment::open(test_.home->databasePath("db")));
        return decodeNumber(*transaction.get(Table::meta, versionKey));
    };
    load({"a"});
    EXPECT_EQ(version(), formatVersion);
    load({"b"});
    EXPECT_EQ(version(), formatOfParts);
}

TEST(PartLimit, IsASetting) {
    TestHome test;
    for (const char *value : {"0", "x", "1x", "2147483648", "-1"}) {
        ::setenv("ZDBS_PART_NODES", value, 1);
        std::string sentence;
        EXPECT_EQ(statusOf([&] { test.home->write("db"); }, &sentence), Status::badSetting);
        EXPECT_EQ(sentence, "The setting ZDBS_PART_NODES cannot have this value: " +
                                std::string(value) + ".");
    }
    ::unsetenv("ZDBS_PART_NODES");
}

}  // namespace
}  // namespace zdbs::embedded
