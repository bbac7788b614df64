#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/explanation.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/request_notes.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/base/status.h"
#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace zdbs::admin {

namespace {

using Clock = std::chrono::steady_clock;

/** Runs requests in a session and watches what they do. */
class Explainer {
public:
    Explainer(Session &session, const ExplainRequest &request)
        : session_(session),
          oneState_(session),
          notes_(session, request.asJson, request.withoutNotes) {
        // As for the sets of a request: what later commands name is there, empty or not.
        session_.execute("DEFINE FIND MIN=0");
        session_.observe([this](const ExecutedFind &find) { note(find); });
    }
    ~Explainer() { session_.observe({}); }
    Explainer(const Explainer &) = delete;
    Explainer &operator=(const Explainer &) = delete;

    Explanation explain(const std::string &request) {
        explanation_ = {};
        explanation_.request = request;
        const Interruption interruption;
        const Clock::time_point begin = Clock::now();
        try {
            explanation_.result = run(request);
        } catch (const Failure &failure) {
            Interruption::endIfRequested(request);
            explanation_.error = failure.what();
        }
        explanation_.total = Clock::now() - begin;
        explanation_.notes = notes_.on(request, explanation_.error);
        return std::move(explanation_);
    }

    RequestNotes &notes() { return notes_; }

private:
    ExplainedResult run(const std::string &request) {
        if (isFindCommand(request)) {
            session_.execute(request);
            const std::int32_t number = explanation_.sets.back().number;
            return {number, number, explanation_.sets.back().records};
        }
        requireRequest(request);
        const RequestSet set = runRequest(session_, request);
        const auto records = static_cast<std::uint64_t>(oneState_.set(set.number)->size());
        return {set.foundAs, set.number, records};
    }

    void note(const ExecutedFind &find) {
        explanation_.hitsTime += find.hitsTime;
        explanation_.sets.push_back({find.set, find.condition,
                                     static_cast<std::uint64_t>(find.records),
                                     static_cast<std::uint64_t>(find.hits), find.time, find.plan});
    }

    Session &session_;
    NestedScope oneState_;
    RequestNotes notes_;
    Explanation explanation_;
};

/** Writes explanations: objects, or tables with a line between them. */
class ExplanationWriter {
public:
    explicit ExplanationWriter(const ExplainRequest &request)
        : asJson_(request.asJson), hasSeveral_(request.requests.size() > 1) {}

    /** FIND commands that follow each other stand in one table. */
    void add(Explanation explanation) {
        const bool isFind = isFindCommand(explanation.request);
        if (asJson_) {
            writeOutput(jsonOf(explanation));
        } else if (isFind && pending_) {
            append(*pending_, explanation);
        } else {
            flush();
            if (isFind)
                pending_ = std::move(explanation);
            else
                writeTable(explanation, hasSeveral_);
        }
    }

    void flush() {
        if (pending_) writeTable(*pending_, false);
        pending_.reset();
    }

private:
    void writeTable(Explanation &explanation, bool isNamed) {
        // Nobody comes who could ask for it.
        if (!hasSeveral_) explanation.result.keptAs = explanation.result.number;
        const std::string text = textOf(explanation, outputWidth());
        if (text.empty()) return;
        if (hasTable_) writeOutput("\n");
        if (isNamed) writeOutput(visibleText(explanation.request) + "\n\n");
        writeOutput(text);
        hasTable_ = true;
    }

    bool asJson_;
    bool hasSeveral_;
    bool hasTable_ = false;
    std::optional<Explanation> pending_;
};

}  // namespace

bool explain(const HomeChoice &home, const ExplainRequest &request) {
    const auto session = Session::ofOwner(home.open()->open(request.database));
    Explainer explainer(*session, request);
    ExplanationWriter writer(request);
    for (const std::string &text : request.requests) {
        Explanation explanation = explainer.explain(text);
        const std::string error = explanation.error;
        writer.add(std::move(explanation));
        if (!error.empty()) {
            writer.flush();
            finishOutput();
            writeMessage(nameOf(text) + ": " + visibleText(error));
        }
        explainer.notes().show(text, error);
        if (!error.empty()) return false;
    }
    writer.flush();
    return true;
}

}  // namespace zdbs::admin
