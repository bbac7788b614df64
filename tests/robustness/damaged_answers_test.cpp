// Damaged files: what cannot be read is a message. Where damage is read as if it were data, which
// nothing but `zdbs check` finds out, the answer is at least that of the data as it is then: no
// failure on the way to it is lost.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/sample_xml.h"

namespace robustness {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::Not;

/** Answers by request; those that failed have none. */
using Answers = std::map<std::string, int>;

const std::vector<std::string> &requests() {
    static const std::vector<std::string> all{
        "//item",
        "//item[contains(name/text(),'salt')]",
        "//item[name='salt walnut']",
        "//item[name!='salt walnut']/@id",
        "//name[.='salt walnut']",
        "//item[@price>500]",
        "//item[@price<10][contains(name/text(),'zephyr')]",
        "//item[@id='i77']",
        "//item[contains(@id,'9')]",
        "//item[contains(.,'copper lantern')]/name",
        "//*[contains(text(),'velvet')]",
        "//item[position()=last()]",
        "//item[name='salt walnut' and @price>100]",
    };
    return all;
}

class DamagedAnswersTest : public HomeTest {
protected:
    DamagedAnswersTest() {
        makeHome();
        zdbs(home_, {"load", "db", directory_.write("items.xml", sampleXml(1, 4000))});
        const fs::path segments = home_ / "databases" / "db" / "segments";
        file_ = fs::directory_iterator(segments)->path().native();
        bytes_ = support::readFile(file_);
    }

    /** Random bytes somewhere behind what is verified when the file is opened. */
    void damage(std::mt19937 &random) const {
        const std::size_t length = std::size_t{64} << random() % 6;
        const std::size_t first = 4096 + random() % (bytes_.size() - 4096 - length);
        std::string bytes = bytes_;
        for (std::size_t at = first; at < first + length; ++at)
            bytes[at] = static_cast<char>(random());
        std::ofstream(file_, std::ios::binary) << bytes;
    }

    Answers askShell() {
        std::string statements = "BASE db;\n";
        for (const std::string &request : requests())
            statements += "XFIND " + request + ";\n";
        const auto result = support::run({VEXA_PROGRAM,
                                          {"-u", "reader", "-p", "secret", "-q"},
                                          {{"ZDBS_HOME", home_.native()}, {"LC_ALL", "C.UTF-8"}},
                                          {}},
                                         statements);
        EXPECT_EQ(result.ending, support::exited(0));
        EXPECT_THAT(result.err, Not(HasSubstr("There is no such set")));
        Answers answers;
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t count = line.find(">\t<");
            const std::size_t request = line.find(">\t", count + 1);
            if (request == std::string::npos) continue;
            answers[line.substr(request + 2)] = std::stoi(line.substr(count + 3));
        }
        answers.erase("BASE db");
        return answers;
    }

    Answers askQuery() const {
        Words words{"query", "db"};
        words.insert(words.end(), requests().begin(), requests().end());
        const auto result = support::run(zdbsCommand(home_, words));
        EXPECT_THAT(result.err, Not(HasSubstr("There is no such set")));
        Answers answers;
        std::istringstream lines(result.out);
        std::string line;
        for (const std::string &request : requests()) {
            std::getline(lines, line);
            if (line != "-") answers[request] = std::stoi(line);
        }
        return answers;
    }

    bool isFoundDamaged() const {
        return support::run(zdbsCommand(home_, {"check", "db"})).ending == support::exited(1);
    }

    std::string file_;
    std::string bytes_;
};

TEST_F(DamagedAnswersTest, AreThoseOfWhatIsThereOrFail) {
    const Answers undamaged = askShell();
    ASSERT_EQ(undamaged.size(), requests().size());
    ASSERT_EQ(askQuery(), undamaged);
    std::size_t failed = 0;
    std::size_t different = 0;
    for (std::uint32_t seed = 1; seed <= 30; ++seed) {
        std::mt19937 random(seed);
        damage(random);
        const Answers answers = askShell();
        EXPECT_EQ(askQuery(), answers) << "seed " << seed;
        failed += undamaged.size() - answers.size();
        std::size_t wrong = 0;
        for (const auto &[request, count] : answers)
            wrong += count != undamaged.at(request) ? 1 : 0;
        EXPECT_TRUE(wrong == 0 || isFoundDamaged()) << "seed " << seed;
        different += wrong;
    }
    std::cout << 30 * requests().size() << " requests of damaged files, " << failed << " failed, "
              << different << " of what the damage had made\n";
    EXPECT_GT(failed, 5U);
}

}  // namespace
}  // namespace robustness
