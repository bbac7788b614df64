/** The documents are there, and have between them what XML has. */
#include "tests/answers/real_documents.h"

#include <gtest/gtest.h>
#include <regex.h>

#include <stdexcept>

namespace answers {
namespace {

struct Feature {
    const char *what;
    bool (*isIn)(const std::string &text);
};

/** Whether an extended regular expression matches somewhere near the front. */
bool has(const std::string &text, const char *pattern) {
    regex_t expression;
    if (regcomp(&expression, pattern, REG_EXTENDED | REG_NOSUB) != 0)
        throw std::runtime_error(pattern);
    const bool isFound = regexec(&expression, text.substr(0, 200000).c_str(), 0, nullptr, 0) == 0;
    regfree(&expression);
    return isFound;
}

constexpr Feature features[] = {
    {"namespaces", [](const std::string &text) { return has(text, "<[a-z]+:[a-z]+"); }},
    {"a default namespace", [](const std::string &text) { return has(text, " xmlns=['\"]"); }},
    {"comments", [](const std::string &text) { return has(text, "<!--"); }},
    {"instructions", [](const std::string &text) { return has(text, "<\\?mso"); }},
    {"CDATA", [](const std::string &text) { return has(text, "<!\\[CDATA\\["); }},
    {"mixed content",
     [](const std::string &text) { return has(text, "[a-z] <[a-z]+>[a-z]+</[a-z]+> [a-z]"); }},
    {"an internal subset", [](const std::string &text) { return has(text, "<!DOCTYPE [^>]*\\["); }},
    {"an external one",
     [](const std::string &text) { return has(text, "<!DOCTYPE [^>]* SYSTEM "); }},
    {"entities", [](const std::string &text) { return has(text, "<!ENTITY [a-z]"); }},
    {"characters by number", [](const std::string &text) { return has(text, "&#[x0-9]"); }},
    {"text beyond ASCII",
     [](const std::string &text) { return has(text, "[\xc3-\xef][\x80-\xbf]"); }},
    {"ISO-8859-1", [](const std::string &text) { return has(text, "encoding=.iso-8859-1"); }},
    {"UTF-16", [](const std::string &text) { return text.starts_with("\xfe\xff"); }},
    {"a mark of UTF-8", [](const std::string &text) { return text.starts_with("\xef\xbb\xbf"); }},
    {"lines that end in two characters",
     [](const std::string &text) { return text.find(std::string("\r\0\n", 3)) != text.npos; }},
    {"less than a kilobyte", [](const std::string &text) { return text.size() < 1000; }},
    {"20 megabytes", [](const std::string &text) { return text.size() > 19900000; }},
};

TEST(RealDocuments, HaveBetweenThemWhatXmlHas) {
    std::vector<std::string> missing;
    for (const Feature &feature : features)
        missing.emplace_back(feature.what);
    for (const Sample &sample : realDocuments()) {
        const std::string text = textOf(sample);
        EXPECT_GT(text.size(), 200U) << sample.file;
        for (const Feature &feature : features) {
            if (feature.isIn(text)) std::erase(missing, feature.what);
        }
    }
    EXPECT_TRUE(missing.empty()) << ::testing::PrintToString(missing);
    EXPECT_GE(realDocuments().size(), 15U);
}

}  // namespace
}  // namespace answers
