#include "prg/xml/xpath/utils/vexa/options.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "foundation/keyword.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

/** The arguments that are still to be read. */
class Arguments {
public:
    Arguments(int argc, char **argv) : left_(argc - 1), next_(argv + 1) {}

    /** Null when there is none left. */
    char *take() {
        if (left_ < 1) return nullptr;
        --left_;
        return *next_++;
    }
    /** The script of "-i": an argument that is no option. */
    char *takeUnlessOption() { return left_ > 0 && **next_ != '-' ? take() : nullptr; }

private:
    int left_;
    char **next_;
};

tagELogLevel logLevel(const char *text) {
    const int level = std::atoi(text);
    return level >= LL_OFF && level <= LL_DEBUG ? static_cast<tagELogLevel>(level) : LL_OFF;
}

/** A link that another user put there leads where that user wants the file to be emptied. */
bool isForeignLink(const char *name) {
    struct stat file {};
    return ::lstat(name, &file) == 0 && S_ISLNK(file.st_mode) && file.st_uid != ::geteuid() &&
           file.st_uid != 0;
}

/** Works at the level known so far: with the level off, no log file can be opened. */
std::optional<int> openLogFile(const char *name, Options &options) {
    options.logger = std::make_unique<ZfxFileLogger>();
    options.logger->SetLogLevel(options.logLevel);
    if (!isForeignLink(name) && options.logger->SetFile(name, "w")) return std::nullopt;
    printError("ERROR: Cannot open log file \"%s\" for writing.\n", name);
    return 1;
}

/** The options that take an argument; without one they are ignored. */
std::optional<int> applyArgument(std::string_view option, char *argument, Options &options) {
    if (argument == nullptr) return std::nullopt;
    if (equalsNoCase(option, "-h")) options.host = argument;
    if (equalsNoCase(option, "-u")) options.user = argument;
    if (equalsNoCase(option, "-p")) options.password = argument;
    if (equalsNoCase(option, "-l")) options.logLevel = logLevel(argument);
    if (equalsNoCase(option, "-f")) return openLogFile(argument, options);
    return std::nullopt;
}

bool takesArgument(std::string_view option) {
    for (const char *known : {"-h", "-u", "-p", "-l", "-f"}) {
        if (equalsNoCase(option, known)) return true;
    }
    return false;
}

/** The options that stand alone, and "-i"; false when there is no such option. */
bool applyFlag(std::string_view option, Arguments &arguments, Options &options) {
    if (equalsNoCase(option, "-q")) return options.quiet = true;
    if (equalsNoCase(option, "-e")) return options.echo = true;
    if (!equalsNoCase(option, "-i")) return false;
    if (char *script = arguments.takeUnlessOption()) options.inputFile = script;
    return options.useInput = true;
}

std::optional<int> applyOption(std::string_view option, Arguments &arguments, Options &options) {
    const bool help = equalsNoCase(option, "-?") || equalsNoCase(option, "--help");
    if (!help && takesArgument(option)) return applyArgument(option, arguments.take(), options);
    if (!help && applyFlag(option, arguments, options)) return std::nullopt;
    Vexa::usage();
    return help ? 0 : 1;
}

}  // namespace

std::optional<int> parseOptions(int argc, char **argv, Options &options) {
    Arguments arguments(argc, argv);
    while (const char *option = arguments.take()) {
        if (const auto status = applyOption(option, arguments, options)) return status;
    }
    return std::nullopt;
}
