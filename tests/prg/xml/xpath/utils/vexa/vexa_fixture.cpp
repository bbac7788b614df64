#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"

#include <filesystem>
#include <sstream>

const std::string banner = "ZARNxml Interactive XPath [server-side]\nVersion " VEXA_VERSION "\n\n";

const std::string welcome =
    "Welcome to ZARNxml/Vexa.\nUse semicolon (;) to terminate each request.\n";

const std::string usageText =
    "USAGE: Vexa <options>\n"
    "\n"
    "Options:\n"
    "   -u <username>    Name of user to access database as\n"
    "   -p <password>    Password for user\n"
    "   -l loglevel      Log level (0=off, 5=debug)\n"
    "   -f logfile       Output logging to this file.\n"
    "   -q               Quiet mode (no prompts or other messages\n"
    "   -i [<script>]    Execute script (from file or stdin) in batch mode\n"
    "   -e               Echo input script statements to stdout.\n"
    "   -?               Show usage information\n"
    "\n";

const std::string helpText =
    "Available Vexa-specific commands:\n"
    "  BYE              - Exit Vexa\n"
    "  BASE database    - Open specified database for search\n"
    "  XGET qry fspc    - Execute an XPath query and fetch the specified fragments\n"
    "  XFIND qry        - Execute an XPath query.\n"
    "  GO               - Execute statement - an alternative to ';'.\n"
    "  HELP             - Show Vexa help.\n"
    "  INPUT script.txt - Load and execute an XPath expression from a script.\n"
    "  [NO]EXECUTE      - Toggle execution of parsed XPath statements.\n"
    "  [NO]HIGHLIGHT    - Toggle highlighting of results.\n"
    "\n";

const std::string prompt = "Vexa[01]> ";

support::Command VexaTest::vexa(std::vector<std::string> arguments) const {
    support::Command command{VEXA_PROGRAM, std::move(arguments), environment_, {}};
    command.environment.insert(
        {{"LD_LIBRARY_PATH", RECORDING_KERNEL_DIR}, {"RECORDING_LOG", directory_ / "kernel.log"}});
    const std::string script = directory_ / "kernel.script";
    if (std::filesystem::exists(script)) command.environment["RECORDING_SCRIPT"] = script;
    return command;
}

support::Command VexaTest::quietVexa(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"-u", "ann", "-p", "secret", "-q"});
    return vexa(std::move(arguments));
}

support::ProgramResult VexaTest::run(std::vector<std::string> arguments,
                                     std::string_view input) const {
    return support::run(vexa(std::move(arguments)), input);
}

support::ProgramResult VexaTest::runStatements(std::string_view input) const {
    return support::run(quietVexa(), input);
}

support::ProgramResult VexaTest::runBatch(std::string_view script,
                                          std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"-i", directory_.write("batch.txt", script)});
    return support::run(quietVexa(std::move(arguments)));
}

void VexaTest::kernelAnswers(std::string_view directives) const {
    directory_.write("kernel.script", directives);
}

std::vector<std::string> VexaTest::kernelCalls() const {
    std::istringstream log(support::readFile(directory_ / "kernel.log"));
    std::vector<std::string> calls;
    for (std::string line; std::getline(log, line);)
        calls.push_back(line);
    return calls;
}

std::vector<std::string> VexaTest::kernelCalls(std::string_view entryPoint) const {
    std::vector<std::string> calls = kernelCalls();
    const std::string begin = std::string(entryPoint) + "(";
    std::erase_if(calls, [&](const std::string &line) { return !line.starts_with(begin); });
    return calls;
}

std::vector<std::string> VexaTest::kernelCommands() const {
    std::vector<std::string> commands = kernelCalls("ZdbExecuteCcl");
    for (std::string &line : commands) {
        const size_t begin = line.find('"') + 1;
        line = line.substr(begin, line.rfind('"') - begin);
    }
    return commands;
}

void expectResult(const support::ProgramResult &result, const std::string &out,
                  const std::string &err, int status) {
    EXPECT_EQ(result.out, out);
    EXPECT_EQ(result.err, err);
    EXPECT_EQ(result.ending, support::exited(status));
}

std::string session(const std::vector<std::string> &outputs) {
    std::string text = banner;
    for (const std::string &output : outputs)
        text += prompt + output;
    return text + prompt;
}
