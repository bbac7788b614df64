/** The real shell on the recording kernel, in a directory of its own. */
#ifndef TESTS_PRG_XML_XPATH_UTILS_VEXA_VEXA_FIXTURE_H
#define TESTS_PRG_XML_XPATH_UTILS_VEXA_VEXA_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"

/** What every run prints first. */
extern const std::string banner;
extern const std::string welcome;
extern const std::string usageText;
extern const std::string helpText;

/** "Vexa[01]> " */
extern const std::string prompt;

class VexaTest : public ::testing::Test {
protected:
    /** The shell with these arguments; RECORDING_LOG and RECORDING_SCRIPT are set. */
    support::Command vexa(std::vector<std::string> arguments) const;

    /** The same with a user, a password and -q in front. */
    support::Command quietVexa(std::vector<std::string> arguments = {}) const;

    support::ProgramResult run(std::vector<std::string> arguments,
                               std::string_view input = {}) const;

    /** Statements on standard input as if from a terminal: with prompts. */
    support::ProgramResult runStatements(std::string_view input) const;

    /** A batch: a script file that is run with -i. */
    support::ProgramResult runBatch(std::string_view script,
                                    std::vector<std::string> arguments = {}) const;

    /** What the kernel answers; see tests/kernel/recording/recording_script.h. */
    void kernelAnswers(std::string_view directives) const;

    /** All calls of the kernel that have been recorded, a line each. */
    std::vector<std::string> kernelCalls() const;

    /** The calls of one entry point. */
    std::vector<std::string> kernelCalls(std::string_view entryPoint) const;

    /** The commands sent with ZdbExecuteCcl, as the log writes them. */
    std::vector<std::string> kernelCommands() const;

    support::TemporaryDirectory directory_;
    /** Added to the environment of every run. */
    std::map<std::string, std::string> environment_;
};

/** Output, errors and status at once. */
void expectResult(const support::ProgramResult &result, const std::string &out,
                  const std::string &err, int status = 0);

/** What a quiet session prints when these are the outputs of its statements. */
std::string session(const std::vector<std::string> &outputs);

#endif
