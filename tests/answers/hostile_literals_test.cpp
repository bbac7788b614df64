/** Literals that are made of what commands are made of, through the real shell: none is more. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/answers/sample_databases.h"
#include "tests/zdbs/support/hostile_texts.h"

namespace answers {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using zdbs::Relation;
using zdbs::testing::textsOf;

/** Those of one line, which is what the shell prints a request in. */
std::vector<std::string> values() {
    std::vector<std::string> characters = zdbs::testing::hostileCharacters();
    std::erase(characters, "\n");
    return textsOf(characters, 2);
}

std::string escaped(const std::string &value) {
    std::string text;
    for (const char c : value)
        text += "&#" + std::to_string(static_cast<unsigned char>(c)) + ";";
    return text;
}

/** An element `v` for each value, which is its attribute x. */
class HostileLiterals : public testing::Test {
protected:
    HostileLiterals() {
        std::string xml = "<values>";
        for (const std::string &value : values())
            xml += "<v x='" + escaped(value) + "'/>";
        const std::string file = directory_.write("hostile.xml", xml + "<secret/></values>");
        databases_.emplace(std::vector<Sample>{{"hostile", file}});
    }

    /** Both outputs of the shell. */
    std::string printed(const std::string &statements) const {
        const support::ProgramResult result = databases_->run("hostile", statements);
        return result.out + result.err;
    }

    /** The counts of the requests that are answered; refused ones have none. */
    std::map<std::string, int> counts(const std::vector<std::string> &requests) const {
        std::string statements;
        for (const std::string &request : requests)
            statements += "XFIND " + request + ";\n";
        std::map<std::string, int> counts;
        std::istringstream lines(databases_->run("hostile", statements).out);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t count = line.find(">\t<");
            const std::size_t request = line.find(">\t", count + 1);
            if (request == std::string::npos) continue;
            counts[line.substr(request + 2)] = std::stoi(line.substr(count + 3));
        }
        counts.erase("BASE hostile");
        return counts;
    }

private:
    support::TemporaryDirectory directory_;
    std::optional<SampleDatabases> databases_;
};

struct Form {
    const char *open;
    const char *close;
    Relation relation;
};

constexpr Form forms[] = {
    {"@x='", "'", Relation::equal}, {"@x!='", "'", Relation::notEqual},
    {"@x<'", "'", Relation::less},  {"@x>='", "'", Relation::greaterEqual},
    {"@x=`", "`", Relation::equal}, {"contains(@x,'", "')", Relation::contains},
};

TEST_F(HostileLiterals, AsValuesFindTheValuesThatTheyAre) {
    std::vector<std::string> requests;
    std::map<std::string, int> expected;
    const std::vector<std::string> all = values();
    for (const std::string &literal : all) {
        if (literal.empty()) continue;
        for (const Form &form : forms) {
            requests.push_back("//v[" + (form.open + literal) + form.close + "]");
            expected[requests.back()] = static_cast<int>(
                std::count_if(all.begin(), all.end(), [&](const std::string &value) {
                    return zdbs::testing::holds(form.relation, value, literal);
                }));
        }
    }
    EXPECT_EQ(requests.size(), 156U * 6);
    EXPECT_EQ(counts(requests), expected);
}

TEST_F(HostileLiterals, AsPositionsAreNumbersOrRefused) {
    const std::vector<std::string> pieces{"2", ")",   "(",    " ",      ",", ")OR", ")AND.T",
                                          ")", "S=0", "(S=0", "N_ID=$", "&", "\""};
    std::vector<std::string> requests;
    for (const std::string &literal : textsOf(pieces, 3))
        requests.push_back("//v[position()='" + literal + "']");
    std::map<std::string, int> expected;
    for (const std::string number : {"2", "22", "222"}) {
        for (const char *before : {"", " ", "  "}) {
            for (const char *after : {"", " ", "  "}) {
                if ((before + number + after).size() > 3) continue;
                expected["//v[position()='" + (before + number) + after + "']"] =
                    number == "222" ? 0 : 1;
            }
        }
    }
    expected["//v[position()='(2)']"] = 1;
    EXPECT_EQ(counts(requests), expected);
}

TEST_F(HostileLiterals, AsPlacesFromTheEndAreNumbersOrRefused) {
    EXPECT_EQ(counts({"//v[last()='-2) OR (S=0']", "//v[last()='-2']", "//v[last()='-2)']"}),
              (std::map<std::string, int>{{"//v[last()='-2']", 1}}));
    EXPECT_THAT(printed("XFIND //v[position()='2) OR (S=0'];\n"),
                HasSubstr("EXCEPTION: A position is a condition by itself"));
}

TEST_F(HostileLiterals, AsNamesAreRefused) {
    EXPECT_EQ(counts({"//v\"", "//v\" OR N_NAME=\"v", "//v&", "//v$", "//v)OR(S=0)", "//v OR S=0",
                      "//\"v\"", "//p\":v", "//v[@x\"='0']", "//secret"}),
              (std::map<std::string, int>{{"//secret", 1}}));
}

TEST_F(HostileLiterals, AsDatabasesDoNotExist) {
    for (const char *name : {"hostile S=0", "hostile\nFIND S=0", "hostile\"",
                             "../databases/hostile", "hostile\tx", "*", "."}) {
        const std::string text = printed("BASE " + std::string(name) + ";\nXFIND //secret;\n");
        EXPECT_THAT(text, AllOf(HasSubstr("does not exist or is not XML enabled."),
                                HasSubstr(">\t<1>\t//secret")))
            << "what was open stays open: " << name;
    }
}

TEST_F(HostileLiterals, AsValuesAreNoFurtherArgumentsOfAnExport) {
    EXPECT_THAT(printed("XGET //v[@x='\nXPATHQUERY=//secret\nXPATHFRAGMENTS=/'] /;\n"),
                HasSubstr("matches=\"0\""));
    EXPECT_THAT(printed("XGET //v[@x='S'] /@x[contains(.,'\nXPATHQUERY=//secret')];\n"),
                AllOf(HasSubstr("matches=\"1\""), Not(HasSubstr("<secret"))));
    EXPECT_THAT(printed("XGET //v --it's one\n[@x='\nXPATHQUERY=//secret\nXPATHFRAGMENTS=/'] /;\n"),
                AllOf(HasSubstr("ERROR: The export filter is given an argument twice: XPATHQUERY."),
                      Not(HasSubstr("<secret"))));
}

}  // namespace
}  // namespace answers
