// Damaged files: whatever is asked of a home in which some bytes are not what was written answers
// as before or fails. VEXA_DAMAGES says how many damages are tried, VEXA_SEED which one is first.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/robustness/commands.h"
#include "tests/robustness/sample_xml.h"

namespace robustness {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr long fewDamages = 25;
#else
constexpr long fewDamages = 200;
#endif

/** One way to spoil bytes. */
enum class Kind { flipBit, randomBytes, zeroBlock, swapBlocks, truncate };

struct Damage {
    fs::path file;
    Kind kind;
    std::string bytes;  ///< of the file afterwards
};

void overwrite(const fs::path &file, const std::string &bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string spoilt(std::string bytes, Kind kind, std::mt19937 &random) {
    if (bytes.empty()) return bytes;
    const std::size_t block = std::min<std::size_t>(bytes.size(), random() % 2 ? 512 : 4096);
    const std::size_t blocks = bytes.size() / block;
    const std::size_t at = random() % bytes.size();
    switch (kind) {
        case Kind::flipBit:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
            break;
        case Kind::randomBytes:
            for (std::size_t i = at; i < std::min(bytes.size(), at + 1 + random() % 64); ++i)
                bytes[i] = static_cast<char>(random());
            break;
        case Kind::zeroBlock:
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at / block % blocks * block),
                        block, '\0');
            break;
        case Kind::swapBlocks: {
            const auto first = static_cast<std::ptrdiff_t>(random() % blocks * block);
            const auto second = static_cast<std::ptrdiff_t>(random() % blocks * block);
            std::swap_ranges(bytes.begin() + first,
                             bytes.begin() + first + static_cast<std::ptrdiff_t>(block),
                             bytes.begin() + second);
            break;
        }
        case Kind::truncate:
            bytes.resize(at);
            break;
    }
    return bytes;
}

class DamagedAnswersTest : public HomeTest {
protected:
    DamagedAnswersTest() {
        makeHome();
        zdbs(home_, {"load", "db", "--name", "items.xml", "-"}, sampleXml(1, 3000));
        zdbs(home_, {"load", "db", "--name", "more.xml", "-"}, sampleXml(2, 300));
        zdbs(home_, {"load", "db", "--name", "gone.xml", "-"}, sampleXml(3, 200));
        zdbs(home_, {"remove", "db", "gone.xml"});
        for (const auto &entry : fs::recursive_directory_iterator(home_)) {
            if (entry.is_regular_file()) files_.push_back(entry.path());
        }
        std::sort(files_.begin(), files_.end());
        for (const fs::path &file : files_)
            bytes_.push_back(support::readFile(file.native()));
        for (const Words &words : questions())
            answers_.push_back(zdbs(home_, words));
    }

    static const std::vector<Words> &questions() {
        static const std::vector<Words> all{
            {"query", "db", "//item", "//item[contains(name/text(),'salt')]",
             "//item[name='salt walnut']", "//item[name!='salt walnut']/@id",
             "//name[.='salt walnut']", "//item[@price>500]",
             "//item[@price<10][contains(name/text(),'zephyr')]", "//item[@id='i77']",
             "//item[contains(@id,'9')]", "//item[contains(.,'copper lantern')]/name",
             "//*[contains(text(),'velvet')]", "//item[position()=last()]",
             "//item[name='salt walnut' and @price>100]", "//b/ancestor::*", "//comment()"},
            {"query", "db", "--fragments", "/name /@id", "//item[contains(@id,'77')]"},
            {"query", "db", "--ids", "//item[contains(@id,'78')]"},
            {"dump", "db", "items.xml"},
            {"dump", "db", "more.xml"},
            {"list", "db"},
        };
        return all;
    }

    /** Databases' files twice as often as the others. */
    Damage damage(std::mt19937 &random) const {
        std::size_t index = random() % files_.size();
        if (files_[index].native().find("databases") == std::string::npos)
            index = random() % files_.size();
        const auto kind = static_cast<Kind>(random() % 5);
        return {files_[index], kind, spoilt(bytes_[index], kind, random)};
    }

    void restore() const {
        for (std::size_t i = 0; i < files_.size(); ++i)
            overwrite(files_[i], bytes_[i]);
    }

    /** Whether each line is the expected one, or says that there is no answer. */
    static bool agree(const std::string &answer, const std::string &expected) {
        std::istringstream lines(answer);
        std::istringstream others(expected);
        std::string line;
        std::string other;
        while (std::getline(lines, line)) {
            if (!std::getline(others, other) || (line != "-" && line != other)) return false;
        }
        return true;
    }

    /** Asks all; what is wrong with the answers. */
    std::string askAll() {
        std::string faults;
        for (std::size_t i = 0; i < questions().size(); ++i) {
            const Words &words = questions()[i];
            const auto result = support::run(zdbsCommand(home_, words));
            const bool isCount = i == 0;
            if (result.ending == support::exited(0)) {
                if (result.out != answers_[i]) faults += "a wrong answer of " + words[0] + "; ";
                continue;
            }
            ++refused_;
            if (result.ending != support::exited(1))
                faults += "the end of " + words[0] + ": " + result.err + "; ";
            if (result.err.empty()) faults += "no message of " + words[0] + "; ";
            if (isCount && !agree(result.out, answers_[i])) faults += "a wrong count; ";
        }
        return faults;
    }

    std::vector<fs::path> files_;
    std::vector<std::string> bytes_;
    std::vector<std::string> answers_;
    std::size_t refused_ = 0;
};

TEST_F(DamagedAnswersTest, AreThoseOfBeforeOrFail) {
    const auto damages = static_cast<std::uint32_t>(numberIn("VEXA_DAMAGES", fewDamages));
    const auto first = static_cast<std::uint32_t>(numberIn("VEXA_SEED", 1));
    std::size_t wrong = 0;
    for (std::uint32_t seed = first; seed < first + damages; ++seed) {
        std::mt19937 random(seed);
        const Damage damage = this->damage(random);
        overwrite(damage.file, damage.bytes);
        const std::string faults = askAll();
        wrong += faults.empty() ? 0 : 1;
        EXPECT_EQ(faults, "") << "seed " << seed << ", kind " << static_cast<int>(damage.kind)
                              << " of " << fs::relative(damage.file, home_);
        restore();
    }
    std::cout << damages << " damages, " << refused_ << " questions refused, " << wrong
              << " damages with a wrong answer\n";
    EXPECT_GT(refused_, damages / 4);
}

}  // namespace
}  // namespace robustness
