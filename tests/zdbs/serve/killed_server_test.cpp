/**
 * A server that is killed under writers: in the midst of a change of a file, and by others at any
 * moment. What it had answered is there, and of what it had not, all or nothing. VEXA_KILLS says
 * how often, VEXA_SEED when.
 */
#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <map>
#include <optional>
#include <thread>

#include "tests/robustness/interrupt.h"
#include "tests/support/choices.h"
#include "tests/zdbs/serve/served_home.h"

namespace zdbs::serve {
namespace {

using support::Choices;
using Documents = std::map<std::string, std::string>;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long fewKills = 4;  // everything takes several times as long
const std::vector<const char *> fewMoments = {"after"};
#else
constexpr long fewKills = 16;
const std::vector<const char *> fewMoments = {"before", "within", "after"};
#endif

constexpr std::string_view place = "/v1/databases/plays/documents";

/** Changes documents of its own, one request after the other, until nobody answers. */
class Writer {
public:
    Writer(std::string name, std::uint32_t seed) : name_(std::move(name)), choices_(seed) {}

    void run(const std::string &address, std::atomic<long> &answered) {
        HttpClient client(address);
        for (;;) {
            const std::string request = nextChange();
            const Response response = client.ask(request);
            if (response.status == 0) return;
            EXPECT_EQ(response.status / 100, 2U) << response.body;
            if (response.status / 100 != 2) return;
            kept_ = *std::exchange(pending_, std::nullopt);
            ++answered;
        }
    }

    /** The change whose answer did not come has happened or has not. */
    void settle(const Documents &found) {
        Documents own;
        std::copy_if(found.begin(), found.end(), std::inserter(own, own.end()),
                     [&](const auto &each) { return each.first.starts_with(name_); });
        EXPECT_TRUE(own == kept_ || own == pending_) << name_;
        kept_ = own;
        pending_.reset();
    }

private:
    std::string nextChange() {
        pending_ = kept_;
        const std::string document = name_ + std::to_string(choices_() % 4);
        const bool isThere = kept_.contains(document);
        const auto kind = choices_() % 4;
        if (kind == 0 && isThere) return removal(document);
        if (kind == 1) return batch(document);
        const std::string text = nextText();
        (*pending_)[document] = text;
        return changeText("PUT", '/' + document, text, "application/xml");
    }

    std::string removal(const std::string &document) {
        pending_->erase(document);
        return requestText("DELETE", std::string(place) + '/' + document, loginOf("writer"));
    }

    /** Two new ones, and one that goes, where it is there. */
    std::string batch(const std::string &document) {
        std::string query;
        if (pending_->erase(document) > 0) query = "?remove=" + document;
        std::string archive;
        for (const char *suffix : {"-a", "-b"}) {
            const std::string text = nextText();
            (*pending_)[document + suffix] = text;
            archive += packed(document + suffix, text);
        }
        return changeText("POST", query, archive + std::string(1024, '\0'), "application/x-tar");
    }

    static std::string changeText(std::string_view method, const std::string &target,
                                  const std::string &body, const std::string &type) {
        return requestText(method, std::string(place) + target,
                           loginOf("writer") + "Content-Type: " + type + "\r\n", body);
    }

    std::string nextText() {
        const std::size_t size = choices_() % 8 == 0 ? choices_() % 300000 : choices_() % 300;
        return "<d n=\"" + std::to_string(++count_) + "\">" + std::string(size + 1, 'x') + "</d>\n";
    }

    /** As ustar (POSIX.1-1988) has a file: a head of 512 bytes, and blocks of as many. */
    static std::string packed(const std::string &name, const std::string &content) {
        std::string head(512, '\0');
        const auto put = [&](std::size_t begin, const std::string &text) {
            std::copy(text.begin(), text.end(), head.begin() + static_cast<long>(begin));
        };
        const auto octal = [](std::size_t number, int digits) {
            std::array<char, 16> text{};
            std::snprintf(text.data(), text.size(), "%0*zo", digits, number);
            return std::string(text.data());
        };
        put(0, name);
        put(100, "0000644");
        put(124, octal(content.size(), 11));
        put(136, octal(0, 11));
        put(148, "        ");
        put(156, "0");
        put(257, std::string("ustar\00000", 8));
        std::size_t sum = 0;
        for (const unsigned char each : head)
            sum += each;
        put(148, octal(sum, 6) + '\0');
        return head + content + std::string((512 - content.size() % 512) % 512, '\0');
    }

    std::string name_;
    Choices choices_;
    Documents kept_;
    std::optional<Documents> pending_;
    int count_ = 0;
};

/** Loads beside the server, by the program; all of it has happened when that ends. */
class Loader {
public:
    void run(const ServedHome &home, const std::atomic<bool> &isOver) {
        while (!isOver) {
            const std::string name = "beside" + std::to_string(kept_.size());
            const std::string text = "<beside/>\n";
            home.run({"load", "plays", "-", "--name", name}, text);
            kept_[name] = text;
        }
    }

