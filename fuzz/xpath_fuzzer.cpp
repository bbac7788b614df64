// Expressions of XPath 1.0: whatever the text, it is refused or evaluated, and what it is does not
// depend on how many contexts are looked at together.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "tests/engine_conformance/naive/location.h"
#include "zdbs/base/status.h"
#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/expression_text.h"
#include "zdbs/xpath/grammar.h"

namespace {

using namespace zdbs;

constexpr std::string_view documents[] = {
    "<a x='1' y='2' xml:lang='en'>t<b>u<c/>v</b><b>tuv</b><!--w--><b xml:id='i'>2</b></a><?p it?>",
    "<a><p:a xmlns:p='urn:p' p:x='1'><b y='i'>3</b></p:a><b><b><c/></b>-1.5</b></a>",
};

/** Documents in memory, of the engine that keeps them so. */
class Documents {
public:
    Documents() {
        const std::string pattern =
            (std::filesystem::temp_directory_path() / "fuzzXXXXXX").string();
        std::string path = pattern;
        path_ = ::mkdtemp(path.data());
        naive::makeLocation(path_ / "location");
        const naive::LocationPtr location = naive::locate(path_ / "location");
        const auto administration = naive::administer(location);
        administration->createDatabase("db");
        administration->addUser("reader", "secret");
        administration->grant("reader", "db");
        const auto load = administration->load("db", {});
        for (const std::string_view document : documents)
            Loader(*load).load(*openText(document), "document", std::string(document.substr(0, 4)));
        load->commit();
        engine_ = naive::openEngine(location);
        database_ = engine_->open("reader", "db");
    }
    ~Documents() { std::filesystem::remove_all(path_); }

    const OpenDatabase &database() const { return *database_; }

private:
    std::filesystem::path path_;
    std::shared_ptr<const Engine> engine_;
    std::unique_ptr<OpenDatabase> database_;
};

std::string answerOf(const xpath::Expression &expression, const OpenDatabase &database,
                     xpath::Limits limits) {
    const xpath::Collection collection(database);
    xpath::Evaluator evaluator(collection, limits);
    const xpath::Value value = evaluator.evaluate(expression);
    if (value.type() != xpath::ValueType::nodeSet) return std::string(value.asTexts().text(0));
    std::string text;
    for (const xpath::Node node : value.nodes().groups()[0])
        text += std::to_string(static_cast<std::uint64_t>(node)) + ' ';
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const Documents documents;
    const std::string text(data, data + size);
    const xpath::Surroundings surroundings{{{"p", "urn:p"}},
                                           {{"s", std::string("2")}, {"n", 2.0}, {"b", true}}};
    try {
        const auto expression = xpath::parse(text, surroundings);
        xpath::textOf(*expression);
        constexpr xpath::Limits few{1, 1, 0};
        if (answerOf(*expression, documents.database(), {}) !=
            answerOf(*expression, documents.database(), few))
            std::abort();
    } catch (const Failure &) {
        // A clear refusal.
    }
    return 0;
}
