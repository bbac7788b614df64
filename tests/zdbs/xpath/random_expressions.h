/** Expressions of XPath 1.0 at random, of every type, and documents that they find something in. */
#ifndef TESTS_ZDBS_XPATH_RANDOM_EXPRESSIONS_H
#define TESTS_ZDBS_XPATH_RANDOM_EXPRESSIONS_H

#include <cstddef>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace zdbs::testing {

/** Names that expressions are made of; prefixes are p and q. */
struct Vocabulary {
    std::vector<std::string> elements;
    std::vector<std::string> attributes;
    std::vector<std::string> texts;
};

/** Those of randomXPathDocument(). */
Vocabulary smallVocabulary();

/** Elements in two namespaces and none, attributes, texts, comments, instructions, xml:id. */
std::string randomXPathDocument(unsigned seed);

/**
 * Makes expressions to which libxml2 and the recommendation give one value. Kept out is:
 *
 *  - position() and last() without a predicate around them, which libxml2 refuses
 *  - following:: of what may be an attribute: libxml2 skips what its element contains
 *  - //. which libxml2 takes for the nodes below, without the context itself
 *  - numbers whose digits would be rounded in print: libxml2 writes 15 of them
 *
 * and of documents, what stands behind the first node if that is an element: libxml2 does not
 * find that element on the preceding axis.
 */
class RandomExpressions {
public:
    RandomExpressions(unsigned seed, Vocabulary vocabulary)
        : random_(seed), words_(std::move(vocabulary)) {}

    std::string any();

private:
    using Choices = std::initializer_list<const char *>;

    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    std::string one(Choices choices) { return choices.begin()[below(choices.size())]; }
    const std::string &one(const std::vector<std::string> &words) {
        return words[below(words.size())];
    }

    std::string nodes(int depth);
    std::string nodesOfAnyForm(int depth);
    std::string path(int depth);
    std::string step(int depth);
    std::string stepOfAxis(int depth);
    std::string axisAndTest();
    std::string nameTest(bool isAttribute);
    std::string predicates(int depth);
    std::string predicate(int depth);
    std::string number(int depth);
    std::string text(int depth);
    std::string truth(int depth);
    std::string comparison(int depth);
    std::string value(int depth);
    std::string literal();

    std::mt19937 random_;
    Vocabulary words_;
    bool mayBeAttribute_ = false;  ///< what the path before the next step leads to
    int predicates_ = 0;           ///< around what is made
};

}  // namespace zdbs::testing

#endif
