/** Loads: all of it or nothing, names of documents, numbers of records; and states that change. */
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>
#include <variant>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/event_text.h"
#include "tests/engine_conformance/finder.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::conformance {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Loading : public OfEngine {
protected:
    std::vector<std::string> documents() {
        std::vector<std::string> names;
        const auto stored = administration().documents("db");
        for (const DocumentSummary &each : stored->list())
            names.push_back(each.name);
        return names;
    }

    /** The documents of the newest state, one behind the other. */
    std::string told() {
        const auto stored = administration().documents("db");
        std::string all;
        for (std::size_t place = 0; place < stored->list().size(); ++place) {
            EventText text;
            stored->tell(place, text);
            all += text.text() + "\n";
        }
        return all;
    }

    std::vector<RecordId> records() {
        const auto database = collection.open();
        return recordsOf(*database, *database->everything());
    }
};

TEST_P(Loading, ShowsNothingBeforeTheCommitAndAllAfterIt) {
    auto load = administration().load("db", {});
    tellXml(*load, {"one", "<a/>"});
    tellXml(*load, {"two", "<b>t</b>"});
    EXPECT_THAT(documents(), IsEmpty());
    EXPECT_EQ(collection.open()->everything()->size(), 0);
    load->commit();
    load.reset();
    EXPECT_THAT(documents(), ElementsAre("one", "two"));
    EXPECT_EQ(told(), "<a></>\n<b>t</>\n");
}

TEST_P(Loading, LeavesNothingBehindWithoutACommit) {
    collection.load({{"one", "<a/>"}});
    {
        const auto load = administration().load("db", {});
        tellXml(*load, {"two", "<b/>"});
        load->removeDocument("one");
    }
    EXPECT_EQ(told(), "<a></>\n");
    collection.load({{"two", "<c/>"}});
    EXPECT_EQ(told(), "<a></>\n<c></>\n");
}

TEST_P(Loading, AbandonsADocumentAndGoesOn) {
    auto load = administration().load("db", {});
    tellXml(*load, {"one", "<a/>"});
    EXPECT_EQ(statusOf([&] { tellXml(*load, {"bad", "<b><c>"}); }), Status::malformed);
    load->beginDocument("begun");
    load->startElement({0, {"x", {}, {}}});
    load->abandonDocument();
    tellXml(*load, {"begun", "<d/>"});
    tellXml(*load, {"bad", "<e/>"});
    load->commit();
    load.reset();
    EXPECT_THAT(documents(), ElementsAre("one", "begun", "bad"));
    EXPECT_EQ(told(), "<a></>\n<d></>\n<e></>\n");
    EXPECT_EQ(administration().check("db", {}).found, 0U);
}

TEST_P(Loading, RefusesNamesThatAreTaken) {
    collection.load({{"one", "<a/>"}});
    auto load = administration().load("db", {});
    EXPECT_EQ(statusOf([&] { load->beginDocument("one"); }), Status::documentExists);
    tellXml(*load, {"two", "<b/>"});
    EXPECT_EQ(statusOf([&] { load->beginDocument("two"); }), Status::documentExists);
    tellXml(*load, {"three", "<c/>"});
    load->commit();
    load.reset();
    EXPECT_THAT(documents(), ElementsAre("one", "two", "three"));
}

TEST_P(Loading, RefusesNamesThatAreNoPaths) {
    const auto load = administration().load("db", {});
    const std::string longName(4097, 'n');
    for (const std::string &name : {std::string(), std::string("/a"), std::string("a//b"),
                                    std::string("a/../b"), std::string("./a"), std::string("a\nb"),
                                    std::string("a\xff"), std::string("a/"), longName})
        EXPECT_EQ(statusOf([&] { load->beginDocument(name); }), Status::badDocumentName) << name;
    EXPECT_EQ(statusOf([&] { load->beginDocument("a/b.. c/.d/ä"); }), Status::ok);
    load->abandonDocument();
}

