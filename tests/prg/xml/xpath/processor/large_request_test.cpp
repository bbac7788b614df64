// Requests as deep and as long as they come, on a stack of the usual size.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>
#include <vector>

#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "tests/prg/xml/xpath/processor/fake_kernel.h"
#include "tests/prg/xml/xpath/processor/raised_message.h"
#include "tests/prg/xml/xpath/processor/recording_logger.h"
#include "tests/prg/xml/xpath/processor/trees.h"

namespace {

constexpr std::size_t stackSize = 8 << 20;

// Runs `work` in a thread with a stack of 8 MB, whatever the limit of this process is.
void runOnUsualStack(const std::function<void()> &work) {
    const auto entry = [](void *argument) -> void * {
        (*static_cast<const std::function<void()> *>(argument))();
        return nullptr;
    };
    std::function<void()> copy = work;
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackSize), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, entry, &copy), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

// `open` n times, `middle`, `close` n times.
std::string nested(int n, const std::string &open, const std::string &middle,
                   const std::string &close) {
    std::string text;
    for (int i = 0; i < n; ++i)
        text += open;
    text += middle;
    for (int i = 0; i < n; ++i)
        text += close;
    return text;
}

bool isAccepted(const std::string &request) {
    ZXParserMain parser;
    CStringBuffer error;
    const Tree tree(parser.Parse(request.c_str(), &error));
    return tree != nullptr;
}

// How often the parser lets `open` and `close` nest.
int deepestNesting(const std::string &open, const std::string &middle, const std::string &close) {
    int accepted = 1;
    int refused = 20000;
    while (refused - accepted > 1) {
        const int n = (accepted + refused) / 2;
        (isAccepted(nested(n, open, middle, close)) ? accepted : refused) = n;
    }
    return accepted;
}

struct Outcome {
    std::string message;
    std::int32_t number = -1;
    int commands = 0;
};

Outcome run(const std::string &request, IZfxLogger *logger = nullptr) {
    Outcome outcome;
    runOnUsualStack([&] {
        FakeKernel::instance().reset();
        ZXProcessorMain processor(logger);
        processor.Begin();
        SearchSet *result = nullptr;
        outcome.message = raisedMessage([&] { result = processor.Query(request.c_str()); });
        processor.End();
        if (result != nullptr) outcome.number = result->GetNumber();
    });
    outcome.commands = static_cast<int>(FakeKernel::instance().commands().size());
    return outcome;
}

// Save, hits and minimum before, renumbering and what is deleted after `finds` searches.
int commandsFor(int finds) {
    return 2 + finds + (finds - 1) + 1;
}

TEST(LargeRequest, TheDeepestPredicatesThatParseAreTranslated) {
    struct {
        const char *open, *middle, *close;
        int minDepth;
        int findsPerLevel;  // 0: not the same for all
    } const shapes[] = {
        {"a[", "a", "]", 3300, 2},
        {"a[b and a[", "a", "]]", 1200, 0},
        {"a[b/a[", "a", "]]", 1200, 0},
        {"a[(a[", "a", "])]", 1400, 0},
    };
    for (const auto &shape : shapes) {
        const int depth = deepestNesting(shape.open, shape.middle, shape.close);
        EXPECT_GE(depth, shape.minDepth) << shape.open;
        const Outcome outcome = run(nested(depth, shape.open, shape.middle, shape.close));
        EXPECT_EQ(outcome.message, "(nothing raised)") << shape.open;
        EXPECT_EQ(outcome.number, 1) << shape.open;
        EXPECT_GT(outcome.commands, depth) << shape.open;
        if (shape.findsPerLevel > 0) {
            EXPECT_EQ(outcome.commands, commandsFor(shape.findsPerLevel * depth + 1));
        }
    }
}

TEST(LargeRequest, AFailureInTheDeepestPredicateThatParsesPassesThrough) {
    const int depth = deepestNesting("a[", "self::a", "]");
    const Outcome outcome = run(nested(depth, "a[", "self::a", "]"));
    EXPECT_EQ(outcome.message,
              "Location step expressions for axis \"self\" are not yet implemented.");
    EXPECT_EQ(FakeKernel::instance().trace().back(), "load 1");
}

TEST(LargeRequest, AComparisonInTheDeepestPredicateThatParsesIsTranslated) {
    for (const char *middle :
         {"a[.='x']", "a[contains(.,'x')]", "a[b/c='x']", "a[b/position()=2]"}) {
        const int depth = deepestNesting("a[", middle, "]");
        const Outcome outcome = run(nested(depth, "a[", middle, "]"));
        EXPECT_EQ(outcome.message, "(nothing raised)") << middle;
    }
}

