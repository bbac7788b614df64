#ifndef TESTS_PRG_XML_XPATH_PROCESSOR_FAKE_KERNEL_H
#define TESTS_PRG_XML_XPATH_PROCESSOR_FAKE_KERNEL_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// A kernel for tests: it implements every function of kernel/zdbs.h in this process, records every
// call, and knows nothing of XML. Its sets are numbers:
//
// - a FIND makes a set with the number one above the highest present, with 1 record and 1 hit
//   unless told otherwise; its condition is not looked at;
// - DELETE removes a set, and fails when there is none of that number;
// - RENUMBER closes the gaps, in the order of the numbers;
// - the most recent set is the one with the highest number;
// - any other command succeeds when it starts with the word DEFINE, and fails otherwise.
//
// There is one, for the boundary has one session; reset() before each test. Its own memory never
// runs out (scarce_memory.h).
class FakeKernel {
public:
    // How a command word or a message comes back.
    enum class TextStyle {
        terminated,  // followed by a NUL
        padded,      // padded with blanks over the whole buffer: only the length tells
    };

    struct HitWord {
        std::int32_t part = 0;
        std::int32_t field = 0;
        std::int32_t paragraph = 0;
        std::int32_t item = 0;
        std::int32_t word = 0;
        std::int32_t length = 0;
    };

    struct Record {
        std::int32_t id = 0;
        std::vector<HitWord> hits;
        bool readable = true;
    };

    struct Set {
        std::int32_t records = 1;
        std::int32_t hits = 1;
    };

    static FakeKernel &instance();

    // No sets, no calls, no script.
    void reset();

    // --- Script ---

    void setTextStyle(TextStyle style) { style_ = style; }
    void setWord(const std::string &symbol, const std::string &word) { words_[symbol] = word; }
    void forgetWord(const std::string &symbol) { words_.erase(symbol); }
    // Words come back with this length, whatever it is.
    void tellWordLength(std::int32_t length) { wordLength_ = length; }
    // The n-th command since reset(), from 1, fails with a message and has no effect.
    void failCommand(int n, const std::string &message) { failures_[n] = message; }
    // Every command from the n-th on fails.
    void failFrom(int n) { failFrom_ = n; }
    // What the n-th FIND since reset(), from 1, finds.
    void setFound(int n, std::int32_t records, std::int32_t hits = 1) {
        found_[n] = {records, hits};
    }
    void failSaveStatus() { failSave_ = true; }
    // The n-th call of any kind since reset(), from 1, fails and has no effect. The calls that
    // collect hits are counted by themselves.
    void failCall(int n) { failCall_ = n; }
    void failHitCall(int n) { failHitCall_ = n; }
    // ZdbGetSearch() fails from the n-th call on.
    void failGetSearchFrom(int n) { failSearchFrom_ = n; }
    // Makes a set as if by an earlier request.
    std::int32_t addSet(std::int32_t records = 1, std::int32_t hits = 1);
    // The records of every set, for the hit calls; ordinals beyond them cannot be read. Without a
    // script there is one, with the id 1 and one hit in part 1.
    void setRecords(std::vector<Record> records) { records_ = std::move(records); }

    // --- What happened ---

    // Every call in order: the name without "Zdb" and what matters of its arguments. What is wrong
    // with the arguments is told as well.
    const std::vector<std::string> &calls() const { return calls_; }
    // The calls in short, without those that collect hits: "save", "?DEF" for a command word, the
    // command, "result" for ZdbGetSearch, "message", "load 1".
    std::vector<std::string> shortCalls() const;
    int hitCalls() const { return hitCalls_; }
    // The commands in order, with "save" and "load 1" for the calls around them.
    std::vector<std::string> trace() const;
    // The commands alone.
    const std::vector<std::string> &commands() const { return commands_; }
    std::vector<std::int32_t> setNumbers() const;
    // Record controls created and not deleted.
    int openRecordControls() const { return openControls_; }

    // --- The boundary ---

    void record(const std::string &call);
    // Whether the call recorded last is one that fails.
    bool fails() const;
    std::int32_t fail(const std::string &message);
    std::int32_t execute(const std::string &command);
    std::int32_t getSearch(std::int32_t *number, std::int32_t *records, std::int32_t *hits);
    std::int32_t shellSymbol(char *symbol, std::int32_t *length);
    std::int32_t message(std::int32_t status, char *text, std::int32_t *length);
    std::int32_t saveStatus();
    std::int32_t createRecordControl(void **control);
    std::int32_t getRecord(void *control, std::int32_t ordinal, std::int32_t *record,
                           char *database);
    std::int32_t nextHit(void *control, HitWord &hit);
    std::int32_t deleteRecordControl(void **control);

private:
    struct Control {
        int ordinal = 0;
        std::size_t nextHit = 0;
    };

    void give(const std::string &value, char *text, std::int32_t *length) const;
    bool find();
    bool remove(const std::string &command);
    void renumber();

    TextStyle style_ = TextStyle::terminated;
    std::map<std::string, std::string> words_;
    std::map<int, std::string> failures_;
    int failFrom_ = 0;
    std::map<int, Set> found_;
    bool failSave_ = false;
    int failCall_ = 0;
    int failHitCall_ = 0;
    int otherCalls_ = 0;
    int hitCalls_ = 0;
    bool lastIsHitCall_ = false;
    int failSearchFrom_ = 0;
    std::vector<Record> records_;
    std::map<std::int32_t, Set> sets_;  // by number
    std::optional<std::int32_t> wordLength_;
    int finds_ = 0;
    int searches_ = 0;
    int openControls_ = 0;
    std::string lastMessage_;
    std::vector<std::string> calls_;
    std::vector<std::string> commands_;
};

#endif
