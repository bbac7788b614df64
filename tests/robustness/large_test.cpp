// Documents that are large in one way or another, within bounds of memory and of the stack.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/measured_run.h"
#include "tests/robustness/sample_xml.h"

namespace robustness {
namespace {

using testing::HasSubstr;

class LargeTest : public HomeTest {
protected:
    LargeTest() { makeHome(); }
};

// What a load needs grows to a bound and no further: the bound for a gigabyte is 512 MB, so a
// document of 60 MB has to do with less than it would take as a whole. The sanitizers' own
// memory would hide that.
#if !defined(__SANITIZE_ADDRESS__)
TEST_F(LargeTest, MemoryOfALoadStaysUnderAFixedBound) {
    constexpr std::uint64_t bound = std::uint64_t{320} << 20;
    constexpr std::size_t small = 20000;
    constexpr std::size_t large = 20 * small;
    const auto load = [&](const std::string &name, std::size_t items) {
        return measure(zdbsCommand(home_, {"load", "db", "-", "--name", name}),
                       [&](std::ostream &out) { writeSampleXml(out, 1, items); });
    };
    const Measures first = load("small.xml", small);
    const Measures second = load("large.xml", large);
    EXPECT_EQ(first.ending, support::exited(0));
    EXPECT_EQ(second.ending, support::exited(0));
    RecordProperty("small", static_cast<int>(first.peakBytes >> 20));
    RecordProperty("large", static_cast<int>(second.peakBytes >> 20));
    EXPECT_LT(second.peakBytes, bound);
    const std::string list = zdbs(home_, {"list", "db", "--json"});
    EXPECT_THAT(list, HasSubstr("\"document\":\"large.xml\""));
}
#endif

class DeepTest : public LargeTest {
protected:
    static constexpr std::size_t depth = 1000000;

    static std::string nested() {
        std::string xml;
        for (std::size_t i = 0; i < depth; ++i)
            xml += "<a>";
        xml += "x";
        for (std::size_t i = 0; i < depth; ++i)
            xml += "</a>";
        return xml;
    }

    /** The answers of a session to these commands, a line each. */
    std::string ask(Words commands) const {
        commands.insert(commands.begin(), "ask");
        const auto result = support::run(reader(commands));
        EXPECT_EQ(result.ending, support::exited(0)) << result.err;
        return result.out;
    }
};

TEST_F(DeepTest, AMillionNestedElementsAreRefused) {
    const auto result = support::run(zdbsCommand(home_, {"load", "db", "-"}), nested());
    EXPECT_EQ(result.ending, support::exited(1));
    EXPECT_THAT(result.err, HasSubstr("standard input:1:30001: "));
    EXPECT_EQ(zdbs(home_, {"list", "db", "--json"}), "[]\n");
}

TEST_F(DeepTest, AMillionNestedElementsCanBeLoadedQueriedDumpedCheckedAndRemoved) {
    const std::string xml = nested();
    zdbs(home_, {"load", "db", "-", "--max-depth", "1000000"}, xml);
    const std::string all = std::to_string(depth);
    const std::string butOne = std::to_string(depth - 1);
    // Set 2 is every a; those with a child a, those with an a above, the parents of an a, the
    // elements above the text, those whose first child is an a, those
    // that are the first a above one.
    EXPECT_EQ(
        ask({"BASE db", "FIND N_NAME=a", "FIND XPATH(child,2,2,1)", "FIND XPATH(descendant,2,2,2)",
             "FIND XPATH(ancestor,2,2,2)", "FIND N_TYPE=TEXT", "FIND XPATH(ancestor,6,2,2)",
             "FIND XPATH(child,2,2,2)", "FIND XPATH(SELF,8,8,1,EQ,1)",
             "FIND XPATH(SELF,5,5,1,EQ,1)", "FIND XPATH(following,2,2,1)"}),
        std::to_string(depth + 1) + "\n" + all + "\n" + butOne + "\n" + butOne + "\n" + butOne +
            "\n1\n" + all + "\n" + butOne + "\n" + butOne + "\n" + butOne +
            "\nFIND XPATH(following,2,2,1): The search has no hits.\n");
    const std::string dumped = zdbs(home_, {"dump", "db"});
    EXPECT_TRUE(dumped == xml || dumped == xml + "\n") << dumped.size();
    expectSound(home_, "deep");
    zdbs(home_, {"remove", "db", "stdin.xml"});
    EXPECT_EQ(zdbs(home_, {"list", "db", "--json"}), "[]\n");
    expectSound(home_, "removed");
}

}  // namespace
}  // namespace robustness
