// Documents: whatever the bytes, they load or are refused, and the writer goes on.
#include "fuzz/fuzzing.h"
#include "tests/support/temporary_directory.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"

namespace {

/** A home of this run; nothing is ever committed to it. */
class ScratchHome {
public:
    ScratchHome() { home_->createDatabase("fuzz"); }

    std::unique_ptr<zdbs::embedded::Writer> write() { return home_->write("fuzz"); }

private:
    support::TemporaryDirectory directory_;
    std::shared_ptr<zdbs::embedded::Home> home_ =
        zdbs::embedded::Home::create(directory_.path() / "home");
};

}  // namespace

void fuzz(fuzzing::Bytes bytes) {
    static ScratchHome home;
    const auto writer = home.write();
    const auto input = zdbs::openText(fuzzing::textOf(bytes));
    fuzzing::isRefused([&] { zdbs::Loader(*writer).load(*input, "input", "document"); });
}
