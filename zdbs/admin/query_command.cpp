#include <chrono>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/request_desk.h"
#include "zdbs/admin/request_notes.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace {

using Clock = std::chrono::steady_clock;

/** One run of `zdbs query`. */
class QueryRun {
public:
    QueryRun(RequestDesk &desk, const QueryRequest &request)
        : desk_(desk),
          notes_(desk.session(), request.forms.asJson, request.withoutNotes),
          output_(request.forms, &notes_) {}

    /** Hands its answer on before the next one, for those who wait at the other end of a pipe. */
    void answer(const std::string &text) {
        const Interruption interruption;
        std::string error;
        try {
            const Clock::time_point begin = Clock::now();
            const RequestAnswer found = desk_.answer(text);
            output_.write(text, found, Clock::now() - begin);
        } catch (const Failure &failure) {
            Interruption::endIfRequested(text);
            if (failure.status() == Status::writeFailed) throw;
            error = failure.what();
            allRan_ = false;
            output_.fail(text, failure);
        }
        finishOutput();
        notes_.show(text, error);
        Interruption::endIfRequested(text);
    }

    bool allRan() const { return allRan_; }

private:
    RequestDesk &desk_;
    RequestNotes notes_;
    AnswerOutput output_;
    bool allRan_ = true;
};

}  // namespace

bool query(const HomeChoice &home, const QueryRequest &request) {
    checkForms(request.forms);
    RequestDesk desk(home.open()->open(request.database));
    QueryRun run(desk, request);
    forEachRequest(request.requests, [&](const std::string &text) { run.answer(text); });
    return run.allRan();
}

}  // namespace zdbs::admin
