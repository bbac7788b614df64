#include <gtest/gtest.h>

#include "zdbs/base/status.h"
#include "zdbs/export/export_filter.h"

namespace zdbs {
namespace {

struct ArgumentFact {
    std::string text;
    std::string query;
    std::string fragments;
};

TEST(ExportArguments, AreTakenFromTheKeyValueLines) {
    const ArgumentFact facts[] = {
        {"XPATHQUERY=//a\nXPATHFRAGMENTS=/b\n", "//a", "/b"},
        {"XPATHQUERY=//a\nXPATHFRAGMENTS=/b", "//a", "/b"},
        {"XPATHFRAGMENTS=/b /c\nXPATHQUERY=//a\n", "//a", "/b /c"},
        {"XPATHQUERY=  //a  \nXPATHFRAGMENTS= /b \n", "//a", "/b"},
        {"XPATHQUERY=//a\r\nXPATHFRAGMENTS=/b\r\n", "//a", "/b"},
        {"XPATHQUERY=//a[b='x=y']\nXPATHFRAGMENTS=/b[c='=']\n", "//a[b='x=y']", "/b[c='=']"},
        // A request typed over several lines.
        {"XPATHQUERY=//a\n[b]\n\nXPATHFRAGMENTS=/b\n/c\n", "//a\n[b]", "/b\n/c"},
        // A literal that looks like the other key.
        {"XPATHQUERY=//a[b='\nXPATHFRAGMENTS=/x']\nXPATHFRAGMENTS=/y\n",
         "//a[b='\nXPATHFRAGMENTS=/x']", "/y"},
        {"XPATHQUERY=//a\nXPATHFRAGMENTS=/y[z='\nXPATHQUERY=//q']\n", "//a",
         "/y[z='\nXPATHQUERY=//q']"},
        {"XPATHQUERY=//a[b='XPATHFRAGMENTS=']\nXPATHFRAGMENTS=/y\n", "//a[b='XPATHFRAGMENTS=']",
         "/y"},
        // Stray quotes: the parser will complain, but the keys are still found.
        {"XPATHQUERY=//a[b='x]\nXPATHFRAGMENTS=/y[z='w]\n", "//a[b='x]", "/y[z='w]"},
        {"XPATHQUERY=//a'\nXPATHFRAGMENTS=/y\n", "//a'", "/y"},
        // Lines before the first key and keys of others are no arguments.
        {"OTHER=1\nXPATHQUERY=//a\nXPATHFRAGMENTS=/b\n", "//a", "/b"},
        {"XPATHQUERYX=1\nXPATHQUERY=//a\nXPATHFRAGMENTS=/b\n", "//a", "/b"},
    };
    for (const ArgumentFact &fact : facts) {
        const ExportArguments arguments = parseExportArguments(fact.text);
        EXPECT_EQ(arguments.query, fact.query) << fact.text;
        EXPECT_EQ(arguments.fragments, fact.fragments) << fact.text;
    }
}

struct KeyFact {
    const char *text;
    const char *key;
};

/** The message of a failure with that status; "" without. */
std::string failureOf(const char *text, Status status) {
    try {
        parseExportArguments(text);
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), status) << text;
        return failure.what();
    }
    return {};
}

TEST(ExportArguments, AMissingOrEmptyOneIsNamed) {
    constexpr KeyFact facts[] = {
        {"", "XPATHQUERY"},
        {"XPATHQUERY=//a\n", "XPATHFRAGMENTS"},
        {"XPATHFRAGMENTS=/a\n", "XPATHQUERY"},
        {"XPATHQUERY=\nXPATHFRAGMENTS=/a\n", "XPATHQUERY"},
        {"XPATHQUERY=//a\nXPATHFRAGMENTS=  \n", "XPATHFRAGMENTS"},
        {"xpathquery=//a\nxpathfragments=/a\n", "XPATHQUERY"},
        {" XPATHQUERY=//a\nXPATHFRAGMENTS=/a\n", "XPATHQUERY"},
    };
    for (const KeyFact &fact : facts) {
        const std::string message = failureOf(fact.text, Status::missingArgument);
        EXPECT_NE(message.find(fact.key), std::string::npos) << fact.text;
    }
}

/** A literal that looks like further arguments, made to stand outside of quotes by a comment. */
TEST(ExportArguments, OneThatIsGivenTwiceIsRefused) {
    constexpr KeyFact facts[] = {
        {"XPATHQUERY=//a\nXPATHQUERY=//c\nXPATHFRAGMENTS=/b\n", "XPATHQUERY"},
        {"XPATHQUERY=//a\nXPATHFRAGMENTS=/b\nXPATHFRAGMENTS=/b\n", "XPATHFRAGMENTS"},
        {"XPATHQUERY=//a --it's one\n[@id='x\nXPATHQUERY=//c\nXPATHFRAGMENTS=/']\n"
         "XPATHFRAGMENTS=/b\n",
         "XPATHQUERY"},
        {"XPATHQUERY=//a --it's one\n[1]\nXPATHFRAGMENTS=/b[@c=\"x\nXPATHFRAGMENTS=//d \"]"
         "[@e='f']\n",
         "XPATHFRAGMENTS"},
    };
    for (const KeyFact &fact : facts) {
        const std::string message = failureOf(fact.text, Status::repeatedArgument);
        EXPECT_NE(message.find(fact.key), std::string::npos) << fact.text;
    }
}

}  // namespace
}  // namespace zdbs
