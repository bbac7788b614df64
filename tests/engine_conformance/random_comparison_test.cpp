/** Two engines over the same documents find and tell the same, whatever is asked. */
#include <array>
#include <ostream>
#include <random>

#include "tests/engine_conformance/random_requests.h"
#include "tests/engine_conformance/side.h"
#include "tests/zdbs/support/namespaced_document.h"
#include "tests/zdbs/support/random_document.h"

namespace zdbs::conformance {
namespace {

constexpr unsigned conditionsOfSequence = 14;

/** Documents of a size and depth, and how much is asked about them. */
struct Shape {
    std::string name;
    std::uint64_t nodes;    ///< at least
    std::size_t wrappings;  ///< elements around all of each document
    unsigned seeds;
    unsigned sequences;  ///< of conditions, for each seed

    unsigned conditions() const { return sequences * conditionsOfSequence; }
};

const Shape small{"small", 80, 0, 40, 20};
const Shape large{"large", 600, 0, 12, 10};
/** Some of the nodes are so deep that an engine may keep them apart. */
const Shape deep{"deep", 300, 197, 8, 5};

struct Case {
    EngineUnderTest engine;
    Shape shape;
    unsigned seed;

    std::string name() const { return engine.name + shape.name + std::to_string(seed); }
};

void PrintTo(const Case &one, std::ostream *out) {
    *out << one.name();
}

std::vector<Case> cases() {
    std::vector<EngineUnderTest> engines = serverEngines();
    engines.push_back(embeddedEngine());
    std::vector<Case> result;
    for (const EngineUnderTest &engine : engines) {
        for (const Shape &shape : {small, large, deep}) {
            // A server is asked a selection for each level, and refuses hundreds of them; and it
            // takes a minute for the large ones, and seconds for each of the small ones.
            const bool isServer = engine.name != embeddedEngine().name;
            if (isServer && shape.name != small.name) continue;
            const unsigned seeds = isServer ? shape.seeds / 2 : shape.seeds;
            for (unsigned seed = 0; seed < seeds; ++seed)
                result.push_back({engine, shape, seed});
        }
    }
    return result;
}

std::string wrapped(const std::string &xml, std::size_t wrappings) {
    std::string before;
    std::string behind;
    for (std::size_t i = 0; i < wrappings; ++i) {
        before += i % 3 == 0 ? "<b>" : "<a>v1";
        behind.insert(0, i % 3 == 0 ? "</b>" : "</a>");
    }
    return before + xml + behind;
}

class Engines : public ::testing::TestWithParam<Case> {
protected:
    Engines() : other(seed() % 2 == 0 ? naiveEngine() : farNaiveEngine()) {
        load("first", testing::RandomDocument(seed()).make());
        load("removed", testing::RandomDocument(seed() + 1000).make());
        for (unsigned next = seed(); other.nodes() < shape().nodes; next += 2000)
            load("p" + std::to_string(next), testing::NamespacedDocument(next).make());
        for (Side *side : sides)
            side->collection.remove({"removed"});
        for (Side *side : sides)
            side->database->refresh({});
    }

    static const Shape &shape() { return GetParam().shape; }
    static unsigned seed() { return GetParam().seed; }

    void load(const std::string &name, const std::string &xml) {
        for (Side *side : sides)
            side->collection.load({{name, wrapped(xml, shape().wrappings)}});
    }

    /** What leads to a difference, to be read with it. */
    std::string history(unsigned from, unsigned to) {
        other.startAgain();
        std::string text = GetParam().name() + "\n";
        for (unsigned each = from; each <= to; ++each) {
            const Condition condition = RandomRequests(each, *other.finder).condition();
            const ResultSetPtr &set = other.finder->find(condition);
            text += std::to_string(each - from + 1) + ": " + written(condition) + "  -> " +
                    other.finder->places(*set) + "\n";
        }
        return text;
    }

