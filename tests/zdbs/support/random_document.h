/** Small XML documents at random, for comparing with an oracle. */
#ifndef TESTS_ZDBS_SUPPORT_RANDOM_DOCUMENT_H
#define TESTS_ZDBS_SUPPORT_RANDOM_DOCUMENT_H

#include <random>
#include <string>

#include "tests/support/choices.h"

namespace zdbs::testing {

/**
 * Documents of three names, two attributes and four values, so that much repeats,
 * with texts, comments and instructions between. The same choices make the same document.
 */
class RandomDocument {
public:
    explicit RandomDocument(support::Choices choices) : random_(choices) {}

    std::string make() {
        text_ = "<a>";
        content(0);
        return text_ + "</a>";
    }

private:
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    void content(int depth) {
        const int count = below(5);
        bool afterText = false;
        for (int index = 0; index < count; ++index) {
            const int kind = below(10);
            if (kind == 0) text_ += "<!--v1-->";
            if (kind == 1) text_ += "<?p 1?>";
            if (kind >= 2 && kind < 5 && !afterText) text_ += values[below(4)];
            if (kind >= 5 && depth < 5) element(depth);
            afterText = kind >= 2 && kind < 5;
        }
    }

    void element(int depth) {
        if (++elements_ > 30) return;
        const std::string name = names[below(3)];
        text_ += "<" + name;
        if (below(3) == 0) text_ += std::string(" x='") + values[below(4)] + "'";
        if (below(4) == 0) text_ += std::string(" y='") + values[below(4)] + "'";
        text_ += ">";
        content(depth + 1);
        text_ += "</" + name + ">";
    }

    static constexpr const char *names[] = {"a", "b", "c"};
    static constexpr const char *values[] = {"1", "2", "v1", "3v"};

    support::Choices random_;
    std::string text_;
    int elements_ = 0;
};

}  // namespace zdbs::testing

#endif
