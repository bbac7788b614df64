#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/language/command_parser.h"

namespace zdbs {
namespace {

/** Literals that try to end their value early, or to be more than one. */
const std::vector<std::string> &hostileLiterals() {
    static const std::vector<std::string> literals{
        "&",
        "$",
        "\"",
        "&&",
        "$$",
        "\"\"",
        "&)",
        "$ )",
        "\" ) ",
        "& AND.T S=1",
        "$ AND.T N_ID=$",
        "\" AND.T N_NAME=\"x\"",
        "a& OR N_TVALUE=&b",
        "a$ OR N_TVALUE=$b",
        "a\" OR N_TVALUE=\"b",
        "& OR N_ID=$",
        "$) OR (N_ID=$",
        "\") OR (N_ID=\"1",
        ") OR (N_ID=$",
        "))))",
        "((((",
        " ",
        "   ",
        " leading and trailing ",
        "FIND S=1",
        "XPATH(child,0,0,1)",
        "\n",
        "a\nb\t",
        "'",
        "\\",
        "\\&",
        "\\\"",
        "%s%n",
        "\xC3\xA4\xE2\x82\xAC",
        "\xFF\xFE",
        "=",
        "=&x&",
        "<>",
        ">\"",
        "$&\"",
        "\"&$) ",
        "5",
        "-5.0",
        "AND.T",
        "OR",
    };
    return literals;
}

/** The last term of a command, seen through the parentheses around it. */
const Term &lastTerm(const Condition &condition) {
    const Term &term = condition.conjuncts.back().back().term;
    const auto *nested = std::get_if<std::unique_ptr<Condition>>(&term);
    return nested != nullptr ? lastTerm(**nested) : term;
}

struct Delimiters {
    std::string open;
    std::string close;
    Relation relation;
};

const std::vector<Delimiters> &delimiters() {
    static const std::vector<Delimiters> all{
        {"=&", "&", Relation::equal},           {"=$", "$", Relation::contains},
        {"<>\"", "\"", Relation::notEqual},     {"<\"", "\"", Relation::less},
        {">\"", "\"", Relation::greater},       {"<=\"", "\"", Relation::lessEqual},
        {">=\"", "\"", Relation::greaterEqual}, {"=\"", "\"", Relation::equal},
    };
    return all;
}

/** Checks that a command which ends with the value has `literal` as its last value, whole. */
void checkLast(const std::string &line, const std::string &literal, Relation relation) {
    Command command = parseCommand(line);
    const auto &term = std::get<FieldTerm>(lastTerm(std::get<FindCommand>(command).condition));
    EXPECT_EQ(term.field, Field::value) << line;
    EXPECT_EQ(term.text, literal) << line;
    EXPECT_EQ(term.relation, relation) << line;
}

TEST(HostileLiterals, AreOneValueAndEndWhereTheCommandEnds) {
    for (const std::string &literal : hostileLiterals()) {
        for (const Delimiters &mark : delimiters()) {
            std::string value = "N_TVALUE" + mark.open + literal + mark.close;
            checkLast("FIND N_TYPE=TEXT AND.T " + value, literal, mark.relation);
            checkLast("FIND " + value + "  ", literal, mark.relation);
        }
    }
}

TEST(HostileLiterals, AreOneValueInsideParentheses) {
    for (const std::string &literal : hostileLiterals()) {
        for (const Delimiters &mark : delimiters()) {
            std::string value = "N_TVALUE" + mark.open + literal + mark.close;
            checkLast("FIND S=12 AND (N_TYPE=TEXT AND.T " + value + ")", literal, mark.relation);
            checkLast("FIND ((N_TYPE=TEXT AND.T " + value + " ) )", literal, mark.relation);
        }
    }
}

TEST(HostileLiterals, LeaveTheTermsBeforeThemAlone) {
    for (const std::string &literal : hostileLiterals()) {
        Command command = parseCommand(
            "FIND N_TYPE=ATTRIBUTE AND.T N_NAME=\"id\" AND.T N_TVALUE=&" + literal + "&");
        const Condition &condition = std::get<FindCommand>(command).condition;
        ASSERT_EQ(condition.conjuncts.size(), 1U) << literal;
        ASSERT_EQ(condition.conjuncts[0].size(), 3U) << literal;
        EXPECT_EQ(std::get<FieldTerm>(condition.conjuncts[0][0].term).text, "ATTRIBUTE");
        EXPECT_EQ(std::get<FieldTerm>(condition.conjuncts[0][1].term).text, "id");
    }
}

/** A literal of every one, two and three characters that could matter. */
TEST(HostileLiterals, AreTakenWholeWhateverTheyAreMadeOf) {
    const std::string characters = "&$\"() =<>Sa,\n";
    std::vector<std::string> literals{""};
    for (std::size_t done = 0, round = 0; round < 3; ++round) {
        std::size_t end = literals.size();
        for (; done < end; ++done) {
            for (char c : characters)
                literals.push_back(literals[done] + c);
        }
    }
    ASSERT_EQ(literals.size(), 1U + 13 + 169 + 2197);
    for (const std::string &literal : literals) {
        checkLast("FIND (N_TVALUE=&" + literal + "&)", literal, Relation::equal);
        checkLast("FIND N_TVALUE=$" + literal + "$", literal, Relation::contains);
        if (literal.empty()) continue;
        checkLast("FIND N_TVALUE=\"" + literal + "\" ", literal, Relation::equal);
    }
}

/** The number that a literal is, maybe in brackets; the long way round. */
std::optional<double> placeIn(std::string text) {
    const auto trim = [&text] {
        text.erase(0, text.find_first_not_of(" \n"));
        text.erase(text.find_last_not_of(" \n") + 1);
    };
    for (trim(); text.size() > 1 && text.front() == '(' && text.back() == ')'; trim())
        text = text.substr(1, text.size() - 2);
    const std::string digits = text.substr(text.starts_with('-') ? 1 : 0);
    const bool isNumber = digits.find_first_not_of("0123456789.") == std::string::npos &&
                          digits.find_first_of("0123456789") != std::string::npos &&
                          std::count(digits.begin(), digits.end(), '.') < 2;
    if (!isNumber) return std::nullopt;
    return std::stod(text);
}

/** The place that a position is compared with; nothing where the command is refused. */
std::optional<double> placeTaken(const std::string &literal) {
    try {
        const Command command = parseCommand("FIND XPATH(SELF,7,7,1,EQ," + literal + ")");
        const Condition &condition = std::get<FindCommand>(command).condition;
        const Conjunct &conjunct = condition.conjuncts.front();
        EXPECT_EQ(condition.conjuncts.size(), 1U) << literal;
        EXPECT_EQ(conjunct.size(), 1U) << literal;
        const auto &position = std::get<PositionTerm>(conjunct.front().term);
        EXPECT_EQ(position.set.number, 7) << literal;
        return position.place;
    } catch (const Failure &) {
        return std::nullopt;
    }
}

/** Every four pieces that a place could be made of to bring other terms with it. */
TEST(HostileLiterals, AsAPlaceAreOneNumberOrRefused) {
    const std::vector<std::string> pieces{"2",
                                          ")",
                                          "(",
                                          " ",
                                          ",",
                                          "-",
                                          "\n",
                                          ".5",
                                          ")OR",
                                          ")NOT ",
                                          ") AND",
                                          "S=0",
                                          "(S=0",
                                          "&",
                                          "\"",
                                          "N_ID=$",
                                          "XPATH(SELF,7,7,1,EQ,1"};
    std::vector<std::string> literals{""};
    for (std::size_t done = 0, round = 0; round < 4; ++round) {
        const std::size_t end = literals.size();
        for (; done < end; ++done) {
            for (const std::string &piece : pieces)
                literals.push_back(literals[done] + piece);
        }
    }
    ASSERT_EQ(literals.size(), 1U + 17 + 289 + 4913 + 83521);
    std::size_t taken = 0;
    for (const std::string &literal : literals) {
        const std::optional<double> place = placeTaken(literal);
        ASSERT_EQ(place, placeIn(literal)) << literal;
        taken += place ? 1 : 0;
    }
    EXPECT_GT(taken, 100U);
}

}  // namespace
}  // namespace zdbs
