#include "tests/zdbs/language/command_text.h"

#include <array>
#include <sstream>

#include "zdbs/base/status.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::testing {
namespace {

constexpr std::array relationNames{"eq", "ne", "lt", "le", "gt", "ge", "contains", "given", "any"};
constexpr std::array fieldNames{"", "id", "type", "name", "namespace", "parent", "value"};

std::string textOf(const Condition &condition);

std::string nameOfRelation(Relation relation) {
    return relationNames.at(static_cast<std::size_t>(relation));
}

struct TermText {
    std::string operator()(const SetReference &set) const {
        return "S" + std::to_string(set.number);
    }

    std::string operator()(const FieldTerm &term) const {
        std::string field = fieldNames.at(static_cast<std::size_t>(term.field));
        return field + ":" + nameOfRelation(term.relation) + ":" + term.text;
    }

    std::string operator()(const AxisTerm &term) const {
        std::ostringstream text;
        text << nameOf(term.axis) << "(" << term.first.number << "," << term.second.number << ","
             << term.direction << ")";
        return text.str();
    }

    std::string operator()(const PositionTerm &term) const {
        std::ostringstream text;
        text << "position(" << term.set.number << "," << nameOfRelation(term.relation) << ","
             << term.place << ")";
        return text.str();
    }

    std::string operator()(const std::unique_ptr<Condition> &condition) const {
        return textOf(*condition);
    }
};

std::string textOf(const Condition &condition) {
    std::string text = "[";
    for (const Conjunct &conjunct : condition.conjuncts) {
        text += text.size() > 1 ? " | [" : "[";
        for (std::size_t i = 0; i < conjunct.size(); ++i) {
            if (i > 0) text += conjunct[i].negated ? " - " : " & ";
            text += std::visit(TermText(), conjunct[i].term);
        }
        text += "]";
    }
    return text + "]";
}

struct CommandText {
    std::string operator()(const BaseCommand &command) const { return "base " + command.database; }

    std::string operator()(const FindCommand &command) const {
        return "find " + textOf(command.condition);
    }

    std::string operator()(const DeleteCommand &command) const {
        std::string text = "delete";
        for (SetReference set : command.sets)
            text += " " + std::to_string(set.number);
        return text;
    }

    std::string operator()(const RenumberCommand &) const { return "renumber"; }
    std::string operator()(const DefineHitsCommand &) const { return "define hits"; }

    std::string operator()(const DefineFindMinCommand &command) const {
        return "define min " + std::to_string(command.minimum);
    }
};

}  // namespace

std::string textOf(const Command &command) {
    return std::visit(CommandText(), command);
}

std::string parsed(std::string_view line) {
    try {
        return textOf(parseCommand(line));
    } catch (const Failure &failure) {
        return std::to_string(static_cast<int>(failure.status())) + ": " + failure.what();
    }
}

}  // namespace zdbs::testing