    void expectIn(const Documents &found) const {
        for (const auto &each : kept_)
            EXPECT_EQ(found.count(each.first), 1U) << each.first;
    }

private:
    Documents kept_;
};

class KilledServer : public ::testing::Test {
protected:
    /** Runs a server until it is dead, with writers at it. Nothing where it does not come up. */
    void runToDeath(Choices &choices, bool dies) {
        const std::string address = "unix:" + home_.path("socket");
        support::Command command = home_.command({"serve", "--listen", address});
        command.arguments.insert(command.arguments.end(), {"--log", home_.path("log")});
        command.program = INTERRUPTED_SERVER;
        if (dies) {
            command.environment[robustness::killAtVariable] = std::to_string(choices() % 600 + 10);
            constexpr const char *moments[] = {"before", "within", "after"};
            command.environment[robustness::killWhenVariable] = moments[choices() % 3];
        }
        support::PipedProgram server(command);
        ASSERT_TRUE(server.waitForOutput(address + '\n'));
        const long most = static_cast<long>(choices() % 60) + 1;
        std::atomic<bool> isOver = false;
        std::atomic<long> answered = 0;
        std::vector<std::thread> threads;
        for (Writer &writer : writers_)
            threads.emplace_back([&] { writer.run(address, answered); });
        std::thread beside([&] { loader_.run(home_, isOver); });
        while (!dies && answered < most)
            std::this_thread::yield();
        if (!dies) server.signal(SIGKILL);
        EXPECT_EQ(server.finish().ending, support::killedBy(SIGKILL));
        isOver = true;
        for (std::thread &thread : threads)
            thread.join();
        beside.join();
        answered_ += answered;
    }

    Documents documentsIn(const Server &server) const {
        Documents found;
        const auto bodyOf = [&](const std::string &target) {
            const Response response =
                server.get(target, "reader", "Accept: text/plain, application/xml\r\n");
            EXPECT_EQ(response.status, 200U) << target << response.body;
            return response.body;
        };
        const std::string names = bodyOf(std::string(place));
        for (std::size_t begin = 0; begin < names.size();) {
            const std::size_t end = names.find('\n', begin);
            const std::string name = names.substr(begin, end - begin);
            found[name] = bodyOf(std::string(place) + '/' + name);
            begin = end + 1;
        }
        return found;
    }

    ServedHome home_;
    std::vector<Writer> writers_;
    Loader loader_;
    long answered_ = 0;
};

TEST_F(KilledServer, HasDoneWhatItAnsweredAndNothingByHalf) {
    const auto seed = static_cast<std::uint32_t>(support::numberIn("VEXA_SEED", 1));
    Choices choices(seed);
    const long kills = support::numberIn("VEXA_KILLS", fewKills);
    for (const char *name : {"anna", "bert", "cora"})
        writers_.emplace_back(name, choices());
    for (long i = 0; i < kills && !HasFailure(); ++i) {
        SCOPED_TRACE("kill " + std::to_string(i) + ", seed " + std::to_string(seed));
        runToDeath(choices, i % 2 == 0);
        const Server server(home_);
        const Documents found = documentsIn(server);
        for (Writer &writer : writers_)
            writer.settle(found);
        loader_.expectIn(found);
        const auto checked = support::run(home_.command({"check", "plays"}));
        EXPECT_EQ(checked.ending, support::exited(0)) << checked.out << checked.err;
    }
    EXPECT_GT(answered_, kills);
    std::printf("%ld kills, %ld changes answered\n", kills, answered_);
}

/**
 * Those who die behind the last write of a commit have not noted it where others look. Whoever has
 * the database open and writes next goes on from it all the same.
 */
TEST_F(KilledServer, GoesOnFromWhatOthersLeftThatWereKilled) {
    const Server server(home_);
    int died = 0;
    for (const char *when : fewMoments) {
        support::ProgramResult loaded;
        for (long change = 1; loaded.ending != support::exited(0); ++change) {
            const std::string name = when + std::to_string(change);
            ASSERT_EQ(server.get("/v1/databases/plays/query?q=//a").status, 200U) << "it is open";
            support::Command load = home_.command({"load", "plays", "-", "--name", name});
            load.program = INTERRUPTED_ZDBS;
            load.environment[robustness::killAtVariable] = std::to_string(change);
            load.environment[robustness::killWhenVariable] = when;
            loaded = support::run(load, "<a><b/></a>");
            died += loaded.ending == support::killedBy(SIGKILL);
            const Response put = server.send("PUT", std::string(place) + "/own" + name, "<own/>");
            ASSERT_EQ(put.status, 201U) << name << put.body;
            const auto checked = support::run(home_.command({"check", "plays"}));
            ASSERT_EQ(checked.ending, support::exited(0)) << name << checked.out << checked.err;
        }
    }
    EXPECT_GT(died, 5);
}

}  // namespace
}  // namespace zdbs::serve
