// Documents: whatever the bytes, they load or are refused, and the writer goes on.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "zdbs/base/status.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"

namespace {

/** A home of this run; nothing is ever committed to it. */
class ScratchHome {
public:
    ScratchHome() {
        std::string pattern = (std::filesystem::temp_directory_path() / "fuzzXXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
        home_ = zdbs::embedded::Home::create(path_ / "home");
        home_->createDatabase("fuzz");
    }
    ~ScratchHome() {
        home_.reset();
        std::filesystem::remove_all(path_);
    }

    std::unique_ptr<zdbs::embedded::Writer> write() { return home_->write("fuzz"); }

private:
    std::filesystem::path path_;
    std::shared_ptr<zdbs::embedded::Home> home_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static ScratchHome home;
    const auto writer = home.write();
    const auto input = zdbs::openText({reinterpret_cast<const char *>(data), size});
    try {
        zdbs::Loader(*writer).load(*input, "input", "document");
    } catch (const zdbs::Failure &) {
        // A clear refusal.
    }
    return 0;
}
