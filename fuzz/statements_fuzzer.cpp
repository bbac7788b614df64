// Scripts: whatever the bytes, the statements are carried out one after the other, and the loop
// ends. The kernel is the one of the tests that answers everything.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>

#include "fuzz/fuzzing.h"
#include "prg/xml/xpath/utils/vexa/command_interpreter.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

/** Nothing to type, and nobody who reads. */
bool isolate() {
    return std::freopen("/dev/null", "r", stdin) != nullptr &&
           std::freopen("/dev/null", "w", stdout) != nullptr;
}

/** A file in memory, and the name that it is opened by. */
class Script {
public:
    explicit Script(std::string_view text) : file_(::memfd_create("script", 0)) {
        fuzzing::require(
            ::write(file_, text.data(), text.size()) == static_cast<ssize_t>(text.size()),
            "The script cannot be written.");
    }
    ~Script() { ::close(file_); }
    Script(const Script &) = delete;
    Script &operator=(const Script &) = delete;

    std::string name() const { return "/proc/self/fd/" + std::to_string(file_); }

private:
    int file_;
};

/** Whether another file may be read, behind which the terminal is asked for ever. */
bool mayLeave(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text.find("INPUT") != std::string::npos;
}

}  // namespace

void fuzz(fuzzing::Bytes input) {
    static const bool isIsolated = isolate();
    const std::string text(fuzzing::textOf(input));
    if (!isIsolated || mayLeave(text)) return;
    const Script script(text + "\n;\nBYE;\n");  // who is in a statement waits for its end
    Vexa vexa("user", "password", true, "host", nullptr);
    vexa.setEcho(true);
    fuzzing::require(vexa.setUseInput(true, script.name().c_str(), false), "No script.");
    CommandInterpreter(vexa, false).run();
}
