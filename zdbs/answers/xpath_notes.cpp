#include "zdbs/answers/xpath_notes.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/similar_words.h"

namespace zdbs {
namespace {

constexpr std::size_t mostNotes = 5;

/** Goes through an expression, and keeps what is to be said. */
class NameNotes {
public:
    explicit NameNotes(const xpath::Collection &collection) : collection_(collection) {}

    void visit(const xpath::Expression &expression) {
        if (const auto *call = expression.as<xpath::Call>()) visit(call->arguments);
        if (const auto *operation = expression.as<xpath::Operation>()) visit(operation->operands);
        const auto *path = expression.as<xpath::Path>();
        if (!path) return;
        if (path->from) visit(*path->from);
        visit(path->predicates);
        for (const xpath::Step &step : path->steps) {
            look(step);
            visit(step.predicates);
        }
    }

    std::vector<notes::Note> take() { return std::move(notes_); }

private:
    void visit(const std::vector<xpath::ExpressionPtr> &expressions) {
        for (const xpath::ExpressionPtr &expression : expressions)
            visit(*expression);
    }

    void look(const xpath::Step &step) {
        const xpath::NodeTest &test = step.test;
        const bool isNamed = test.kind == xpath::NodeTest::Kind::name && !test.isAnyLocal;
        if (!isNamed || notes_.size() == mostNotes) return;
        if (!collection_.isEmpty(collection_.passing(step.axis, test))) return;
        const bool isAttribute = traitsOf(step.axis).toAttributes;
        const NodeKind kind = isAttribute ? NodeKind::attribute : NodeKind::element;
        std::string text = std::string("No ") + (isAttribute ? "attribute" : "element") +
                           " of this database is named " + test.local;
        const std::vector<NodeName> others = namedAlike(kind, test.local);
        if (!others.empty())
            text += (test.uri.empty() ? " in no namespace" : " in " + test.uri) +
                    "; there is one in " + placesOf(others);
        else if (const auto nearest = mostSimilar(test.local, locals(kind)))
            text += "; the nearest is " + *nearest;
        notes_.push_back({text + ".", step.offset});
    }

    /** Names that differ in nothing but their namespaces; the empty name of no node is none. */
    std::vector<NodeName> namedAlike(NodeKind kind, const std::string &local) const {
        const NodeTree &tree = collection_.tree();
        std::vector<NodeName> names = tree.names(*tree.matching({kind, local})).distinct;
        std::erase_if(names, [](const NodeName &name) { return name.local.empty(); });
        return names;
    }

    static std::string placesOf(const std::vector<NodeName> &names) {
        std::set<std::string_view> places;
        for (const NodeName &name : names)
            places.insert(name.uri.empty() ? "no namespace" : name.uri);
        std::string text;
        for (const std::string_view place : places)
            text += (text.empty() ? "" : ", in ") + std::string(place);
        return text;
    }

    std::vector<std::string> locals(NodeKind kind) {
        if (!names_) names_ = collection_.database().names({{}, true});
        std::vector<std::string> all;
        for (const OccurringName &name : *names_) {
            if (name.kind == kind && name.local != "*") all.push_back(name.local);
        }
        return all;
    }

    const xpath::Collection &collection_;
    std::optional<std::vector<OccurringName>> names_;
    std::vector<notes::Note> notes_;
};

}  // namespace

std::vector<notes::Note> notesOnNames(const xpath::Expression &expression,
                                      const xpath::Collection &collection) {
    NameNotes names(collection);
    names.visit(expression);
    return names.take();
}

}  // namespace zdbs
