/** A fresh home with the sample documents in it, and the two programs that use it. */
#ifndef TESTS_ANSWERS_SAMPLE_DATABASES_H
#define TESTS_ANSWERS_SAMPLE_DATABASES_H

#include <string>
#include <vector>

#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"

namespace answers {

/** A database of one document. */
struct Sample {
    std::string database;
    std::string file;
};

/** garden (ours: small, a bit of everything), mime and xkb (of the system). */
const std::vector<Sample> &samples();

/** What the shell said to one request. */
struct Answer {
    int count;            ///< of its result line; noCount when there was none
    std::string message;  ///< of its error line, without what stands in front of it
};

constexpr int noCount = -1;

/** Sets up the home with `zdbs`; throws std::runtime_error with its message when that fails. */
class SampleDatabases {
public:
    SampleDatabases();

    /**
     * Runs requests through `vexa` as it reads from a pipe, one answer for each.
     * Not in batch mode, which ends at the first request that succeeds.
     */
    std::vector<Answer> find(const std::string &database,
                             const std::vector<std::string> &requests) const;

    /** What an XGET statement prints. */
    std::string get(const std::string &database, const std::string &statement) const;

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
