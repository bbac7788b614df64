/** Runs requests and tells how their sets were found. */
#ifndef ZDBS_ANSWERS_EXPLAINER_H
#define ZDBS_ANSWERS_EXPLAINER_H

#include <string>

#include "zdbs/answers/explanation.h"
#include "zdbs/answers/request_notes.h"
#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace zdbs {

/** Runs requests in one state of a session's database and watches what they do. */
class Explainer {
public:
    /** Both must outlive it. Throws Failure(noDatabase). */
    Explainer(Session &session, RequestNotes &notes);
    ~Explainer();
    Explainer(const Explainer &) = delete;
    Explainer &operator=(const Explainer &) = delete;

    /** What fails is told in it. Throws Failure(stopped) only. */
    Explanation explain(const std::string &request);

    const OpenDatabase &database() const { return oneState_.database(); }

private:
    ExplainedResult run(const std::string &request);
    void note(const ExecutedFind &find);

    Session &session_;
    NestedScope oneState_;
    RequestNotes &notes_;
    Explanation explanation_;
};

}  // namespace zdbs

#endif
