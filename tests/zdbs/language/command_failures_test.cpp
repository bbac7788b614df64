#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/language/command_text.h"

namespace zdbs {
namespace {

using testing::parsed;

struct Fact {
    std::string line;
    std::string failure;
};

void check(const std::vector<Fact> &facts) {
    for (const Fact &fact : facts)
        EXPECT_EQ(parsed(fact.line), fact.failure) << fact.line;
}

TEST(CommandFailures, SayWhatIsNoCommand) {
    check({
        {"", "100: The command is empty."},
        {" \t ", "100: The command is empty."},
        {"FOO", "102: Unknown command FOO at column 1."},
        {"  FINDS S=1", "102: Unknown command FINDS at column 3."},
        {"=", "102: Unknown command = at column 1."},
        {"BASE",
         "104: The command is not well formed at column 5: expected the name of a "
         "database."},
        {"BASE a b", "120: The command goes on after its end at column 8."},
        {"RENUMBER S=1", "120: The command goes on after its end at column 10."},
        {"DEFINE", "104: The command is not well formed at column 7: expected HITS or FIND."},
        {"DEFINE FOO", "104: The command is not well formed at column 8: expected HITS or FIND."},
        {"DEFINE FIND", "104: The command is not well formed at column 12: expected MIN."},
        {"DEFINE FIND MAX=1", "104: The command is not well formed at column 13: expected MIN."},
        {"DEFINE FIND MIN", "104: The command is not well formed at column 16: expected '='."},
        {"DEFINE FIND MIN=-1", "124: The setting MIN cannot have this value: -1."},
        {"DEFINE FIND MIN=x",
         "114: A number that can be used here was expected, not x, at "
         "column 17."},
        {"DEFINE HITS x", "120: The command goes on after its end at column 13."},
    });
}

TEST(CommandFailures, SayWhichSetCannotBe) {
    check({
        {"DELETE", "104: The command is not well formed at column 7: expected S=n."},
        {"DELETE 1", "104: The command is not well formed at column 8: expected S=n."},
        {"DELETE S", "104: The command is not well formed at column 9: expected '='."},
        {"DELETE S=-1", "112: There is no such set: S=-1 at column 8."},
        {"DELETE S=1,", "104: The command is not well formed at column 12: expected S=n."},
        {"DELETE S=1 S=2", "120: The command goes on after its end at column 12."},
        {"FIND S=-4", "112: There is no such set: S=-4 at column 6."},
        {"FIND S=x", "114: A number that can be used here was expected, not x, at column 8."},
        {"FIND S=", "114: A number that can be used here was expected at column 8."},
        {"FIND S=99999999999",
         "114: A number that can be used here was expected, not "
         "99999999999, at column 8."},
        {"FIND S=1.5", "114: A number that can be used here was expected, not 1.5, at column 8."},
        {"FIND S 1", "104: The command is not well formed at column 8: expected '='."},
    });
}

TEST(CommandFailures, SayWhereAConditionIsNotWellFormed) {
    check({
        {"FIND", "104: The command is not well formed at column 5: expected a term."},
        {"FIND )", "104: The command is not well formed at column 6: expected a term."},
        {"FIND (S=1", "104: The command is not well formed at column 10: expected ')'."},
        {"FIND S=1)", "120: The command goes on after its end at column 9."},
        {"FIND S=1 AND", "104: The command is not well formed at column 13: expected a term."},
        {"FIND S=1 OR", "104: The command is not well formed at column 12: expected a term."},
        {"FIND S=1 S=2", "120: The command goes on after its end at column 10."},
        {"FIND ()", "104: The command is not well formed at column 7: expected a term."},
        {"FIND AND S=1", "106: Unknown field AND at column 6."},
        {"FIND N_FOO=1", "106: Unknown field N_FOO at column 6."},
        {"FIND S=1 AND  N_FOO", "106: Unknown field N_FOO at column 15."},
        {"FIND \xC3\xA4\xC3\xB6=1", "106: Unknown field \xC3\xA4\xC3\xB6 at column 6."},
        {"FIND N_NAME=\"\xC3\xA4\xC3\xB6\" AND N_FOO=1", "106: Unknown field N_FOO at column 22."},
        {"FIND N_NAME", "104: The command is not well formed at column 12: expected a relation."},
        {"FIND N_NAME=", "104: The command is not well formed at column 13: expected a value."},
        {"FIND N_NAME=)", "104: The command is not well formed at column 13: expected a value."},
        {"FIND N_NAME!=\"a\"",
         "104: The command is not well formed at column 12: expected a "
         "relation."},
    });
}

TEST(CommandFailures, SayWhatIsWrongWithAText) {
    check({
        {"FIND N_NAME=\"a",
         "116: The text that begins at column 13 with the delimiter \" does "
         "not end; a text compared with N_TVALUE ends the command."},
        {"FIND N_NAME=$a",
         "116: The text that begins at column 13 with the delimiter $ does not "
         "end; a text compared with N_TVALUE ends the command."},
        {"FIND N_TVALUE=\"a\" AND.T N_TYPE=TEXT",
         "116: The text that begins at column 15 with the delimiter \" does not end; a text "
         "compared with N_TVALUE ends the command."},
        {"FIND N_TVALUE=&",
         "116: The text that begins at column 15 with the delimiter & does not "
         "end; a text compared with N_TVALUE ends the command."},
        {"FIND N_TVALUE<>$a$",
         "118: The relation <>$ at column 14 cannot be used with the field "
         "N_TVALUE."},
        {"FIND N_ID=$5$",
         "118: The relation =$...$ at column 10 cannot be used with the field "
         "N_ID."},
        {"FIND N_ID=abc",
         "114: A number that can be used here was expected, not abc, at column "
         "11."},
        {"FIND N_PARENT=\"\"", "114: A number that can be used here was expected at column 15."},
        {"FIND N_NAME=\"a\"b\"", "120: The command goes on after its end at column 16."},
    });
}

TEST(CommandFailures, SayWhatIsWrongWithAStructuralTerm) {
    check({
        {"FIND XPATH", "104: The command is not well formed at column 11: expected '('."},
        {"FIND XPATH(up,1,2,1)", "108: Unknown axis up at column 12."},
        {"FIND XPATH(,1,2,1)", "108: Unknown axis at column 12."},
        {"FIND XPATH(child)", "104: The command is not well formed at column 17: expected ','."},
        {"FIND XPATH(child,-1,2,1)", "112: There is no such set: S=-1 at column 18."},
        {"FIND XPATH(child,1,-2,1)", "112: There is no such set: S=-2 at column 20."},
        {"FIND XPATH(child,x,2,1)",
         "114: A number that can be used here was expected, not x, at "
         "column 18."},
        {"FIND XPATH(child,1,2,3)",
         "104: The command is not well formed at column 22: expected "
         "direction 1 or 2."},
        {"FIND XPATH(child,1,2,)",
         "104: The command is not well formed at column 22: expected "
         "direction 1 or 2."},
        {"FIND XPATH(child,1,2,1",
         "104: The command is not well formed at column 23: expected "
         "')'."},
        {"FIND XPATH(child,1,2,1,EQ,1)",
         "104: The command is not well formed at column 23: "
         "expected ')'."},
        {"FIND XPATH(SELF,1,2,1,EQ,1)",
         "128: A position is counted in one set, but two are "
         "given: 1 and 2 at column 17."},
        {"FIND XPATH(SELF,1,1,2,EQ,1)",
         "104: The command is not well formed at column 21: "
         "expected direction 1."},
        {"FIND XPATH(SELF,1,1,1,IS,1)",
         "110: Unknown comparison IS at column 23; EQ, NE, LT, "
         "LE, GT and GE are known."},
        {"FIND XPATH(SELF,1,1,1,EQ,abc)",
         "114: A number that can be used here was expected, not "
         "abc, at column 26."},
        {"FIND XPATH(SELF,1,1,1,EQ,1e3)",
         "114: A number that can be used here was expected, not "
         "1e3, at column 26."},
        {"FIND XPATH(SELF,1,1,1,EQ,(1)",
         "104: The command is not well formed at column 29: "
         "expected ')'."},
    });
}

TEST(CommandFailures, SayWhereAPositionIsNotByItself) {
    const std::string message =
        "130: A position is a condition by itself and cannot be a part of one at column ";
    check({
        {"FIND XPATH(SELF,1,1,1,EQ,2) OR (S=0)", message + "6."},
        {"FIND XPATH(SELF,1,1,1,EQ,2) OR S=0", message + "6."},
        {"FIND XPATH(SELF,1,1,1,EQ,2) AND.T S=1", message + "6."},
        {"FIND S=12 AND (XPATH(SELF,1,1,1,EQ,2))", message + "16."},
        {"FIND N_ID=$ NOT.T XPATH(SELF,1,1,1,EQ,2)", message + "19."},
        {"FIND (XPATH(SELF,1,1,1,EQ,2)) OR (S=0)", message + "7."},
        {"FIND XPATH(SELF,1,1,1,EQ,2) OR XPATH(SELF,1,1,1,NE,2)", message + "32."},
        {"FIND XPATH(SELF,1,1,1,EQ,2) OR (N_TVALUE=&)&)", message + "6."},
        {"FIND XPATH(SELF,1,1,1,EQ,2))", "120: The command goes on after its end at column 28."},
        {"FIND XPATH(SELF,1,1,1,EQ,2)) OR (S=0)",
         "120: The command goes on after its end at column 28."},
    });
}

TEST(CommandFailures, CutLongWords) {
    std::string name(500, 'x');
    EXPECT_EQ(parsed("FIND " + name + "=1"),
              "106: Unknown field " + name.substr(0, 60) + "... at column 6.");
}

}  // namespace
}  // namespace zdbs