TEST_P(Loading, RemovesDocumentsThatAreThere) {
    collection.load({{"one", "<a/>"}, {"two", "<b/>"}, {"three", "<c/>"}});
    auto load = administration().load("db", {});
    EXPECT_EQ(statusOf([&] { load->removeDocument("none"); }), Status::unknownDocument);
    load->removeDocument("two");
    EXPECT_EQ(statusOf([&] { load->removeDocument("two"); }), Status::unknownDocument);
    tellXml(*load, {"four", "<d/>"});
    load->removeDocument("four");
    load->commit();
    load.reset();
    EXPECT_EQ(told(), "<a></>\n<c></>\n");
}

TEST_P(Loading, ReplacesADocumentInOneTransaction) {
    collection.load({{"one", "<a/>"}, {"two", "<b/>"}});
    auto load = administration().load("db", {});
    load->removeDocument("one");
    tellXml(*load, {"one", "<new/>"});
    EXPECT_EQ(told(), "<a></>\n<b></>\n");
    load->commit();
    load.reset();
    EXPECT_EQ(told(), "<b></>\n<new></>\n");
    EXPECT_THAT(documents(), ElementsAre("two", "one"));
}

TEST_P(Loading, NumbersRecordsInDocumentOrderFromOneAndNeverAgain) {
    collection.load({{"one", "<a i='1'>t</a>"}, {"two", "<b/>"}});
    const std::vector<RecordId> before = records();
    EXPECT_TRUE(std::is_sorted(before.begin(), before.end(), std::less_equal<>()));
    EXPECT_GE(before.front(), 1U);
    collection.remove({"two"});
    collection.load({{"two", "<b/>"}, {"three", "<c/>"}});
    const std::vector<RecordId> after = records();
    ASSERT_EQ(after.size(), 5U);
    EXPECT_TRUE(std::equal(after.begin(), after.begin() + 3, before.begin()));
    EXPECT_TRUE(std::is_sorted(after.begin(), after.end(), std::less_equal<>()));
    EXPECT_GT(after[3], before.back());
    collection.remove({"one", "two", "three"});
    EXPECT_THAT(records(), IsEmpty());
    collection.load({{"one", "<a/>"}});
    EXPECT_GT(records().front(), after.back());
}

TEST_P(Loading, TellsWhatDocumentsThereAre) {
    const std::string xml = "<a i='1'>t</a>";
    collection.load({{"one", xml}, {"x/two", "<b/>"}});
    const auto list = administration().documents("db")->list();
    ASSERT_EQ(list.size(), 2U);
    const std::vector<RecordId> numbers = records();
    EXPECT_EQ(list[0].first, numbers[0]);
    EXPECT_EQ(list[0].nodes, 3U);
    EXPECT_EQ(list[0].xmlBytes, xml.size());
    EXPECT_EQ(list[1].name, "x/two");
    EXPECT_EQ(list[1].first, numbers[3]);
    EXPECT_EQ(list[1].nodes, 1U);
}

TEST_P(Loading, KeepsDocumentsOfAStateThatIsOver) {
    collection.load({{"one", "<a/>"}});
    const auto old = administration().documents("db");
    collection.remove({"one"});
    EventText text;
    old->tell(0, text);
    EXPECT_EQ(text.text(), "<a></>");
}

TEST_P(Loading, TellsDocumentsAsTheyWereLoaded) {
    const char *texts[] = {
        "<a/>",
        "<?x y?><!--before--><a>t</a><!--behind--><?z?>",
        "<a xmlns='u' xmlns:p='v'><p:b p:c='1' d=' 2 '/><b xmlns=''><c xmlns:p='w'/></b></a>",
        "<a>x&amp;y<![CDATA[<z>]]>\xc3\xa4</a>",
        "<a xml:lang='en' b=''> <b> </b> </a>",
    };
    std::string expected;
    for (const char *xml : texts) {
        collection.load({{"d" + std::to_string(expected.size()), xml}});
        expected += xml + std::string("\n");
    }
    EXPECT_EQ(told(),
              "<a></>\n"
              "<?x y?><!--before--><a>t</><!--behind--><?z ?>\n"
              "<a{u} xmlns=u xmlns:p=v><p:b{v} p:c{v}=1 d= 2 ></>"
              "<b xmlns=><c xmlns:p=w></></></>\n"
              "<a>x&y<z>\xc3\xa4</>\n"
              "<a xml:lang{http://www.w3.org/XML/1998/namespace}=en b=> <b> </> </>\n");
}

