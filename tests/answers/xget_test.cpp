/** XGET through the real shell. */
#include <gtest/gtest.h>

#include "tests/answers/request_table.h"
#include "tests/answers/sample_databases.h"
#include "tests/zdbs/support/xml_text.h"

namespace answers {
namespace {

using zdbs::testing::canonical;
using zdbs::testing::wellFormednessError;

/** The export documents in what the shell printed. */
std::vector<std::string> documentsIn(const std::string &printed) {
    const std::string end = "</vexa:export>\n";
    std::vector<std::string> documents;
    for (auto at = printed.find("<?xml"); at != std::string::npos; at = printed.find("<?xml", at)) {
        const std::size_t stop = printed.find(end, at) + end.size();
        documents.push_back(printed.substr(at, stop - at));
        at = stop;
    }
    return documents;
}

std::size_t occurrences(const std::string &text, const std::string &piece) {
    std::size_t count = 0;
    for (auto at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
        ++count;
    return count;
}

std::string contentOf(const std::string &document) {
    const std::size_t start = document.find('>', document.find("<fragment ")) + 1;
    return document.substr(start, document.find("</fragment>") - start);
}

TEST(Xget, MatchesWhatXfindFindsForEveryRequestOfTheTable) {
    const SampleDatabases databases({garden()});
    std::vector<std::string> requests;
    for (const Row &row : readTable("garden"))
        requests.push_back(row.request);
    const std::vector<Answer> answers = databases.find("garden", requests);
    for (const bool highlight : {false, true}) {
        std::string statements = highlight ? "HIGHLIGHT;\n" : "";
        for (const std::string &request : requests)
            statements += "XGET " + request + " /;\n";
        const auto documents = documentsIn(databases.run("garden", statements).out);
        ASSERT_EQ(documents.size(), requests.size());
        for (std::size_t index = 0; index < requests.size(); ++index) {
            const std::string &document = documents[index];
            const std::string count = std::to_string(answers[index].count);
            EXPECT_NE(document.find("matches=\"" + count + "\""), std::string::npos)
                << requests[index];
            EXPECT_EQ(occurrences(document, "<fragment "),
                      static_cast<std::size_t>(answers[index].count))
                << requests[index];
            EXPECT_EQ(wellFormednessError(document), "") << requests[index];
        }
    }
}

struct GetFact {
    const char *request;
    const char *specs;
    const char *content;  ///< of the first fragment, highlighted
};

constexpr GetFact facts[] = {
    {"//name[contains(text(),'arro')]", "/",
     "<name xmlns=\"urn:example:garden\" xmlns:soil=\"urn:example:soil\">C<vexa:hit>arro"
     "</vexa:hit>t</name>"},
    {"//plant[name='Leek']", "/name/text()", "<vexa:hit>Leek</vexa:hit>"},
    {"//plant[@id='p9']", "/",
     "<plant xmlns:soil=\"urn:example:soil\" id=\"p9\" vexa:hit-id=\"1,2\" height=\"1\" "
     "status=\"sown\"><name>Weed</name></plant>"},
    {"//bed[contains(@soil:kind,'oa')]", "/@soil:kind",
     "<vexa:attribute name=\"soil:kind\" namespace=\"urn:example:soil\">l<vexa:hit>oa</vexa:hit>m"
     "</vexa:attribute>"},
    {"//note[contains(.,'& wait')]", "//text()", "&lt;dig&gt; <vexa:hit>&amp; wait</vexa:hit>"},
    {"//plant[@height=120]", "/note[contains(., 'net')]/em/b",
     "<b xmlns=\"urn:example:garden\" xmlns:soil=\"urn:example:soil\">or</b>"},
    {"//plant", "/note[em = 'early']/em/text()", "early"},
    {"//diary", "/entry[@xml:lang=\"da\"]/@date",
     "<vexa:attribute name=\"date\">2024-05-01</vexa:attribute>"},
    {"/processing-instruction()", "/", "<?xml-stylesheet type=\"text/css\" href=\"garden.css\"?>"},
};

TEST(Xget, ShowsFragmentsWithTheirHitsMarked) {
    const SampleDatabases databases({garden()});
    std::string statements = "HIGHLIGHT;\n";
    for (const GetFact &fact : facts)
        statements += std::string("XGET ") + fact.request + " " + fact.specs + ";\n";
    const auto documents = documentsIn(databases.run("garden", statements).out);
    ASSERT_EQ(documents.size(), std::size(facts));
    for (std::size_t index = 0; index < documents.size(); ++index) {
        EXPECT_EQ(wellFormednessError(documents[index]), "");
        EXPECT_EQ(contentOf(documents[index]), facts[index].content) << documents[index];
    }
}

struct RefusedFact {
    const char *statement;
    const char *message;
};

constexpr RefusedFact refused[] = {
    {"XGET //plant /a[", "ERROR: The fragment specification cannot be used: /a[; syntax error."},
    {"XGET //plant / a",
     "ERROR: The fragment specification cannot be used: a; it must begin with \"/\"."},
    {"XGET //plant[ /", "ERROR: The request failed: syntax error."},
    {"XGET //plant", "ERROR: Missing fragment spec."},
};

TEST(Xget, SaysWhatIsWrongAndPrintsNoDocument) {
    const SampleDatabases databases({garden()});
    for (const RefusedFact &fact : refused) {
        const auto result = databases.run("garden", std::string(fact.statement) + ";\n");
        EXPECT_NE((result.out + result.err).find(fact.message), std::string::npos)
            << fact.statement << "\n"
            << result.out << result.err;
        EXPECT_TRUE(documentsIn(result.out).empty());
    }
}

class WholeDocument : public ::testing::TestWithParam<Sample> {};

TEST_P(WholeDocument, FetchedByXgetIsTheDocumentElementThatWasLoaded) {
    const Sample &sample = GetParam();
    const SampleDatabases databases({sample});
    const auto documents = documentsIn(databases.run(sample.database, "XGET /* /;\n").out);
    ASSERT_EQ(documents.size(), 1U);
    const std::string source = canonical(support::readFile(sample.file));
    const std::string fetched = canonical(contentOf(documents.front()));
    EXPECT_GT(fetched.size(), 1000U);
    EXPECT_NE(source.find(fetched), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Samples, WholeDocument, ::testing::ValuesIn(samples()),
                         [](const auto &one) { return one.param.database; });

}  // namespace
}  // namespace answers
