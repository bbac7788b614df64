/** A fresh home with the sample documents in it, and the two programs that use it. */
#ifndef TESTS_ANSWERS_SAMPLE_DATABASES_H
#define TESTS_ANSWERS_SAMPLE_DATABASES_H

#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"

namespace answers {

/** A database of one document. */
struct Sample {
    std::string database;
    std::string file;
};

/** For the names of tests. */
void PrintTo(const Sample &sample, std::ostream *out);

/** Ours: small, a bit of everything. */
const Sample &garden();

/** That one, and two of the system: mime and xkb. */
const std::vector<Sample> &samples();

/** The lines of sets in what the shell printed for statements, without its prompts; BASE left out.
 */
std::string setLinesOf(const std::string &output);

/** What the shell said to one request. */
struct Answer {
    int count;            ///< of its result line; noCount when there was none
    std::string message;  ///< of its error line, without what stands in front of it
};

constexpr int noCount = -1;

class SampleDatabases {
public:
    /**
     * Sets up the home with `zdbs` and loads one of the samples, or several.
     * Throws std::runtime_error with the program's message when that fails.
     */
    explicit SampleDatabases(const std::vector<Sample> &loaded);

    /**
     * Runs requests through `vexa` as it reads from a pipe, one answer for each.
     * Not in batch mode, which ends at the first request that succeeds.
     */
    std::vector<Answer> find(const std::string &database,
                             const std::vector<std::string> &requests) const;

    /** What the shell prints for statements (each ends in ";\n"), prompts included. */
    support::ProgramResult run(const std::string &database, const std::string &statements) const;

    /** The conditions that a request becomes, as `zdbs explain` shows them. */
    std::vector<std::string> conditions(const std::string &database,
                                        const std::string &request) const;

    /** The document of a database as `zdbs dump` writes it. */
    std::string dump(const std::string &database) const;

private:
    support::ProgramResult zdbs(std::vector<std::string> arguments,
                                std::string_view input = {}) const;
    support::ProgramResult vexa(const std::string &statements) const;
    std::map<std::string, std::string> environment() const;

    support::TemporaryDirectory home_;
};

}  // namespace answers

#endif
