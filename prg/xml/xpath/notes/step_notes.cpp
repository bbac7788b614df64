/** Where a request starts, and what steps along the axes find. */
#include <algorithm>
#include <array>

#include "prg/xml/xpath/notes/note_list.h"

namespace notes {
namespace {

bool isType(const Step &step, std::string_view type) {
    return step.isCall && step.name == type && step.arguments.empty();
}

bool isOrSelf(const Step &step) {
    return step.axis.ends_with("-or-self");
}

/** Ends at the step in front of it. */
std::string upTo(const Operand &path, std::size_t steps) {
    const char *begin = path.text.data();
    return {begin, static_cast<std::size_t>(path.steps[steps].text.data() - begin)};
}

std::string test(const Step &step) {
    const std::size_t colons = step.bare.find("::");
    return string(colons == std::string_view::npos ? step.bare : step.bare.substr(colons + 2));
}

/** The test and the predicates. */
std::string testAndMore(const Step &step) {
    const auto more = step.text.data() + step.text.size() - (step.bare.data() + step.bare.size());
    return test(step) +
           string({step.bare.data() + step.bare.size(), static_cast<std::size_t>(more)});
}

void noteOrSelf(const Operand &path, std::size_t at, NoteList &notes) {
    const Step &step = path.steps[at];
    if (at == 0 || isType(step, "node") || step.name == "*") return;
    const bool isDown = step.axis.starts_with("descendant");
    const std::string front = upTo(path, at);
    const std::string further = front + (isDown ? "//" : "/ancestor::") + testAndMore(step);
    const bool isSameName = path.steps[at - 1].name == step.name;
    notes.add("The axis " + string(step.axis) + " takes every node on it, whatever the test.",
              path.text, isSameName ? front + " | " + further : further);
}

/** Comments and instructions are not found along these axes. */
void noteSideways(const Step &step, NoteList &notes) {
    const bool isSideways =
        step.axis.starts_with("following") || step.axis.starts_with("preceding");
    const bool isMissed = isType(step, "node") || isType(step, "comment") ||
                          (step.isCall && step.name == "processing-instruction");
    if (isSideways && isMissed)
        notes.add("The axis " + string(step.axis) +
                  " finds elements and texts, and no comments or instructions.");
}

/** The root of a document is no record. */
void noteRoot(const Operand &path, std::size_t at, NoteList &notes) {
    const Step &step = path.steps[at];
    const bool isParent = step.axis == "parent" && (step.name == ".." || isType(step, "node"));
    const bool isAncestor = step.axis.starts_with("ancestor") && isType(step, "node");
    if (at > 0 && (isParent || isAncestor))
        notes.add("The root of a document is no record, and so in no answer.");
}

void noteSlash(const Operand &path, NoteList &notes) {
    const Step &step = path.steps.front();
    if (step.separator != "/" || !step.hasAxis) return;
    if (step.axis == "attribute")
        notes.add("An attribute is nowhere at the top of a document: the slash is passed over.",
                  step.separator, "//");
    else if (step.axis == "descendant")
        notes.add("A leading slash asks for nodes at the top of a document, on this axis, too.",
                  path.text, "//" + testAndMore(step));
}

void noteAlone(const Operand &path, NoteList &notes) {
    const Step &step = path.steps.front();
    if (path.steps.size() > 1) return;
    if (step.axis == "descendant-or-self" && step.predicates.empty())
        notes.add("A descendant-or-self step alone stands for everything and makes no set.",
                  path.text, "//" + test(step));
    else if (step.axis == "child" && step.separator.empty() && isType(step, "node"))
        notes.add("node() alone asks for every record, and attributes are records.", path.text,
                  "//node()");
}

/** Axes that need nodes to start from; for a test that lets every name pass it is these nodes. */
void noteUpwards(const Operand &path, NoteList &notes) {
    const Step &step = path.steps.front();
    const bool passesAll = step.name == "*" || step.name == ".." || isType(step, "node");
    const bool needsNodes = step.axis == "parent" || step.axis == "ancestor" ||
                            step.axis.starts_with("following") ||
                            step.axis.starts_with("preceding");
    if (needsNodes && passesAll)
        notes.add("A request that begins with this step asks for all that its test lets pass.",
                  step.text, "//node()/" + string(step.text.substr(step.separator.size())));
}

/** Of these no predicate counts, which is said there. */
bool isCompared(const Operand &path, std::string_view request) {
    const auto end = static_cast<std::size_t>(path.text.data() + path.text.size() - request.data());
    const std::size_t next = request.find_first_not_of(" \t\r\n", end);
    return next != std::string_view::npos &&
           std::string_view("=<>!").find(request[next]) != std::string_view::npos;
}

}  // namespace

void noteFirstStep(const Operand &path, NoteList &notes) {
    if (path.steps.empty()) return;
    noteSlash(path, notes);
    noteAlone(path, notes);
    noteUpwards(path, notes);
}

void noteSteps(const Operand &path, NoteList &notes) {
    for (std::size_t at = 0; at < path.steps.size(); ++at) {
        if (isOrSelf(path.steps[at])) noteOrSelf(path, at, notes);
        noteSideways(path.steps[at], notes);
        noteRoot(path, at, notes);
    }
    const Step &first = path.steps.front();
    if (path.steps.size() < 2 || first.predicates.empty() || first.separator == "//") return;
    if (isCompared(path, notes.request())) return;
    const std::string step(first.text.substr(first.separator.size()));
    notes.add("The predicates of the first step are passed over by the second one.", first.text,
              "//" + step);
}

}  // namespace notes
