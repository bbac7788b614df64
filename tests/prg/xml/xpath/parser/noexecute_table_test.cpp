// Drives noexecute_table.txt, which says at its top how it is written, through the parser.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "parser_support.h"

using namespace xpathtest;

namespace {

struct Case {
    int line;
    std::string kind;
    std::string request;
    std::string outcome;
};

std::string unescaped(const std::string &written) {
    std::string result;
    for (size_t i = 0; i < written.size(); ++i) {
        if (written[i] != '\\') {
            result += written[i];
            continue;
        }
        switch (written.at(++i)) {
            case 'n':
                result += '\n';
                break;
            case 'r':
                result += '\r';
                break;
            case 't':
                result += '\t';
                break;
            case '\\':
                result += '\\';
                break;
            case 'x':
                result += static_cast<char>(std::stoi(written.substr(i + 1, 2), nullptr, 16));
                i += 2;
                break;
            default:
                throw std::runtime_error("unknown escape in " + written);
        }
    }
    return result;
}

Case caseOf(const std::string &line, int number) {
    const size_t kindEnd = line.find(' ');
    const std::string rest = line.substr(kindEnd + 1);
    const size_t arrow = rest.rfind(" => ");
    if (arrow == std::string::npos) throw std::runtime_error("no arrow in line: " + line);
    return {number, line.substr(0, kindEnd), unescaped(rest.substr(0, arrow)),
            unescaped(rest.substr(arrow + 4))};
}

std::vector<Case> readTable() {
    std::ifstream file(NOEXECUTE_TABLE);
    std::vector<Case> cases;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (!line.empty() && line[0] != '#') cases.push_back(caseOf(line, number));
    }
    return cases;
}

}  // namespace

TEST(NoExecuteTable, EveryRequestPrintsAsItsLineSays) {
    for (const Case &fact : readTable()) {
        const bool wellFormed = fact.kind[0] == '=';
        EXPECT_EQ((wellFormed ? "" : "!") + fact.outcome, printed(fact.request))
            << "line " << fact.line << ": " << fact.request;
    }
}

TEST(NoExecuteTable, IsReadWholeAndHoldsNoRequestTwice) {
    std::set<std::string> requests;
    for (const Case &fact : readTable()) {
        EXPECT_TRUE(fact.kind == "=" || fact.kind == "!" || fact.kind == "=*" || fact.kind == "!*")
            << "line " << fact.line;
        EXPECT_TRUE(requests.insert(fact.request).second) << "line " << fact.line;
    }
    EXPECT_GE(requests.size(), 400u);
}

TEST(NoExecuteTable, MarksTheRequestsThatHoldMoreThanPrintableAscii) {
    for (const Case &fact : readTable()) {
        bool plain = !fact.request.empty();
        for (const char byte : fact.request) {
            plain = plain && (byte == '\t' || (byte >= ' ' && byte < 127));
        }
        const bool marked = fact.kind.size() == 2;
        EXPECT_TRUE(plain || marked) << "line " << fact.line;
    }
}
