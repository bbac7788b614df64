/** A fresh home in a directory of its own, with one database. */
#ifndef TESTS_ZDBS_EMBEDDED_STORE_TEST_HOME_H
#define TESTS_ZDBS_EMBEDDED_STORE_TEST_HOME_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tests/support/temporary_directory.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/committed_state.h"

namespace zdbs::embedded {

struct TestHome {
    TestHome() { home->createDatabase("db"); }

    support::TemporaryDirectory directory;
    std::shared_ptr<Home> home = Home::create(directory.path() / "home");
};

/** The nodes of a database of one part in its newest state, which it holds. */
inline std::shared_ptr<const Snapshot> snapshotOf(const Home &home,
                                                  std::string_view database = "db") {
    const auto state = home.state(database);
    return {state, state->parts().front().get()};
}

/** The status that `work` fails with, ok when it does not; and the sentence, when asked for. */
inline Status statusOf(const std::function<void()> &work, std::string *sentence = nullptr) {
    try {
        work();
        return Status::ok;
    } catch (const Failure &failure) {
        if (sentence) *sentence = failure.what();
        return failure.status();
    }
}

}  // namespace zdbs::embedded

#endif
