/** Runs a program on pipes. */
#ifndef TESTS_SUPPORT_PIPED_PROGRAM_H
#define TESTS_SUPPORT_PIPED_PROGRAM_H

#include <string>
#include <string_view>

#include "tests/support/child_process.h"

namespace support {

struct ProgramResult {
    std::string out;
    std::string err;
    Ending ending;
};

/**
 * A program whose standard streams are pipes. Nothing here sleeps: every wait is for a text or for
 * the end of the program, and gives up after support::patience. The destructor kills and reaps
 * a program that still runs.
 */
class PipedProgram {
public:
    /** Where standard error goes: a pipe of its own, or into standard output, in order. */
    enum class Errors { apart, merged };

    explicit PipedProgram(const Command &command, Errors errors = Errors::apart);
    ~PipedProgram();
    PipedProgram(const PipedProgram &) = delete;
    PipedProgram &operator=(const PipedProgram &) = delete;

    /** Feeds standard input, reading the outputs meanwhile; false when the program closed it. */
    bool send(std::string_view text);
    void closeInput();
    void closeOutput();
    void signal(int number) const;

    /** What has been read of standard output. */
    const std::string &output() const { return outText_; }
    pid_t pid() const { return child_; }

    /** Reads until standard output as a whole contains the text; false at its end or too late. */
    bool waitForOutput(std::string_view text);
    bool waitForError(std::string_view text);

    /** Reads both outputs to their ends and waits for the program. */
    ProgramResult finish();

private:
    bool waitFor(const std::string &where, std::string_view text);
    bool readSome(Clock::time_point deadline);
    void readFrom(int &descriptor, std::string &to);
    void closeAll();

    pid_t child_ = -1;
    int in_ = -1;
    int out_ = -1;
    int err_ = -1;
    std::string outText_;
    std::string errText_;
};

/** Runs a program to its end, with a text as its standard input. */
ProgramResult run(const Command &command, std::string_view input = {},
                  PipedProgram::Errors errors = PipedProgram::Errors::apart);

}  // namespace support

#endif
