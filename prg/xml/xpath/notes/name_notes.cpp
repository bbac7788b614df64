/** Names that do not occur in the database, and elements whose texts are not one. */
#include <algorithm>
#include <set>

#include "foundation/similar_words.h"
#include "prg/xml/xpath/notes/note_list.h"

namespace notes {
namespace {

using Kind = KnownName::Kind;

/** The names of a database, looked up. */
class Names {
public:
    explicit Names(std::vector<KnownName> names) : names_(std::move(names)) {}

    bool has(Kind kind, std::string_view local) const {
        return std::ranges::any_of(names_, [&](const KnownName &name) {
            return name.kind == kind && name.local == local;
        });
    }
    bool hasPrefix(std::string_view prefix) const {
        return std::ranges::any_of(names_,
                                   [&](const KnownName &name) { return name.prefix == prefix; });
    }
    bool hasElements(std::string_view local) const {
        return std::ranges::any_of(
            names_, [&](const KnownName &name) { return name.hasElements && name.local == local; });
    }
    std::vector<std::string> locals(Kind kind) const {
        std::vector<std::string> all;
        for (const KnownName &name : names_)
            if (name.kind == kind) all.push_back(name.local);
        return all;
    }
    std::string prefixes() const {
        std::set<std::string> all;
        for (const KnownName &name : names_)
            if (!name.prefix.empty()) all.insert(name.prefix);
        std::string text;
        for (const std::string &prefix : all)
            text += (text.empty() ? "" : ", ") + prefix;
        return text;
    }
    bool empty() const { return names_.empty(); }

private:
    std::vector<KnownName> names_;
};

bool namesNodes(const Step &step) {
    return !step.isCall && !step.name.empty() && step.name != "*" && step.name.front() != '.';
}

void noteName(const Step &step, const Names &names, NoteList &notes) {
    const bool isAttribute = step.axis == "attribute";
    const Kind kind = isAttribute ? Kind::attribute : Kind::element;
    if (!namesNodes(step) || names.has(kind, step.name)) return;
    std::string text = std::string("No ") + (isAttribute ? "attribute" : "element") +
                       " of this database is named " + string(step.name);
    const Kind other = isAttribute ? Kind::element : Kind::attribute;
    if (const auto nearest = mostSimilar(step.name, names.locals(kind)))
        text += "; the nearest is " + *nearest;
    else if (names.has(other, step.name))
        text += std::string(", but ") + (isAttribute ? "an element" : "an attribute") + " is";
    notes.add(text + ".");
}

void notePrefix(const Step &step, const Names &names, NoteList &notes) {
    if (step.prefix.empty() || names.hasPrefix(step.prefix)) return;
    const std::string known = names.prefixes();
    notes.add("No name of this database has the prefix " + string(step.prefix) +
              (known.empty() ? "; no name has one." : "; there are " + known + "."));
}

/** Of what an operand is compared with, or searched in: the element whose texts are looked at. */
const Step *elementOf(const Operand &operand, const Step &owner) {
    const Step *element = &owner;
    for (const Step &step : operand.steps)
        if (!step.isCall && step.name != ".") element = &step;
    return element->axis == "attribute" ? nullptr : element;
}

void noteTexts(const Operand &operand, const Step &owner, const Names &names, NoteList &notes) {
    const Step *element = elementOf(operand, owner);
    if (element != nullptr && names.hasElements(element->name))
        notes.add("There are elements inside of " + string(element->name) +
                  ": each of its texts is looked at by itself, at any depth.");
}

bool isCount(const Step &step) {
    return step.isCall && (step.name == "position" || step.name == "last");
}

void noteTextsOf(const Step &step, const Names &names, NoteList &notes) {
    for (const Expression &predicate : step.predicates) {
        for (std::size_t i = 0; i < predicate.operands.size(); ++i) {
            const Operand &operand = predicate.operands[i];
            const bool isCompared =
                i + 1 < predicate.operands.size() && predicate.operands[i + 1].literal.code != 0;
            if (operand.steps.empty()) continue;
            const Step &first = operand.steps.front();
            if (first.isCall && first.name == "contains" && first.arguments.size() == 2)
                noteTexts(first.arguments.front().operands.front(), step, names, notes);
            else if (isCompared && !isCount(operand.steps.back()))
                noteTexts(operand, step, names, notes);
        }
    }
}

}  // namespace

void noteNames(const std::vector<Operand> &paths, const NameSource &source, NoteList &notes) {
    bool hasNames = false;
    visitPaths(paths, [&](const Operand &path, const Step *) {
        hasNames = hasNames || std::ranges::any_of(path.steps, namesNodes);
    });
    if (!hasNames) return;
    const Names names(source());
    if (names.empty()) return;
    visitPaths(paths, [&](const Operand &path, const Step *) {
        for (const Step &step : path.steps) {
            noteName(step, names, notes);
            notePrefix(step, names, notes);
            noteTextsOf(step, names, notes);
        }
    });
}

}  // namespace notes
