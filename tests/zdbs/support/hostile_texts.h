/** Texts made of what conditions are made of, and what it means to compare them. */
#ifndef TESTS_ZDBS_SUPPORT_HOSTILE_TEXTS_H
#define TESTS_ZDBS_SUPPORT_HOSTILE_TEXTS_H

#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/relation.h"

namespace zdbs::testing {

/** Every text of at most so many of these pieces, the empty one first. */
inline std::vector<std::string> textsOf(const std::vector<std::string> &pieces,
                                        std::size_t longest) {
    std::vector<std::string> texts{""};
    for (std::size_t done = 0, round = 0; round < longest; ++round) {
        const std::size_t end = texts.size();
        for (; done < end; ++done) {
            for (const std::string &piece : pieces)
                texts.push_back(texts[done] + piece);
        }
    }
    return texts;
}

/** Characters that mean something in a command. */
inline const std::vector<std::string> &hostileCharacters() {
    static const std::vector<std::string> characters{"&", "$", "\"", ")", "(", " ", "S",
                                                     "=", "0", "O",  "R", ",", "\n"};
    return characters;
}

/** Whether a value is a number; of the characters above only zeros make one. */
inline bool isZero(std::string_view value) {
    const std::size_t first = value.find_first_not_of(" \n");
    if (first == std::string_view::npos) return false;
    const std::string_view digits = value.substr(first, value.find_last_not_of(" \n") - first + 1);
    return digits.find_first_not_of('0') == std::string_view::npos;
}

/**
 * Whether a value of the characters above has the relation to a literal of them that is not
 * empty. There is one that is a number; it is compared with values that are.
 */
inline bool holds(Relation relation, const std::string &value, const std::string &literal) {
    const bool asNumbers = literal == "0";
    const int order = asNumbers ? 0 : value.compare(literal);
    const bool isCompared = !asNumbers || isZero(value);
    switch (relation) {
        case Relation::equal:
            return isCompared && order == 0;
        case Relation::notEqual:
            return !isCompared || order != 0;
        case Relation::less:
            return isCompared && order < 0;
        case Relation::lessEqual:
            return isCompared && order <= 0;
        case Relation::greater:
            return isCompared && order > 0;
        case Relation::greaterEqual:
            return isCompared && order >= 0;
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;
    }
    return value.find(literal) != std::string::npos;
}

}  // namespace zdbs::testing

#endif
