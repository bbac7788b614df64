// Conditions and fragments: documents and requests are made of the input, and the embedded engine
// finds and tells of them what the naive one does, node by node.
#include <array>
#include <string>

#include "fuzz/fuzzing.h"
#include "tests/engine_conformance/side.h"
#include "tests/zdbs/support/namespaced_document.h"
#include "tests/zdbs/support/random_document.h"

namespace {

using namespace zdbs::conformance;
using support::Choices;

constexpr std::size_t bytesOfDocument = 80;
constexpr std::size_t bytesOfRequest = 32;
constexpr int mostRequests = 8;

/** Both, with the documents of the input. */
class Pair {
public:
    void load(fuzzing::Bytes &input) {
        const bool isRemoved = !input.empty() && fuzzing::taken(input, 1)[0] % 4 == 0;
        const Choices first(fuzzing::taken(input, bytesOfDocument));
        const Choices second(fuzzing::taken(input, bytesOfDocument));
        for (Side *side : sides_) {
            side->database.reset();
            side->collection.startOver();
            side->collection.load({{"a", zdbs::testing::RandomDocument(first).make()}});
            side->collection.load({{"b", zdbs::testing::NamespacedDocument(second).make()},
                                   {"c", zdbs::testing::RandomDocument(second).make()}});
            if (isRemoved) side->collection.remove({"b"});
            side->database = side->collection.open();
            side->startAgain();
        }
    }

    void ask(fuzzing::Bytes request) {
        const Choices choices(request);
        const std::string found = embedded_.found(choices);
        compare(found, naive_.found(choices));
        const std::string told = embedded_.told(choices);
        compare(told, naive_.told(choices));
    }

private:
    static void compare(const std::string &answer, const std::string &expected) {
        fuzzing::require(answer == expected, answer + "\ninstead of\n" + expected);
    }

    Side embedded_{embeddedEngine()};
    Side naive_{naiveEngine()};
    std::array<Side *, 2> sides_{&embedded_, &naive_};
};

}  // namespace

void fuzz(fuzzing::Bytes input) {
    static Pair pair;
    pair.load(input);
    for (int count = 0; count < mostRequests && !input.empty(); ++count)
        pair.ask(fuzzing::taken(input, bytesOfRequest));
}
