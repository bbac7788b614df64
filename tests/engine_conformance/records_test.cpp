/** Records of sets, their hits, and the words that hit. */
#include <algorithm>
#include <functional>
#include <map>
#include <string>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"

namespace zdbs::conformance {
namespace {

/** 1 a, 2 @i, 3 "to be…", 4 comment, 5 b, 6 "be", 7 <?p?>; 8 c, 9 "be" */
const std::vector<NamedDocument> speeches = {
    {"first", "<a i='be, be and be'>to be or\n not to be<!--be--><b>be</b><?p be?></a>"},
    {"second", "<c>be</c>"},
};

/** "part.field.word.length" of each hit word; paragraph and item, too, where they are not 1. */
std::string wordsOf(const std::vector<HitWord> &words) {
    std::string text;
    for (const HitWord &word : words) {
        text += (text.empty() ? "" : " ") + std::to_string(word.part) + "." +
                std::to_string(word.field) + "." + std::to_string(word.word) + "." +
                std::to_string(word.length);
        if (word.paragraph != 1 || word.item != 1) text += "!";
    }
    return text;
}

class Records : public OfEngine {
protected:
    Records() {
        collection.load(speeches);
        database = collection.open();
    }

    std::unique_ptr<OpenDatabase> database;
};

struct HitFact {
    const char *conditions;
    std::int64_t size;
    std::int64_t hits;
    std::size_t ordinal;  ///< of the record whose words follow
    const char *words;
};

constexpr HitFact hitFacts[] = {
    // Occurrences of a contained text, from the left, without overlap.
    {"N_TVALUE=$be$", 6, 9, 1, "1.6.1.2 1.6.2.2 1.6.4.2"},
    {"N_TVALUE=$be$", 6, 9, 2, "1.6.2.2 1.6.6.2"},
    {"N_TVALUE=$be$", 6, 9, 6, "2.6.1.2"},
    {"N_TVALUE=$ b$", 2, 4, 1, "1.6.2.2 1.6.4.2"},
    {"N_TVALUE=$o $", 1, 2, 1, "1.6.1.2 1.6.5.2"},
    {"N_TVALUE=$or$", 1, 1, 1, "1.6.3.2"},
    // Every other relation hits the whole value.
    {"N_TVALUE=\"be\"", 4, 4, 1, "1.6.1.2"},
    {"N_TVALUE<>\"be\"", 2, 2, 1, "1.6.1.13"},
    {"N_TVALUE>\"c\"", 1, 1, 1, "1.6.1.19"},
    {"N_TVALUE=$", 6, 6, 2, "1.6.1.19"},
    {"N_TVALUE=\"\"", 6, 6, 2, "1.6.1.19"},
    // Without a value condition there is one word, of no text.
    {"N_TYPE=\"TEXT\"", 3, 3, 3, "2.1.1.0"},
    {"N_ID=$", 9, 9, 1, "1.1.1.0"},
    {"N_TVALUE=$be$; N_ID=$ NOT S=1", 3, 3, 1, "1.1.1.0"},
    {"N_TYPE=\"TEXT\" NOT N_TVALUE=\"be\"", 1, 1, 1, "1.1.1.0"},
    // What a set was matched by it keeps in unions and intersections, and as the answer of joins.
    {"N_TVALUE=$be$; N_TVALUE=$not$; S=1 OR S=2", 6, 10, 2, "1.6.2.2 1.6.4.3 1.6.6.2"},
    {"N_TVALUE=$be$; N_TVALUE=$not$; S=1 AND S=2", 1, 3, 1, "1.6.2.2 1.6.4.3 1.6.6.2"},
    {"N_TVALUE=$not$; N_TYPE=\"TEXT\"; S=1 OR S=2", 3, 3, 2, "1.1.1.0"},
    {"N_TVALUE=$be$; N_TVALUE=$not$; S=1 NOT S=2", 5, 7, 2, "1.6.1.2"},
    {"N_TVALUE=$be$; XPATH(DESCENDANT,0,1,2)", 5, 6, 1, "1.6.2.2 1.6.6.2"},
    {"N_TVALUE=$be$; XPATH(SELF,1,0,1)", 6, 9, 2, "1.6.2.2 1.6.6.2"},
    {"N_TVALUE=$be$; XPATH(PARENT,1,0,2)", 3, 3, 1, "1.1.1.0"},
    {"N_TVALUE=$be$; XPATH(SELF,1,1,1,EQ,1)", 3, 5, 1, "1.6.1.2 1.6.2.2 1.6.4.2"},
    // Overlapping hits are one.
    {"N_TVALUE=$to b$; N_TVALUE=$be$; S=1 OR S=2", 6, 9, 2, "1.6.1.5 1.6.5.5"},
    {"N_TVALUE=$be$; N_TVALUE=\"be\"; S=1 OR S=2", 6, 9, 6, "2.6.1.2"},
    {"N_TVALUE=$be$; N_TVALUE<>\"be\"; S=1 OR S=2", 6, 6, 2, "1.6.1.19"},
};

TEST_P(Records, AreHitByTheValueConditionsThatTheyWereMatchedBy) {
    for (const HitFact &fact : hitFacts) {
        Finder finder(*database);
        const ResultSetPtr set = finder.findEach(fact.conditions);
        ASSERT_EQ(set->size(), fact.size) << fact.conditions;
        EXPECT_EQ(set->hits(), fact.hits) << fact.conditions;
        const auto ordinal = static_cast<std::int64_t>(fact.ordinal);
        const RecordId record = database->record(*set, ordinal);
        EXPECT_EQ(wordsOf(database->hitWords(*set, record)), fact.words) << fact.conditions;
    }
}

TEST_P(Records, HaveAsManyHitWordsAsTheirSetSays) {
    for (const HitFact &fact : hitFacts) {
        Finder finder(*database);
        const ResultSetPtr set = finder.findEach(fact.conditions);
        std::size_t words = 0;
        for (const RecordId record : recordsOf(*database, *set))
            words += database->hitWords(*set, record).size();
        EXPECT_EQ(static_cast<std::int64_t>(words), set->hits()) << fact.conditions;
    }
}

TEST_P(Records, ComeInDocumentOrderByCursorAndByPlace) {
    Finder finder(*database);
    const ResultSetPtr set = finder.find(std::string("N_TVALUE=$ OR N_NAME=\"a\""));
    const std::vector<RecordId> records = recordsOf(*database, *set);
    EXPECT_EQ(finder.places(*set), "1 2 3 4 6 7 9");
    EXPECT_TRUE(std::is_sorted(records.begin(), records.end()));
    for (std::size_t index = 0; index < records.size(); ++index)
        EXPECT_EQ(database->record(*set, static_cast<std::int64_t>(index) + 1), records[index]);
}

TEST_P(Records, OfAnEmptySetAreNone) {
    Finder finder(*database);
    const ResultSetPtr set = finder.find(std::string("N_NAME=\"nothing\""));
    EXPECT_EQ(set->size(), 0);
    EXPECT_EQ(set->hits(), 0);
    const auto cursor = database->records(*set);
    EXPECT_TRUE(cursor->next().empty());
    EXPECT_TRUE(cursor->next().empty());
}

TEST_P(Records, OfTwoCursorsDoNotMeet) {
    const ResultSetPtr set = database->everything();
    const std::vector<RecordId> records = recordsOf(*database, *set);
    const auto first = database->records(*set);
    first->next();
    EXPECT_EQ(recordsOf(*database, *set), records);
}

TEST_P(Records, OfALargeSetComeAllAndOnce) {
    std::string xml = "<r>";
    for (int i = 0; i < 5000; ++i)
        xml += "<e/>";
    collection.load({{"large", xml + "</r>"}});
    database->refresh({});
    const ResultSetPtr set = database->everything();
    const std::vector<RecordId> records = recordsOf(*database, *set);
    EXPECT_EQ(records.size(), 5010U);
    EXPECT_EQ(set->size(), 5010);
    EXPECT_TRUE(std::is_sorted(records.begin(), records.end(), std::less_equal<>()));
}

std::string factsOf(const OpenDatabase &database, FactsWanted wanted) {
    const auto describer = database.describer(wanted);
    std::string text;
    for (const RecordId record : recordsOf(database, *database.everything())) {
        const RecordFacts &facts = describer->of(record);
        text += std::string(facts.document) + " " + std::string(facts.path) + " " +
                std::string(facts.value) + "\n";
    }
    return text;
}

TEST_P(Records, AreDescribedByDocumentPathAndValue) {
    EXPECT_EQ(factsOf(*database, {true, true, true}),
              "first /a[1] to be or\n not to bebe\n"
              "first /a[1]/@i be, be and be\n"
              "first /a[1]/text()[1] to be or\n not to be\n"
              "first /a[1]/comment()[1] be\n"
              "first /a[1]/b[1] be\n"
              "first /a[1]/b[1]/text()[1] be\n"
              "first /a[1]/processing-instruction()[1] be\n"
              "second /c[1] be\n"
              "second /c[1]/text()[1] be\n");
}

TEST_P(Records, AreDescribedAsFarAsIsAskedFor) {
    EXPECT_EQ(factsOf(*database, {}), "  \n  \n  \n  \n  \n  \n  \n  \n  \n");
    collection.remove({"first"});
    database->refresh({});
    EXPECT_EQ(factsOf(*database, {.document = true}), "second  \nsecond  \n");
    EXPECT_EQ(factsOf(*database, {.path = true}), " /c[1] \n /c[1]/text()[1] \n");
    EXPECT_EQ(factsOf(*database, {.value = true}), "  be\n  be\n");
}

TEST_P(Records, AreDescribedInWhateverOrderTheyAreAskedFor) {
    const std::vector<RecordId> records = recordsOf(*database, *database->everything());
    const auto forwards = database->describer({true, true, true});
    const auto backwards = database->describer({true, true, true});
    std::map<RecordId, std::string> told;
    for (const RecordId record : records) {
        const RecordFacts &facts = forwards->of(record);
        told[record] = std::string(facts.path) + std::string(facts.value);
    }
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        const RecordFacts &facts = backwards->of(*record);
        EXPECT_EQ(std::string(facts.path) + std::string(facts.value), told[*record]);
    }
}

/** "level kind name count" of each path. */
std::string pathsOf(const Administration &administration) {
    std::string text;
    for (const PathCount &path : administration.paths("db")) {
        text += std::to_string(path.level) + " " + std::to_string(static_cast<int>(path.kind)) +
                " " + path.prefix + ":" + path.local + "{" + path.uri + "} " +
                std::to_string(path.count) + "\n";
    }
    return text;
}

TEST_P(Records, AreCountedByPath) {
    collection.load({{"third", "<a xmlns:p='urn:p'><b/><p:b/><b i='1'>x</b></a>"}});
    EXPECT_EQ(pathsOf(administration()),
              "1 0 :a{} 2\n"
              "2 1 :i{} 1\n"
              "2 2 :{} 1\n"
              "2 3 :{} 1\n"
              "2 0 :b{} 3\n"
              "3 2 :{} 2\n"
              "3 1 :i{} 1\n"
              "2 4 :p{} 1\n"
              "2 0 p:b{urn:p} 1\n"
              "1 0 :c{} 1\n"
              "2 2 :{} 1\n");
    collection.remove({"first", "third"});
    EXPECT_EQ(pathsOf(administration()), "1 0 :c{} 1\n2 2 :{} 1\n");
    collection.remove({"second"});
    EXPECT_EQ(pathsOf(administration()), "");
    EXPECT_EQ(statusOf([&] { administration().paths("none"); }), Status::unknownDatabase);
}

INSTANTIATE_TEST_SUITE_P(Every, Records, ::testing::ValuesIn(allEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