TEST(LargeRequest, TheDeepestPredicatesAreLogged) {
    const int depth = deepestNesting("a[", "a", "]");
    RecordingLogger logger;
    const Outcome outcome = run(nested(depth, "a[", "a", "]"), &logger);
    EXPECT_EQ(outcome.number, 1);
    EXPECT_GT(logger.lines().size(), static_cast<std::size_t>(depth));
}

TEST(LargeRequest, DeepPairsAreLogged) {
    const int depth = deepestNesting("a[b and a[", "a", "]]") / 4;
    RecordingLogger logger;
    const Outcome outcome = run(nested(depth, "a[b and a[", "a", "]]"), &logger);
    EXPECT_EQ(outcome.number, 1);
}

TEST(LargeRequest, APathOfManyStepsIsTranslated) {
    constexpr int steps = 5000;
    const Outcome outcome = run(nested(steps - 1, "a/", "a", ""));
    EXPECT_EQ(outcome.number, 1);
    EXPECT_EQ(outcome.commands, commandsFor(2 * steps - 1));
}

TEST(LargeRequest, AUnionOfManyPathsIsTranslated) {
    constexpr int paths = 5000;
    const Outcome outcome = run(nested(paths - 1, "a|", "a", ""));
    EXPECT_EQ(outcome.number, 1);
    EXPECT_EQ(outcome.commands, commandsFor(paths + 1));
}

TEST(LargeRequest, ManyPredicatesOnOneStepAreTranslated) {
    constexpr int predicates = 5000;
    const Outcome outcome = run("a" + nested(predicates, "", "", "[b]"));
    EXPECT_EQ(outcome.number, 1);
    EXPECT_EQ(outcome.commands, commandsFor(1 + 2 * predicates + predicates - 1));
}

TEST(LargeRequest, ManyPredicatesBeforeAnotherStepAreTranslated) {
    constexpr int predicates = 5000;
    const Outcome outcome = run("a/b" + nested(predicates, "", "", "[c]") + "/d");
    EXPECT_EQ(outcome.number, 1);
    EXPECT_EQ(outcome.commands, commandsFor(3 + 2 * predicates + predicates - 1 + 2));
}

TEST(LargeRequest, IntersectionsOfManyPredicatesAreExecutedFromTheFirstOn) {
    constexpr int predicates = 100;
    run("a/b" + nested(predicates, "", "", "[c]") + "/d");
    const std::vector<std::string> &commands = FakeKernel::instance().commands();
    // 3 sets of the path, 2 of each predicate, then the set of d.
    std::int32_t held = 5;
    std::size_t command = 2 + 3 + 2 * predicates + 1;
    std::int32_t next = 3 + 2 * predicates + 2;
    for (int i = 1; i < predicates; ++i) {
        EXPECT_EQ(commands.at(command++), "FIND (S=" + std::to_string(5 + 2 * i) +
                                              " AND.T S=" + std::to_string(held) + ")");
        held = next++;
    }
    EXPECT_EQ(commands.at(command), "FIND XPATH(child," + std::to_string(held) + "," +
                                        std::to_string(3 + 2 * predicates + 1) + ",2)");
}

TEST(LargeRequest, ContainsWithALongPathIsTranslated) {
    constexpr int steps = 5000;
    const Outcome outcome = run("a[contains(" + nested(steps, "b/", "text()", "") + ",'x')]");
    EXPECT_EQ(outcome.number, 1);
    EXPECT_EQ(outcome.commands, commandsFor(1 + 1 + 2 * steps + 1));
}

TEST(LargeRequest, AComparisonOfALongPathIsTranslated) {
    constexpr int steps = 5000;
    const Outcome outcome = run("a[" + nested(steps, "b/", "@id", "") + "='x']");
    EXPECT_EQ(outcome.number, 1);
    EXPECT_EQ(outcome.commands, commandsFor(1 + 1 + 2 * steps + 1));
}

TEST(LargeRequest, APositionAtTheEndOfALongPathIsTranslated) {
    constexpr int steps = 5000;
    const Outcome outcome = run("a[" + nested(steps, "b/", "position()", "") + "=2]");
    EXPECT_EQ(outcome.number, 1);
    EXPECT_EQ(outcome.commands, commandsFor(1 + 2 * steps + 1));
}

TEST(LargeRequest, ALongCalculationIsRefused) {
    const Outcome outcome = run("a[" + nested(20000, "1+", "1", "") + "]");
    EXPECT_EQ(outcome.message, "Paired expressions are not yet fully implemented.");
}

TEST(LargeRequest, ANameOfAMegabyteIsSentWhole) {
    const std::string name(1 << 20, 'n');
    run(name);
    EXPECT_EQ(FakeKernel::instance().commands().at(2),
              "FIND N_TYPE=ELEMENT AND.T N_NAME=\"" + name + "\"");
}

}  // namespace