    /** Whether both find the same by a list of conditions that grows. */
    void compareSequence(unsigned from) {
        for (Side *side : sides)
            side->startAgain();
        for (unsigned each = from; each < from + conditionsOfSequence; ++each) {
            ASSERT_EQ(first.found(each), other.found(each)) << history(from, each);
            found += first.finder->sets().back()->size() > 0 ? 1 : 0;
            if (each % 3 != 0) continue;
            const std::string fragments = first.told(each);
            ASSERT_EQ(fragments, other.told(each)) << history(from, each);
            toldBytes += fragments.size();
        }
    }

    Side first{GetParam().engine};
    Side other;
    std::array<Side *, 2> sides{&first, &other};
    unsigned found = 0;  ///< conditions that found something
    std::size_t toldBytes = 0;
};

TEST_P(Engines, FindAndTellTheSame) {
    for (unsigned sequence = 0; sequence < shape().sequences; ++sequence) {
        compareSequence(seed() * 100000 + sequence * 100);
        if (HasFatalFailure()) return;
        if (sequence != shape().sequences / 2) continue;
        load("third", testing::NamespacedDocument(seed() + 1000).make());
        for (Side *side : sides)
            side->collection.remove({"first"});
        ASSERT_EQ(first.carriedOver(), other.carriedOver());
    }
    EXPECT_GT(found, shape().conditions() / 2) << "most conditions should find something";
    EXPECT_GT(toldBytes, 5000U);
}

/** Words, numbers and mixtures of them. */
class RandomValues {
public:
    explicit RandomValues(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t limit) { return random_() % limit; }

    std::string value() {
        if (below(4) == 0) return std::to_string(static_cast<int>(below(400)) - 100);
        std::string text = word();
        while (below(3) != 0)
            text += (below(9) == 0 ? ", " : " ") + word();
        return text;
    }

    /** Something that may be found in values: a word or two, or a piece of a word. */
    std::string literal() {
        const std::string text = value();
        const std::size_t begin = below(2) == 0 ? 0 : below(text.size());
        return text.substr(begin, 1 + below(14));
    }

private:
    std::string word() {
        std::string text;
        do
            text += static_cast<char>('a' + below(5));
        while (below(4) != 0);
        return text;
    }

    std::mt19937 random_;
};

class ManyValues : public ::testing::TestWithParam<EngineUnderTest> {};

TEST_P(ManyValues, AreFoundAlikeByEveryRelation) {
    RandomValues values(11);
    std::string xml = "<r>";
    for (int i = 0; i < 20000; ++i)
        xml += (i % 3 == 0 ? "<a>" : "<b>") + values.value() + (i % 3 == 0 ? "</a>" : "</b>");
    Side first(GetParam());
    Side other(naiveEngine());
    for (Side *side : {&first, &other}) {
        side->collection.load({{"values", xml + "</r>"}});
        side->database->refresh({});
        side->startAgain();
    }
    std::size_t found = 0;
    for (int i = 0; i < 300; ++i) {
        const auto relation = static_cast<Relation>(values.below(i % 2 == 0 ? 9 : 7));
        Condition condition;
        condition.conjuncts.emplace_back().push_back(
            {false, FieldTerm{Field::value, i % 3 == 0 ? Relation::contains : relation,
                              values.literal()}});
        const ResultSetPtr set = first.finder->find(condition);
        const ResultSetPtr same = other.finder->find(condition);
        EXPECT_EQ(same->hits(), set->hits()) << written(condition);
        EXPECT_TRUE(other.finder->places(*same) == first.finder->places(*set))
            << written(condition) << " finds " << set->size() << ", not " << same->size();
        found += set->size() > 0 ? 1 : 0;
    }
    EXPECT_GT(found, 150U);
}

INSTANTIATE_TEST_SUITE_P(Every, ManyValues, ::testing::ValuesIn(allEngines()), nameOfEngine);

INSTANTIATE_TEST_SUITE_P(Of, Engines, ::testing::ValuesIn(cases()),
                         [](const auto &one) { return one.param.name(); });

}  // namespace
}  // namespace zdbs::conformance
