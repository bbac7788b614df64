// The buffer against slow, obvious models of what it does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "foundation/string_buffer.h"
#include "tests/foundation/buffer_text.h"

namespace {

// Replaces match by match, from right to left, with the growth that every one of them needs.
struct StepwiseReplacement {
    std::string block;  // the text, its NUL and what came to lie behind it
    std::size_t length;
    int capacity;
    int increment;

    std::string text() const { return block.substr(0, length); }

    void run(const std::string &find, const std::string &repl) {
        int pos = static_cast<int>(length) - static_cast<int>(find.size());
        while (pos >= 0) {
            if (block.compare(static_cast<std::size_t>(pos), find.size(), find) == 0) {
                replaceAt(pos, find.size(), repl);
                if (find.size() >= 2) pos -= static_cast<int>(find.size()) - 1;
            }
            --pos;
        }
    }

    void replaceAt(int pos, std::size_t found, const std::string &repl) {
        const int free = capacity - static_cast<int>(length);
        if (repl.size() > found && free <= static_cast<int>(repl.size() - found)) {
            capacity = increment * ((capacity + static_cast<int>(repl.size())) / increment + 1);
        }
        const auto at = static_cast<std::size_t>(pos);
        const std::string moved = repl + block.substr(at + found, length - at - found);
        if (block.size() < at + moved.size()) block.resize(at + moved.size());
        block.replace(at, moved.size(), moved);
        length = at + moved.size();
        if (repl.size() < found) block[length] = '\0';
    }
};

// All texts over the letters a and b with at most `length` letters.
std::vector<std::string> textsUpTo(std::size_t length) {
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; texts[i].size() < length; ++i) {
        texts.push_back(texts[i] + 'a');
        texts.push_back(texts[i] + 'b');
    }
    return texts;
}

TEST(StringBufferModel, ReplaceAgreesWithOneReplacementAtATimeForAllSmallTexts) {
    const std::vector<std::string> texts = textsUpTo(6);
    const std::vector<std::string> words = textsUpTo(3);
    for (const int increment : {1, 3, 4092}) {
        for (const std::string &text : texts) {
            for (const std::string &find : words) {
                for (const std::string &repl : words) {
                    CStringBuffer buffer(increment);
                    buffer.set(text.c_str());
                    StepwiseReplacement model{text + '\0', text.size(), buffer.bufLength(),
                                              increment};
                    buffer.replace(find.c_str(), repl.c_str());
                    model.run(find, repl);
                    ASSERT_EQ(textOf(buffer), model.text()) << text << ' ' << find << ' ' << repl;
                    ASSERT_EQ(buffer.bufLength(), model.capacity)
                        << text << ' ' << find << ' ' << repl << ' ' << increment;
                    ASSERT_EQ(std::string(buffer.getBufferPointer(), model.block.size()),
                              model.block)
                        << "with what is behind the text: " << text << ' ' << find << ' ' << repl;
                }
            }
        }
    }
}

class RandomTexts {
public:
    explicit RandomTexts(unsigned seed) : random_(seed) {}

    int upTo(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit + 1)); }

    std::string text(int limit) {
        std::string text(static_cast<std::size_t>(upTo(limit)), ' ');
        std::generate(text.begin(), text.end(), [this] { return "ab \n"[upTo(3)]; });
        return text;
    }

private:
    std::mt19937 random_;
};

TEST(StringBufferModel, OperationsThatMoveTheEndMarkerAgreeWithAString) {
    for (const int increment : {1, 2, 5, 16}) {
        RandomTexts random(static_cast<unsigned>(increment));
        CStringBuffer buffer(increment);
        std::string model;
        for (int step = 0; step < 20000; ++step) {
            const std::string text = random.text(12);
            const int pos = random.upTo(40);
            switch (random.upTo(6)) {
                case 0:
                    buffer.set(text.c_str());
                    model = text;
                    break;
                case 1:
                    buffer.append(text.c_str(), static_cast<int>(text.size()));
                    model += text;
                    break;
                case 2:
                    buffer.insert(text.c_str(), pos);
                    model.insert(std::min<std::size_t>(static_cast<std::size_t>(pos), model.size()),
                                 text);
                    break;
                case 3:
                    buffer.append(pos);
                    model += std::to_string(pos);
                    break;
                case 4:
                    buffer = CStringBuffer(text.c_str());
                    model = text;
                    break;
                case 5:
                    buffer.getSubStr(CStringBuffer(text.c_str()), 2, pos, true);
                    if (text.size() > 2) model += text.substr(2, static_cast<std::size_t>(pos));
                    break;
                default:
                    if (model.size() > 200) {
                        buffer.clear();
                        model.clear();
                    }
            }
            ASSERT_EQ(textOf(buffer), model);
            ASSERT_STREQ(buffer, model.c_str());
            ASSERT_LT(buffer.length(), buffer.bufLength());
            ASSERT_EQ(buffer.bufLength() % increment, 0);
        }
    }
}

// With trim() and replace() in between, texts have gaps and stale tails. Whatever happens, the
// text stays inside the block, and so does everything that scans it.
TEST(StringBufferModel, EveryOrderOfOperationsLeavesAValidBuffer) {
    for (const int increment : {1, 2, 5, 16}) {
        RandomTexts random(static_cast<unsigned>(100 + increment));
        CStringBuffer buffer(increment);
        for (int step = 0; step < 20000; ++step) {
            const std::string text = random.text(9);
            const std::string other = random.text(3);
            switch (random.upTo(8)) {
                case 0:
                    buffer.set(text.c_str());
                    break;
                case 1:
                case 2:
                    buffer.append(text.c_str());
                    break;
                case 3:
                    buffer.replace(other.c_str(), text.c_str());
                    break;
                case 4:
                    buffer.replace(text.c_str(), other.c_str());
                    break;
                case 5:
                    buffer.insert(text.c_str(), random.upTo(20) - 2);
                    break;
                case 6:
                    buffer.convertLinebreaks();
                    break;
                default:
                    buffer.trim();
            }
            ASSERT_GE(buffer.length(), 0);
            ASSERT_LT(buffer.length(), buffer.bufLength());
            ASSERT_LT(std::strlen(buffer), static_cast<std::size_t>(buffer.bufLength()));
            buffer.find("ab", buffer.length() / 2);
            buffer.findReverse('b', true);
            if (buffer.length() > 500) buffer.clear();
        }
    }
}

}  // namespace
