/** Keywords are the same in every locale, also where the lower case of I is another letter. */
#include <algorithm>
#include <cctype>
#include <string>
#include <tuple>
#include <vector>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/test_locale.h"

namespace {

using support::ProgramResult;

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; });
    return text;
}

/** Every axis, node type, function and operator of requests. */
std::vector<std::string> requests(std::string (*inCase)(std::string)) {
    std::vector<std::string> all;
    for (const char *axis : {"child", "parent", "ancestor", "ancestor-or-self", "attribute",
                             "descendant", "descendant-or-self", "following", "following-sibling",
                             "namespace", "preceding", "preceding-sibling", "self"}) {
        all.push_back("//p/" + inCase(axis) + "::n");
    }
    for (const char *type : {"node", "comment", "text", "processing-instruction"})
        all.push_back("//p/" + inCase(type) + "()");
    all.push_back("//p[" + inCase("position") + "()=" + inCase("last") + "()]");
    all.push_back("//p[" + inCase("contains") + "(n/text(),'i')]");
    for (const char *word : {"or", "and", "div", "mod"})
        all.push_back("//p[note " + inCase(word) + " name]");
    return all;
}

std::string asTyped(std::string text) {
    return text;
}

class KeywordLocale : public VexaTest,
                      public ::testing::WithParamInterface<std::tuple<const char *, const char *>> {
protected:
    void useLocale() { environment_ = locale_; }
    /** What the kernel was asked and what was printed for these statements. */
    std::tuple<std::string, std::string, std::vector<std::string>> answers(
        const std::string &statements) const {
        std::filesystem::remove(directory_ / "kernel.log");
        const ProgramResult result = runStatements(statements);
        EXPECT_EQ(result.ending, support::exited(0));
        return {result.out, result.err, kernelCalls()};
    }

    const std::map<std::string, std::string> locale_ =
        support::makeLocale(directory_, std::get<0>(GetParam()), std::get<1>(GetParam()));
};

TEST_P(KeywordLocale, leavesRequestsWhatTheyAre) {
    std::string statements;
    for (const auto inCase : {asTyped, upper}) {
        for (const std::string &request : requests(inCase))
            statements += "EXECUTE;\nXFIND " + request + ";\nNOEXECUTE;\nXFIND " + request + ";\n";
    }
    const auto expected = answers(statements);
    EXPECT_NE(std::get<1>(expected).find("DIV"), std::string::npos);
    useLocale();
    EXPECT_EQ(answers(statements), expected);
}

TEST_P(KeywordLocale, leavesCommandsWhatTheyAre) {
    const std::string script = directory_.write("i.txt", "highlight;\nHIGHLIGHT\ngo\n");
    std::string statements;
    for (const auto inCase : {asTyped, upper}) {
        for (const char *command : {"help", "execute", "noexecute", "highlight", "nohighlight"})
            statements += inCase(command) + ";\n";
        statements += inCase("base") + " i;\n" + inCase("execute") + "\n" + inCase("go") + "\n" +
                      inCase("xfind") + " //a;\n" + inCase("xget") + " //a /;\n" + inCase("input") +
                      " " + script + ";\n";
    }
    for (const char *end : {"bye", "stop", "BYE", "STOP"}) {
        const std::string all = statements + end + ";\nnonsense;\n";
        environment_.clear();
        const auto expected = answers(all);
        EXPECT_EQ(std::get<0>(expected).find("Invalid"), std::string::npos);
        useLocale();
        EXPECT_EQ(answers(all), expected);
    }
}

TEST_P(KeywordLocale, leavesNamesOfOptionsWhatTheyAre) {
    useLocale();
    const std::string script = directory_.write("i.txt", "HIGHLIGHT;\n");
    const std::string log = directory_ / "i.log";
    expectResult(run({"--HELP"}), banner + usageText, "");
    expectResult(
        run({"-U", "ann", "-P", "x", "-H", "i", "-Q", "-E", "-L", "1", "-F", log, "-I", script}),
        banner + "in[001]> HIGHLIGHT\nXGET fragment highlighting enabled.\n", "");
    EXPECT_TRUE(std::filesystem::exists(log));
}

INSTANTIATE_TEST_SUITE_P(Dotless, KeywordLocale,
                         ::testing::Values(std::tuple("tr_TR", "UTF-8"),
                                           std::tuple("tr_TR", "ISO-8859-9"),
                                           std::tuple("az_AZ", "UTF-8")));

}  // namespace