TEST_P(Loading, WaitsForWhoeverHasTheRightAndSaysSoOnce) {
    auto held = administration().load("db", {});
    tellXml(*held, {"one", "<a/>"});
    int reports = 0;
    const auto waiting = [&] {
        ++reports;
        held->commit();
        held.reset();
    };
    const auto load = administration().load("db", waiting);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(statusOf([&] { load->beginDocument("one"); }), Status::documentExists);
}

TEST_P(Loading, DoesNotWaitForOtherDatabases) {
    administration().createDatabase("other");
    const auto held = administration().load("db", {});
    int reports = 0;
    administration().load("other", [&] { ++reports; });
    EXPECT_EQ(reports, 0);
}

/** Every commit brings two documents of three nodes. */
TEST_P(Loading, IsSeenAsAWholeByReadersOnOtherThreads) {
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    const auto read = [&] {
        while (!done) {
            const auto database = collection.open();
            Finder finder(*database);
            const std::int64_t all = database->everything()->size();
            const std::int64_t leaves = finder.findEach("N_NAME=\"b\"")->size();
            torn += all % 6 != 0 || leaves * 3 != all * 2 ? 1 : 0;
        }
    };
    std::thread first(read);
    std::thread second(read);
    for (int i = 0; i < 10; ++i) {
        const std::string number = std::to_string(i);
        collection.load({{"a" + number, "<a><b/><b/></a>"}, {"b" + number, "<a><b/><b/></a>"}});
    }
    done = true;
    first.join();
    second.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(collection.open()->everything()->size(), 60);
}

TEST_P(Loading, HoldsAsManyNodesAsItSays) {
    EXPECT_GE(administration().load("db", {})->maxNodes(), 1U << 20U);
}

class Refreshing : public OfEngine {
protected:
    Refreshing() {
        collection.load({{"one", "<a><b/>x x</a>"}, {"two", "<c><b/></c>"}});
        database = collection.open();
    }

    std::unique_ptr<OpenDatabase> database;
};

TEST_P(Refreshing, IsWhatMakesLaterLoadsSeen) {
    collection.load({{"three", "<d/>"}});
    EXPECT_EQ(database->everything()->size(), 5);
    Finder before(*database);
    EXPECT_EQ(before.placesOfEach("N_NAME=\"d\""), "");
    database->refresh({});
    EXPECT_EQ(database->everything()->size(), 6);
    EXPECT_EQ(Finder(*database).placesOfEach("N_NAME=\"d\""), "6");
}

TEST_P(Refreshing, IsSeenByTheNumberOfTheState) {
    const std::uint64_t before = database->state();
    EXPECT_EQ(collection.administration().summary("db").state, before);
    collection.load({{"three", "<d/>"}});
    EXPECT_EQ(database->state(), before);
    database->refresh({});
    EXPECT_NE(database->state(), before);
    EXPECT_EQ(collection.administration().summary("db").state, database->state());
    EXPECT_EQ(collection.administration().documents("db")->state(), database->state());
}

TEST_P(Refreshing, KeepsAStateReadableThatIsOver) {
    Finder finder(*database);
    const ResultSetPtr set = finder.findEach("N_TVALUE=$x$");
    collection.remove({"one", "two"});
    EXPECT_EQ(finder.places(*set), "3");
    EXPECT_EQ(set->hits(), 2);
    EXPECT_EQ(database->hitWords(*set, database->record(*set, 1)).size(), 2U);
    EXPECT_EQ(finder.placesOfEach("S=1; XPATH(PARENT,1,0,2)"), "1");
}

