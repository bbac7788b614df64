#include <optional>
#include <string>
#include <utility>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/explanation_text.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/explainer.h"
#include "zdbs/answers/request_notes.h"
#include "zdbs/base/status.h"
#include "zdbs/session/session.h"

namespace zdbs::admin {

namespace {

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

Explanation explained(Explainer &explainer, const std::string &request) {
    const Interruption interruption;
    try {
        return explainer.explain(request);
    } catch (const Failure &) {
        Interruption::endIfRequested(request);
        throw;
    }
}

}  // namespace

bool explain(const HomeChoice &home, const ExplainRequest &request) {
    const auto session = Session::ofOwner(home.open()->open(request.database));
    RequestNotes notes(*session, request.asJson, request.withoutNotes);
    Explainer explainer(*session, notes);
    ExplanationWriter writer(request);
    for (const std::string &text : request.requests) {
        Explanation explanation = explained(explainer, text);
        const std::string error = explanation.error;
        writer.add(std::move(explanation));
        if (!error.empty()) {
            writer.flush();
            finishOutput();
            writeMessage(nameOf(text) + ": " + visibleText(error));
        }
        notes.show(text, error);
        if (!error.empty()) return false;
    }
    writer.flush();
    return true;
}

}  // namespace zdbs::admin
