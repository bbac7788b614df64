/** Answers of requests on standard output, in the forms that were asked for. */
#ifndef ZDBS_ADMIN_ANSWER_OUTPUT_H
#define ZDBS_ADMIN_ANSWER_OUTPUT_H

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/answers/node_output.h"
#include "zdbs/answers/request_notes.h"
#include "zdbs/base/status.h"
#include "zdbs/export/export_document.h"
#include "zdbs/session/nested_request.h"

namespace zdbs::admin {

/** What is printed of each answer. */
struct AnswerForms {
    std::vector<std::string> fragments;  ///< blank-separated specs; none: no export
    bool highlights = false;             ///< marks hits in the fragments
    NodeForms nodes;
    bool asJson = false;
};

/**
 * Throws UsageError for what cannot be done together.
 * @param hasFragments fragments are asked for, too
 */
void checkForms(const NodeForms &forms, bool asJson, bool hasFragments);

/** Throws UsageError for what can be known to be wrong before anything is begun. */
void checkForms(const AnswerForms &forms);

/**
 * Prints the answers of one request after the other: counts, one a line, unless something else
 * is asked for. Throws Failure(writeFailed).
 */
class AnswerOutput {
public:
    using Time = std::chrono::nanoseconds;

    /** REQUIRES checkForms(); outlived by the forms, and by the notes that JSON is to have. */
    explicit AnswerOutput(const AnswerForms &forms, RequestNotes *notes = nullptr);

    /** Whether anything but the count of the nodes is asked for. */
    bool listsNodes() const { return forms_.nodes.columns() > 0 || forms_.nodes.asCsv; }
    bool hasFragments() const { return !fragments_.empty(); }
    bool listsCountsOnly() const { return !listsNodes() && !hasFragments(); }

    void write(const std::string &text, const RequestAnswer &found, Time time);

    /** An answer that is no nodes, as `type` says what. */
    void writeValue(const std::string &text, std::string_view type, std::string_view value,
                    Time time) const;

    /** @param where lines that show the place of what is wrong; or nothing */
    void fail(const std::string &text, const Failure &failure, std::string_view where = {}) const;

private:
    bool printsCounts() const { return !forms_.asJson && listsCountsOnly(); }
    void writeFragments(const RequestAnswer &found, ChunkSink::Consumer consumer) const;
    void writeObject(const std::string &text, const RequestAnswer &found, Time time) const;

    void addNotesOn(const std::string &text, const std::string &error, JsonWriter &json) const;

    const AnswerForms &forms_;
    RequestNotes *notes_;
    NodeOutput nodes_;
    std::string fragments_;
};

}  // namespace zdbs::admin

#endif
