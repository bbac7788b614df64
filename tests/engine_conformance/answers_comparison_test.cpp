/** Sessions of two engines answer XPath requests alike, and as an independent engine does. */
#include <algorithm>

#include "tests/answers/document_requests.h"
#include "tests/answers/request_table.h"
#include "tests/answers/sample_databases.h"
#include "tests/answers/xpath_oracle.h"
#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/excerpt.h"
#include "tests/engine_conformance/finder.h"
#include "zdbs/export/export_document.h"
#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace zdbs::conformance {
namespace {

constexpr std::size_t mostOfOneName = 12;
constexpr std::size_t questions = 250;
constexpr std::size_t largestExport = 1U << 26U;

/** A session of the reader, and what it says to requests. */
class Asked {
public:
    Asked(const EngineUnderTest &engine, const std::string &xml)
        : collection(engine), session(collection.shared(), "reader", "secret") {
        collection.load({{"document", xml}});
        session.execute("BASE db");
        const auto database = collection.open();
        all = recordsOf(*database, *database->everything());
    }

    /** Records and hits, and the places of the nodes; or what went wrong. */
    std::string answer(const std::string &request) {
        try {
            const NestedRequest asked(session, request);
            std::string text =
                std::to_string(asked.records()) + " " + std::to_string(asked.hits()) + ":";
            const auto cursor = asked.matches();
            for (auto batch = cursor->next(); !batch.empty(); batch = cursor->next()) {
                for (const RecordId record : batch)
                    text += " " + std::to_string(placeOf(record));
            }
            return text;
        } catch (const Failure &failure) {
            return failure.what();
        }
    }

    std::string exported(const std::string &request, const std::string &fragments) {
        try {
            const RequestAnswer answer = runNestedRequest(session, request);
            return limitedExportDocument(answer, {request, fragments}, true, largestExport);
        } catch (const Failure &failure) {
            return failure.what();
        }
    }

private:
    std::size_t placeOf(RecordId record) const {
        const auto found = std::lower_bound(all.begin(), all.end(), record);
        return static_cast<std::size_t>(found - all.begin()) + 1;
    }

    Collection collection;
    Session session;
    std::vector<RecordId> all;
};

class Answers : public ::testing::TestWithParam<answers::Sample> {
protected:
    std::string xml = excerptOf(GetParam().file, mostOfOneName);
    Asked embedded{embeddedEngine(), xml};
    Asked naive{naiveEngine(), xml};
    std::vector<answers::Row> rows = answers::readTable(GetParam().database);
};

TEST_P(Answers, OfBothEnginesAreThoseOfXPath) {
    answers::XPathOracle oracle(xml, "excerpt");
    EXPECT_GE(rows.size(), 50U);
    std::size_t found = 0;
    for (const answers::Row &row : rows) {
        const std::string answer = embedded.answer(row.request);
        EXPECT_EQ(naive.answer(row.request), answer) << row.request;
        const int count = oracle.count(row.expression);
        EXPECT_EQ(answer.substr(0, answer.find(' ')), std::to_string(count)) << row.request;
        found += count > 0 ? 1 : 0;
    }
    EXPECT_GE(found, rows.size() / 2) << "most requests should find something";
}

/** As answer() writes them, but for the hits. */
std::string written(const std::vector<std::uint32_t> &places) {
    std::string text = std::to_string(places.size()) + ":";
    for (const std::uint32_t place : places)
        text += " " + std::to_string(place);
    return text;
}

std::string withoutHits(std::string answer) {
    return answer.erase(answer.find(' '), answer.find(':') - answer.find(' '));
}

TEST_P(Answers, ToQuestionsAboutTheDocumentAreTheNodesThatXPathSelects) {
    answers::XPathOracle oracle(xml, "excerpt");
    oracle.forgetNamespaces();
    answers::DocumentRequests requests(oracle.document(), 5);
    std::size_t found = 0;
    for (std::size_t asked = 0; asked < questions; ++asked) {
        const auto question = requests.next();
        ASSERT_TRUE(question) << "no more than " << asked;
        const std::string answer = embedded.answer(question->request);
        EXPECT_EQ(naive.answer(question->request), answer) << question->request;
        const auto places = oracle.numbers(question->expression);
        EXPECT_EQ(withoutHits(answer), written(places)) << question->request;
        found += places.empty() ? 0 : 1;
    }
    EXPECT_GE(found, questions / 2) << "most requests should find something";
}

TEST_P(Answers, OfBothEnginesAreExportedToTheSameBytes) {
    constexpr const char *specs = "/ /@* //text()[1] /.. /*[2]|/ancestor::*[1] /*[contains(.,'e')]";
    for (const answers::Row &row : rows) {
        const std::string document = embedded.exported(row.request, specs);
        EXPECT_TRUE(document.starts_with("<?xml")) << row.request << "\n" << document;
        EXPECT_TRUE(naive.exported(row.request, specs) == document) << row.request;
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, Answers, ::testing::ValuesIn(answers::samples()),
                         [](const auto &one) { return one.param.database; });

}  // namespace
}  // namespace zdbs::conformance
