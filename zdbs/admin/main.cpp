#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "foundation/process_limits.h"
#include "foundation/standard_descriptors.h"
#include "zdbs/admin/command_line.h"
#include "zdbs/base/status.h"

namespace {

/** Goes on as the server beside this program, with the same words. Returns only by a Failure. */
[[noreturn]] void becomeServer(char **argv) {
    std::error_code error;
    const auto server =
        std::filesystem::read_symlink("/proc/self/exe", error).replace_filename("zdbs-serve");
    if (!error) ::execv(server.c_str(), argv);
    throw zdbs::Failure(
        zdbs::Status::storeFailed,
        {server.native(), std::system_category().message(error ? error.value() : errno)});
}

}  // namespace

int main(int argc, char **argv) {
    occupyStandardDescriptors();
    standUpToProcessLimits();
    const auto serve = [argv](const zdbs::admin::HomeChoice &,
                              const zdbs::serve::Settings &) -> bool { becomeServer(argv); };
    return zdbs::admin::runCommandLine(argc, argv, serve);
}
