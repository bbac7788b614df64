// Commands: whatever the text, it is a command or a Failure, and nothing else.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zdbs/base/status.h"
#include "zdbs/language/command_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    try {
        zdbs::parseCommand(text);
    } catch (const zdbs::Failure &) {
        // A clear refusal.
    }
    return 0;
}
