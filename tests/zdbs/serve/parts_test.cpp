/** The parts of the server by themselves. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temporary_directory.h"
#include "zdbs/base/status.h"
#include "zdbs/serve/media_type.h"
#include "zdbs/serve/problem.h"
#include "zdbs/serve/proofs.h"
#include "zdbs/serve/request.h"
#include "zdbs/serve/settings.h"
#include "zdbs/serve/target.h"
#include "zdbs/serve/work_queue.h"

namespace zdbs::serve {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(Target, IsDecodedOnceAndStrictly) {
    const auto target = parseTarget("/a%2Fb/c%20d/%25?q=a+b%2B&x&q=2&=none");
    ASSERT_TRUE(target);
    EXPECT_THAT(target->steps, ElementsAre("a/b", "c d", "%"));
    EXPECT_EQ(*target->parameter("q"), "a b+");
    EXPECT_THAT(target->all("q"), ElementsAre("a b+", "2"));
    EXPECT_EQ(*target->parameter("x"), "");
    EXPECT_EQ(target->parameter("y"), nullptr);
}

TEST(Target, ThatIsNotWellFormedIsNone) {
    for (const char *text :
         {"", "a", "*", "http://a/b", "/%", "/%4", "/%zz", "/%00", "/a?q=%00", "/%ff", "/a?q=%c3",
          "/..", "/a/../b", "/%2e%2e/a", "/.", "/a b", "/a\tb", "/a?b c"})
        EXPECT_FALSE(parseTarget(text)) << text;
}

struct Choice {
    const char *accept;
    std::optional<Form> form;
};

TEST(MediaType, IsTheOneThatIsLikedBest) {
    constexpr Form offered[] = {Form::json, Form::csv, Form::xml};
    const std::vector<Choice> choices = {{"", Form::json},
                                         {"*/*", Form::json},
                                         {"text/csv", Form::csv},
                                         {"TEXT/CSV", Form::csv},
                                         {"text/*", Form::csv},
                                         {"text/xml", Form::xml},
                                         {"application/xml;q=0.5, text/csv;q=0.4", Form::xml},
                                         {"application/json;q=0, */*", Form::csv},
                                         {"*/*;q=0.1, application/xml", Form::xml},
                                         {"text/html, application/xml;q=0.9, */*;q=0.8", Form::xml},
                                         {"text/plain", std::nullopt},
                                         {"application/json;q=0", std::nullopt},
                                         {"image/png, video/*", std::nullopt}};
    for (const auto &[accept, form] : choices)
        EXPECT_EQ(preferredForm(accept, offered), form) << accept;
}

TEST(Credentials, AreThoseOfTheBasicScheme) {
    const auto pair = credentialsIn("Basic QWxhZGRpbjpvcGVuOnNlc2FtZQ==");
    ASSERT_TRUE(pair);
    EXPECT_EQ(pair->user, "Aladdin");
    EXPECT_EQ(pair->password, "open:sesame");
    EXPECT_EQ(credentialsIn("basic  QTo=")->password, "");
    for (const char *text : {"", "Basic", "Bearer QTpi", "Basic !!!!", "Basic QQ==", "QTpi"})
        EXPECT_FALSE(credentialsIn(text)) << text;
}

TEST(Proofs, HoldForOneStateOfTheUsers) {
    Proofs proofs;
    const auto proof = proofs.of("ann", "secret");
    EXPECT_FALSE(proofs.holds(proof, 1));
    proofs.add(proof, 1);
    EXPECT_TRUE(proofs.holds(proof, 1));
    EXPECT_FALSE(proofs.holds(proofs.of("ann", "Secret"), 1));
    EXPECT_FALSE(proofs.holds(proofs.of("anns", "ecret"), 1));
    EXPECT_FALSE(proofs.holds(proof, 2));
    EXPECT_FALSE(proofs.holds(proof, 1)) << "what is forgotten stays so";
}

TEST(Proofs, AreNotKeptWhereNobodyKnowsTheState) {
    Proofs proofs;
    proofs.add(proofs.of("ann", "secret"), 0);
    EXPECT_FALSE(proofs.holds(proofs.of("ann", "secret"), 0));
}

TEST(Proofs, GiveWayToThoseThatAreUsed) {
    Proofs proofs(2);
    const auto a = proofs.of("a", "");
    const auto b = proofs.of("b", "");
    proofs.add(a, 1);
    proofs.add(b, 1);
    EXPECT_TRUE(proofs.holds(a, 1));
    proofs.add(proofs.of("c", ""), 1);
    EXPECT_TRUE(proofs.holds(a, 1));
    EXPECT_FALSE(proofs.holds(b, 1));
}

