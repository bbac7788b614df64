// The server as a program of its own, started by `zdbs serve`: the libraries of its protocols are
// not loaded for other commands, which start sooner without them and with less memory.
#include <string>
#include <string_view>

#include "foundation/process_limits.h"
#include "foundation/standard_descriptors.h"
#include "zdbs/admin/command_line.h"
#include "zdbs/admin/output.h"
#include "zdbs/serve/serve.h"

namespace {

bool serveHome(const zdbs::admin::HomeChoice &home, const zdbs::serve::Settings &settings) {
    zdbs::serve::serve(home.location(), settings, [](std::string_view address) {
        zdbs::admin::writeOutput(std::string(address) + '\n');
        zdbs::admin::finishOutput();
    });
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    occupyStandardDescriptors();
    standUpToProcessLimits();
    return zdbs::admin::runCommandLine(argc, argv, serveHome);
}
