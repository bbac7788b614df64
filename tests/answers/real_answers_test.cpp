/**
 * Requests made from what real documents contain: the nodes that translation, engine and store
 * answer are those that an independent XPath 1.0 engine selects, node by node.
 */
#include <gtest/gtest.h>

#include "tests/answers/document_requests.h"
#include "tests/answers/real_documents.h"
#include "tests/answers/xpath_oracle.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/support/nodes_of.h"
#include "zdbs/embedded/open_parts.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/loader.h"
#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace answers {
namespace {

constexpr std::size_t questionsEach = 200;

class RealAnswers : public ::testing::TestWithParam<Sample> {
protected:
    RealAnswers() {
        const std::shared_ptr<zdbs::embedded::Home> home = home_.home;
        const auto writer = home->write("db");
        const auto input = zdbs::openFile(GetParam().file);
        zdbs::Loader(*writer).load(*input, GetParam().file, "document");
        writer->commit();
        session_ = zdbs::Session::ofOwner(zdbs::embedded::openParts(home, "db", {}));
    }

    std::vector<std::uint32_t> answer(const std::string &request) {
        try {
            const zdbs::RequestAnswer answer = zdbs::runNestedRequest(*session_, request);
            return zdbs::testing::nodesOf(answer.database, *answer.matches);
        } catch (const zdbs::Failure &failure) {
            ADD_FAILURE() << request << ": " << failure.what();
            return {};
        }
    }

private:
    zdbs::embedded::TestHome home_;
    std::unique_ptr<zdbs::Session> session_;
};

std::string shown(const std::vector<std::uint32_t> &numbers) {
    std::string text = std::to_string(numbers.size()) + ":";
    for (std::size_t place = 0; place < numbers.size() && place < 10; ++place)
        text += " " + std::to_string(numbers[place]);
    return text;
}

TEST_P(RealAnswers, AreTheNodesThatXPathSelects) {
    XPathOracle oracle(textOf(GetParam()), GetParam().file);
    oracle.forgetNamespaces();
    DocumentRequests requests(oracle.document(), 11);
    std::size_t answered = 0;
    std::size_t found = 0;
    for (; answered < questionsEach; ++answered) {
        const auto question = requests.next();
        ASSERT_TRUE(question) << "no more than " << answered;
        const auto expected = oracle.numbers(question->expression);
        const auto matches = answer(question->request);
        EXPECT_TRUE(matches == expected)
            << question->request << " as " << question->expression << "\n"
            << shown(matches) << " instead of " << shown(expected);
        found += expected.empty() ? 0 : 1;
    }
    EXPECT_GE(found, questionsEach / 2) << "most requests should find something";
    std::cout << answered << " requests, " << found << " with an answer\n";
}

INSTANTIATE_TEST_SUITE_P(Of, RealAnswers, ::testing::ValuesIn(documentsForAnswers()),
                         [](const auto &one) { return one.param.database; });

TEST(RealAnswers, AreOfTenDocumentsAtLeast) {
    EXPECT_GE(documentsForAnswers().size(), 10U);
}

}  // namespace
}  // namespace answers
