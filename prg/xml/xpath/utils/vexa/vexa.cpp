#include "prg/xml/xpath/utils/vexa/vexa.h"

#include <cstdio>

#include "prg/xml/xpath/utils/vexa/kernel_text.h"
#include "prg/xml/xpath/utils/vexa/line_editor.h"

namespace {

// What a kernel is told at the login about its caller.
constexpr int32_t interfaceLevel = 9;
constexpr int32_t bufferSize = 4096;

}  // namespace

Vexa::Vexa(const char *user, const char *password, bool /*quiet*/, const char * /*host*/,
           IZfxLogger *logger)
    : m_pLogger(logger) {
    login(user, password);
}

Vexa::~Vexa() {
    resetInput();
    close();
}

void Vexa::close() {
    if (m_bSession) ZdbStopZarn(0);
    m_bSession = false;
}

void Vexa::login(const char *user, const char *password) {
    const int32_t status = ZdbStartZarn(user, password, interfaceLevel, bufferSize);
    m_bSession = succeeded(status);
    if (m_bSession) return;
    char message[256 + 1];
    fetchMessage(status, message, 256);
    std::printf("Error #%d: %s\n", status, message);
}

void Vexa::usage() {
    std::puts("USAGE: Vexa <options>\n");
    std::puts("Options:");
    std::puts("   -u <username>    Name of user to access database as");
    std::puts("   -p <password>    Password for user");
    std::puts("   -l loglevel      Log level (0=off, 5=debug)");
    std::puts("   -f logfile       Output logging to this file.");
    std::puts("   -q               Quiet mode (no prompts or other messages");
    std::puts("   -i [<script>]    Execute script (from file or stdin) in batch mode");
    std::puts("   -e               Echo input script statements to stdout.");
    std::puts("   -?               Show usage information\n");
}