TEST(Proofs, AreOfOneProcessOnly) {
    EXPECT_NE(Proofs().of("a", "b"), Proofs().of("a", "b"));
}

TEST(Settings, AreThoseOfTheCommandLineThenOfTheFile) {
    const support::TemporaryDirectory directory;
    Settings settings;
    settings.file = directory.write("limits", "# of a test\ntime = 7\n\n  body=2 # small\n");
    settings.given = {{"body", 3}};
    const Limits limits = limitsOf(settings);
    EXPECT_EQ(limits.time, 7U);
    EXPECT_EQ(limits.body, 3U);
    EXPECT_EQ(limits.stall, Limits().stall);
}

TEST(Settings, ThatCannotBeAreToldWithTheirLine) {
    for (const char *text : {"tim = 1", "time", "time = ", "time = x", "time = 0", "time = -1",
                             "time = 1 2", "header = 99999999"}) {
        Limits limits;
        try {
            readLimits(std::string("\n") + text, "file", limits);
            ADD_FAILURE() << text;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::badSetting);
            EXPECT_THAT(failure.what(), HasSubstr("file:2"));
        }
    }
}

TEST(Limits, AreAllOnThePageWithWhatTheyAreByThemselves) {
    const std::string page = support::readFile(ZDBS_SERVING_PAGE);
    for (const LimitRow &row : limitTable()) {
        const std::string line =
            "| `--" + std::string(row.name) + "` | " + std::to_string(Limits().*row.value) + " | ";
        EXPECT_THAT(page, HasSubstr(line + row.description + " |"));
    }
}

TEST(Problem, HidesWhatIsTheMachines) {
    const Problem problem(Failure(Status::homeUnreadable, {"/srv/home", "denied"}));
    EXPECT_EQ(problem.http(), 500U);
    EXPECT_EQ(std::string(problem.what()).find("/srv"), std::string::npos);
}

TEST(Problem, HasAReasonForEveryStatus) {
    for (const StatusRow &row : statusTable()) {
        if (row.status == Status::ok) continue;
        EXPECT_NE(reasonOf(Problem(Failure(row.status)).http()), "") << row.name;
    }
}

TEST(Body, IsTheSameInMemoryAndInAFile) {
    for (const std::size_t size : {std::size_t{10}, std::size_t{3} << 20U}) {
        Body body;
        const std::string half(size / 2, 'x');
        body.append(half);
        body.append(half);
        EXPECT_EQ(body.size(), size);
        EXPECT_EQ(body.text(), half + half);
        EXPECT_EQ(support::readFile(body.asFile()), half + half);
    }
}

TEST(WorkQueue, RefusesWhatDoesNotFitInTheLine) {
    std::mutex gate;
    std::size_t done = 0;
    {
        WorkQueue queue(1, 1);
        gate.lock();
        EXPECT_TRUE(queue.add([&] {
            const std::lock_guard lock(gate);
            ++done;
        }));
        EXPECT_TRUE(queue.add([&] { ++done; }));
        while (queue.running() == 0)
            std::this_thread::yield();
        const bool fits = queue.add([&] { ++done; });
        EXPECT_FALSE(fits);
        gate.unlock();
    }
    EXPECT_EQ(done, 2U);
}

TEST(WorkQueue, GivesThreadsOutsideTheirTurnAmongItsOwn) {
    std::atomic<std::size_t> atOnce = 0;
    std::atomic<std::size_t> most = 0;
    std::atomic<std::size_t> done = 0;
    const auto work = [&] {
        const std::size_t now = ++atOnce;
        for (std::size_t known = most; known < now && !most.compare_exchange_weak(known, now);) {
        }
        std::this_thread::yield();
        --atOnce;
        ++done;
    };
    constexpr std::size_t each = 500;
    {
        WorkQueue queue(2, 10 * each);
        std::vector<std::thread> outside;
        for (int i = 0; i < 4; ++i)
            outside.emplace_back([&] {
                for (std::size_t call = 0; call < each; ++call) {
                    ASSERT_TRUE(queue.enter());
                    work();
                    queue.leave();
                }
            });
        for (std::size_t i = 0; i < each; ++i)
            EXPECT_TRUE(queue.add(work));
        for (std::thread &thread : outside)
            thread.join();
    }
    EXPECT_EQ(done, 5 * each);
    EXPECT_LE(most, 2U);
}

TEST(WorkQueue, RefusesThreadsOutsideWhenTheLineIsFull) {
    WorkQueue queue(1, 0);
    EXPECT_TRUE(queue.enter());
    EXPECT_FALSE(queue.enter());
    EXPECT_FALSE(queue.add([] {}));
    queue.leave();
    EXPECT_TRUE(queue.enter());
    queue.leave();
}

}  // namespace
}  // namespace zdbs::serve