TEST_P(Refreshing, CarriesSetsOverWithoutTheNodesThatAreGone) {
    Finder finder(*database);
    std::vector<ResultSetPtr> sets = {finder.findEach("N_NAME=\"b\""), nullptr,
                                      finder.findEach("N_NAME=\"a\""),
                                      finder.findEach("N_TVALUE=$x$"), database->everything()};
    const RecordId kept = database->record(*sets[0], 2);
    collection.remove({"one"});
    collection.load({{"one", "<a><b/></a>"}});
    database->refresh(sets);
    EXPECT_EQ(recordsOf(*database, *sets[0]), std::vector<RecordId>{kept});
    EXPECT_EQ(sets[0]->size(), 1);
    EXPECT_EQ(sets[0]->hits(), 1);
    EXPECT_EQ(sets[1], nullptr);
    EXPECT_EQ(sets[2]->size(), 0);
    EXPECT_EQ(sets[3]->size(), 0);
    EXPECT_EQ(sets[4]->size(), 2);
    EXPECT_EQ(database->everything()->size(), 4);
}

TEST_P(Refreshing, ForgetsHowSetsWereMade) {
    Finder finder(*database);
    std::vector<ResultSetPtr> sets = {
        finder.findEach("N_TVALUE=$x$"),
        finder.findEach("N_NAME=\"c\"; N_NAME=\"b\"; XPATH(FOLLOWING,3,0,2); N_ID=$"),
    };
    collection.load({{"three", "<d/>"}});
    database->refresh(sets);
    EXPECT_EQ(sets[0]->hits(), 1);
    const std::vector<HitWord> words = database->hitWords(*sets[0], database->record(*sets[0], 1));
    ASSERT_EQ(words.size(), 1U);
    EXPECT_EQ(words.front().length, 0);
}

/** Set 1 is [a/b], a chain, until the state changes: then only the nodes are left. */
TEST_P(Refreshing, LeavesNoChainBehind) {
    Finder before(*database);
    std::vector<ResultSetPtr> sets = {
        before.findEach("N_NAME=\"a\"; N_NAME=\"b\"; XPATH(CHILD,1,2,2)")};
    collection.load({{"three", "<d/>"}});
    database->refresh(sets);
    const auto evaluate = [&](std::string_view condition) {
        const Command command = parseCommand("FIND " + std::string(condition));
        return database->evaluate(std::get<FindCommand>(command).condition,
                                  [&](SetReference) { return sets.front(); });
    };
    EXPECT_EQ(evaluate("XPATH(CHILD,0,1,1)")->size(), 1);
    EXPECT_EQ(evaluate("XPATH(ANCESTOR,0,1,1)")->size(), 0);
}

TEST_P(Refreshing, ChangesNothingWhenTheDatabaseIsGone) {
    Finder finder(*database);
    std::vector<ResultSetPtr> sets = {finder.findEach("N_NAME=\"b\"")};
    const ResultSetPtr before = sets.front();
    administration().dropDatabase("db", {});
    EXPECT_EQ(statusOf([&] { database->refresh(sets); }), Status::unknownDatabase);
    EXPECT_EQ(sets.front(), before);
    EXPECT_EQ(finder.places(*before), "2 5");
    EXPECT_EQ(finder.placesOfEach("N_NAME=\"a\""), "1");
}

TEST_P(Refreshing, FailsOnceTheDatabaseMayNotBeReadAnyMore) {
    std::vector<ResultSetPtr> sets = {database->everything()};
    const ResultSetPtr before = sets.front();
    administration().revoke("reader", "db");
    collection.load({{"three", "<d/>"}});
    EXPECT_EQ(statusOf([&] { database->refresh(sets); }), Status::unknownDatabase);
    EXPECT_EQ(sets.front(), before);
    EXPECT_EQ(database->everything()->size(), 5);
    administration().grant("reader", "db");
    database->refresh(sets);
    EXPECT_EQ(database->everything()->size(), 6);
    EXPECT_EQ(sets.front()->size(), 5);
}

TEST_P(Refreshing, LetsSetsOutliveTheirDatabase) {
    const ResultSetPtr set = database->everything();
    database.reset();
    EXPECT_EQ(set->size(), 5);
    EXPECT_EQ(set->hits(), 5);
}

INSTANTIATE_TEST_SUITE_P(Every, Loading, ::testing::ValuesIn(allEngines()), nameOfEngine);
INSTANTIATE_TEST_SUITE_P(Every, Refreshing, ::testing::ValuesIn(allEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
