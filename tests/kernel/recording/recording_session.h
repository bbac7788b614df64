/** State of the recording kernel: the sets there are, the messages of the failures, the settings.
 */
#ifndef TESTS_KERNEL_RECORDING_RECORDING_SESSION_H
#define TESTS_KERNEL_RECORDING_RECORDING_SESSION_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/kernel/recording/recording_script.h"

namespace recording {

/** A result set under its present number. */
struct ResultSet {
    int32_t number = 0;
    Counts counts;
};

/**
 * One session. It knows commands by the words that it handed out itself, keeps the sets in the
 * order of their creation and gives every failure a status of its own, with its message.
 */
class Session {
public:
    explicit Session(Script script);

    const Script &script() const { return script_; }

    /** Executes a command line; a status. */
    int32_t execute(const std::string &command);

    /** The most recent set, or null when there is none or the script wants a failure. */
    const ResultSet *mostRecentSet();

    /** A new failing status with that message. */
    int32_t fail(const std::string &message);

    /** The sentence of a status. */
    std::string message(int32_t status) const;

private:
    int32_t scriptedFailure(const std::string &command);
    int32_t recognise(const std::string &command);
    bool startsWithWord(std::string_view command, const char *symbol, std::string_view &rest) const;
    int32_t makeSet();
    int32_t deleteSets(std::string_view list);
    bool deleteSet(int32_t number);
    void renumber();

    Script script_;
    std::vector<ResultSet> sets_;
    std::map<int32_t, std::string> messages_;
    int32_t nextFailure_ = 1002;
    int commandCount_ = 0;
    int setCount_ = 0;
    int searchCallCount_ = 0;
};

/** The session of this process; begins anew, with the script read again, at every login. */
Session &session();
void beginSession();

}  // namespace recording

#endif
