// Requests: a document and requests are made of the input, and a session over the embedded engine
// finds the nodes that an independent engine selects.
#include <string>
#include <vector>

#include "fuzz/fuzzing.h"
#include "tests/answers/random_requests.h"
#include "tests/answers/xpath_oracle.h"
#include "tests/engine_conformance/collection.h"
#include "tests/zdbs/support/random_document.h"
#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace {

using support::Choices;
using zdbs::conformance::Collection;

constexpr std::size_t bytesOfDocument = 120;
constexpr std::size_t bytesOfRequest = 16;
constexpr int mostRequests = 12;

/** Numbers of the nodes found, from 1. */
std::vector<std::uint32_t> found(zdbs::Session &session, const std::string &request) {
    std::vector<std::uint32_t> numbers;
    const zdbs::NestedRequest answer(session, request);
    const auto cursor = answer.matches();
    for (auto records = cursor->next(); !records.empty(); records = cursor->next()) {
        for (const zdbs::RecordId record : records)
            numbers.push_back(static_cast<std::uint32_t>(record));
    }
    return numbers;
}

std::string listOf(const std::vector<std::uint32_t> &numbers) {
    std::string text;
    for (const std::uint32_t number : numbers)
        text += " " + std::to_string(number);
    return text;
}

}  // namespace

void fuzz(fuzzing::Bytes input) {
    static Collection collection(zdbs::conformance::embeddedEngine());
    const Choices choices(fuzzing::taken(input, bytesOfDocument));
    const std::string xml = zdbs::testing::RandomDocument(choices).make();
    collection.startOver();
    collection.load({{"document", xml}});
    const auto session = zdbs::Session::ofOwner(collection.administration().open("db"));
    answers::XPathOracle oracle(xml, "document");
    for (int count = 0; count < mostRequests && !input.empty(); ++count) {
        std::string request;
        std::string expression;
        answers::RandomRequests(Choices(fuzzing::taken(input, bytesOfRequest)))
            .make(request, expression);
        const std::string expected = listOf(oracle.numbers(expression));
        const std::string answer = listOf(found(*session, request));
        fuzzing::require(answer == expected,
                         xml + "\n" + request + ":" + answer + "\ninstead of" + expected);
    }
}
