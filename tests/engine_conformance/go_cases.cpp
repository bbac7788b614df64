#include "tests/engine_conformance/go_cases.h"

#include <algorithm>
#include <optional>
#include <regex>

#include "tests/support/temporary_directory.h"

namespace zdbs::conformance {
namespace {

using Texts = std::vector<std::string>;

/** A literal of the language: one text, or those between braces. */
const std::string literal =
    R"((?:`[^`]*`|"(?:[^"\\]|\\.)*"|(?:\[\]|map\[string\])string\{[^}]*\}))";
const std::string argument = "(" + literal + R"(|\w+))";

std::string unquoted(const std::string &text) {
    std::string inner = text.substr(1, text.size() - 2);
    if (text.front() == '`') return inner;
    for (std::size_t at = 0; (at = inner.find('\\', at)) != std::string::npos; ++at)
        inner.erase(at, 1);
    return inner;
}

Texts textsIn(const std::string &value) {
    static const std::regex one(R"(`[^`]*`|"(?:[^"\\]|\\.)*")");
    Texts texts;
    for (std::sregex_iterator next(value.begin(), value.end(), one); next != std::sregex_iterator();
         ++next)
        texts.push_back(unquoted(next->str()));
    return texts;
}

/** What an expected node has as its string-value: it is written as markup. */
std::string stringValueOf(const std::string &markup) {
    static const std::regex attribute("^<\\?attribute \\S+=\"([^\"]*)\".*\\?>$");
    static const std::regex comment("^<!--([^]*)-->$");
    static const std::regex instruction("^<\\?\\S+\\s*([^]*)\\?>$");
    for (const std::regex &form : {attribute, comment, instruction}) {
        std::smatch match;
        if (std::regex_match(markup, match, form)) return match[1];
    }
    return std::regex_replace(markup, std::regex("<[^>]*>"), "");
}

/** Reads a file from its beginning to its end. */
class Reader {
public:
    std::vector<GoCase> read(const std::string &source) {
        const std::regex part("func Test|(\\w+)\\s*:?=\\s*(" + literal + ")|exec(Path|Val)\\(" +
                              argument + ", " + argument + ", " + argument + ", " + argument +
                              ", t\\)");
        for (std::sregex_iterator next(source.begin(), source.end(), part);
             next != std::sregex_iterator(); ++next) {
            const std::smatch &match = *next;
            if (match[1].matched)
                variables_[match[1]] = textsIn(match[2]);
            else if (match[3].matched)
                call(match);
            else
                variables_.clear();
        }
        return std::move(cases_);
    }

private:
    void call(const std::smatch &match) {
        const auto expression = valueOf(match[4]);
        const auto document = valueOf(match[5]);
        const auto expected = valueOf(match[6]);
        const auto namespaces = valueOf(match[7]);
        if (!expression || !document || !expected || !namespaces) return;
        GoCase made{expression->at(0), document->at(0), {}, match[3] == "Path", *expected};
        for (std::size_t i = 0; i + 1 < namespaces->size(); i += 2)
            made.namespaces[(*namespaces)[i]] = (*namespaces)[i + 1];
        if (made.selects) {
            std::transform(made.expected.begin(), made.expected.end(), made.expected.begin(),
                           stringValueOf);
            std::sort(made.expected.begin(), made.expected.end());
        }
        cases_.push_back(std::move(made));
    }

    std::optional<Texts> valueOf(const std::string &word) const {
        if (word == "nil") return Texts();
        if (word.find_first_of("`\"{") != std::string::npos) return textsIn(word);
        const auto found = variables_.find(word);
        return found != variables_.end() ? std::optional(found->second) : std::nullopt;
    }

    std::map<std::string, Texts> variables_;
    std::vector<GoCase> cases_;
};

}  // namespace

std::vector<GoCase> goCasesOf(const std::string &file) {
    return Reader().read(support::readFile(file));
}

}  // namespace zdbs::conformance
