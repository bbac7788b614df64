/** Vexa, the XPath query shell: start-up, the statement loop, the exit status. */
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "foundation/process_limits.h"
#include "foundation/standard_descriptors.h"
#include "prg/xml/xpath/utils/vexa/command_interpreter.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/options.h"
#include "prg/xml/xpath/utils/vexa/terminal.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

constexpr int usageError = 1;
constexpr int lostInput = 1;
constexpr int noMemory = 1;
constexpr int unreadableScript = 2;

void printBanner() {
    std::puts("ZARNxml Interactive XPath [server-side]");
    std::puts("Version " VEXA_VERSION "\n");
}

/** The answers to the prompts; the options point to them. */
struct Answers {
    std::unique_ptr<char[]> user;
    std::unique_ptr<char[]> password;
};

/** False when one of both is still missing, because the user cancelled. */
bool askForCredentials(Options &options, Answers &answers) {
    if (options.user == nullptr) {
        answers.user = Vexa::prompt("Username", nullptr, false, true);
        options.user = answers.user.get();
    }
    if (options.password == nullptr) {
        answers.password = Vexa::prompt("Password", nullptr, true, false);
        options.password = answers.password.get();
    }
    return options.user != nullptr && options.password != nullptr;
}

/** With the level off, a log file keeps the level that it was opened with. */
void setUpLogger(Options &options) {
    if (options.logLevel == LL_OFF) return;
    if (options.logger == nullptr) {
        options.logger = std::make_unique<ZfxFileLogger>();
        options.logger->SetFile(stdout);
    }
    options.logger->SetLogLevel(options.logLevel);
}

std::unique_ptr<Vexa> connect(const Options &options) {
    char host[256] = "";
    if (options.host != nullptr) {
        std::strncpy(host, options.host, sizeof host - 1);
    } else {
        gethostname(host, sizeof host - 1);
    }
    auto vexa = std::make_unique<Vexa>(options.user, options.password, options.quiet, host,
                                       options.logger.get());
    // From here on neither the arguments nor the memory show the password.
    explicit_bzero(options.password, std::strlen(options.password));
    return vexa;
}

int runSession(const Options &options) {
    const std::unique_ptr<Vexa> vexa = connect(options);
    if (vexa->isConnected() && !options.quiet) {
        std::puts("Welcome to ZARNxml/Vexa.\nUse semicolon (;) to terminate each request.");
    }
    vexa->setEcho(options.echo);
    if (vexa->isConnected() && !options.useInput && isEditedTerminal())
        vexa->editLines(options.quiet);
    const bool ready = vexa->setUseInput(options.useInput, options.inputFile, false);
    if (ready) CommandInterpreter(*vexa, options.useInput).run();
    vexa->close();
    if (ready && !vexa->lostInput()) return 0;
    return options.inputFile != nullptr ? unreadableScript : lostInput;
}

int runProgram(int argc, char **argv) {
    printBanner();
    Options options;
    if (const auto status = parseOptions(argc, argv, options)) return *status;
    if (options.host != nullptr && !options.quiet) {
        std::puts("Hostname argument ignored - only usable with client-side version.");
    }
    Answers answers;
    if (!askForCredentials(options, answers)) {
        Vexa::usage();
        return usageError;
    }
    setUpLogger(options);
    return runSession(options);
}

/** Where there is no memory to begin with. The session itself goes on without some. */
int runInMemory(int argc, char **argv) try {
    return runProgram(argc, argv);
} catch (const std::bad_alloc &) {
    std::fputs("ERROR: Not enough memory.\n", stderr);
    return noMemory;
}

}  // namespace

int main(int argc, char **argv) {
    occupyStandardDescriptors();
    standUpToProcessLimits();
    std::setlocale(LC_CTYPE, "");  // the character set; nothing else is taken from the locale
    installSignalHandlers();
    const int status = runInMemory(argc, argv);
    return flushOutput() ? status : 1;
}
