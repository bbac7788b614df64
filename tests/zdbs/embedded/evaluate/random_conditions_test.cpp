/**
 * Sequences of conditions at random, on the same nodes by number, by path and with
 * irregular paths: records, hits and hit words must be the same.
 */
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "tests/zdbs/embedded/evaluate/desk.h"
#include "tests/zdbs/support/random_document.h"

namespace zdbs::embedded {
namespace {

using testing::Desk;
using testing::RandomDocument;

/** Conditions over sets 1 … `sets`. The same seed makes the same ones. */
class RandomConditions {
public:
    explicit RandomConditions(unsigned seed) : random_(seed) {}

    std::string make(int sets) {
        sets_ = sets;
        switch (sets > 2 ? below(6) : 0) {
            case 0:
                return fields();
            case 1:
                return set() + link() + fields();
            case 2:
                return set() + link() + set();
            case 3:
                return position();
            default:
                return join();
        }
    }

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

private:
    /** A value ends the command, so it comes last. */
    std::string fields() {
        std::string text = below(4) == 0 ? "" : field();
        while (!text.empty() && below(2) == 0)
            text += link() + field();
        if (!text.empty() && below(2) == 0) return text;
        return text + (text.empty() ? "" : link()) + "N_TVALUE" + value();
    }

    std::string field() {
        switch (below(5)) {
            case 0:
                return "N_TYPE=" + pick<6>({"ELEMENT", "ELEMENT", "ATTRIBUTE", "TEXT", "COMMENT",
                                            "PROCESSING_INSTRUCTION"});
            case 1:
                return "N_NAME=" +
                       pick<7>({"\"a\"", "\"b\"", "\"c\"", "\"x\"", "\"*\"", "\"\"", "\"p\""});
            case 2:
                return "N_PARENT" + number();
            case 3:
                return "N_ID" + number();
            default:
                return "N_NAMESPACE=\"\"";
        }
    }

    std::string number() {
        if (below(6) == 0) return "=$";
        return pick<6>({"=", "<>", "<", ">", "<=", ">="}) +
               pick<8>({"0", "1", "2", "5", "9", "17", "33", "100"});
    }

    std::string value() {
        return pick<12>({"=&1&", "=&v1&", "=&3v&", "=&none&", "=$v$", "=$1$", "=$", "=\"\"",
                         "<>\"1\"", ">\"1\"", "<=\"v1\"", ">=\"2\""});
    }

    std::string link() { return pick<4>({" AND.T ", " AND.T ", " NOT.T ", " OR "}); }

    std::string set() { return "S=" + std::to_string(1 + below(sets_)); }

    std::string operand() { return below(5) == 0 ? "0" : std::to_string(1 + below(sets_)); }

    std::string join() {
        const std::string axis =
            pick<15>({"child", "child", "child", "attribute", "descendant", "ancestor",
                      "ancestor-or-self", "descendant-or-self", "self", "following-sibling",
                      "preceding-sibling", "parent", "following", "preceding", "namespace"});
        return "XPATH(" + axis + "," + operand() + "," + operand() + "," + pick<2>({"1", "2"}) +
               ")";
    }

    std::string position() {
        const std::string number = std::to_string(1 + below(sets_));
        return "XPATH(SELF," + number + "," + number + ",1," +
               pick<6>({"EQ", "NE", "LT", "GT", "LE", "GE"}) + "," +
               pick<6>({"1", "2", "-1", "-2", "1.5", "0"}) + ")";
    }

    template <std::size_t count>
    std::string pick(const std::array<const char *, count> &texts) {
        return texts[static_cast<std::size_t>(below(static_cast<int>(count)))];
    }

    std::mt19937 random_;
    int sets_ = 0;
};

TEST(RandomConditions, FindTheSameHoweverNodesAreKept) {
    constexpr int steps = 14;
    int found = 0;
    for (unsigned seed = 1; seed <= 400; ++seed) {
        RandomConditions conditions(seed);
        RandomDocument documents(seed);
        Desk desk({{"one", documents.make()}, {"two", documents.make()}});
        std::string log;
        for (int sets = 0; sets < steps; ++sets) {
            const std::string condition = conditions.make(sets);
            log += "\n" + condition;
            desk.find({condition});
            // Some sets are looked at before others are made of them, most only afterwards.
            if (conditions.below(4) == 0) desk.ids("S=" + std::to_string(sets + 1));
        }
        for (int set = steps; set > 0; --set)
            found += desk.ids("S=" + std::to_string(set)).empty() ? 0 : 1;
        ASSERT_FALSE(HasFailure()) << "seed " << seed << log;
    }
    EXPECT_GT(found, 400 * steps / 3) << "most conditions find nothing";
}

}  // namespace
}  // namespace zdbs::embedded
