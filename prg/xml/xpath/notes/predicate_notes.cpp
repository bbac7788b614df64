/** Predicates: what they pass over, and what they take otherwise than XPath. */
#include <algorithm>
#include <cstdlib>

#include "prg/xml/xpath/notes/note_list.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace notes {
namespace {

bool isCall(const Operand &operand, std::string_view name) {
    return operand.steps.size() == 1 && operand.steps.front().isCall &&
           operand.steps.front().name == name;
}

bool isDot(const Operand &operand) {
    return operand.steps.size() == 1 && operand.steps.front().name == ".";
}

bool isPosition(const Operand &operand) {
    return isCall(operand, "position") || isCall(operand, "last");
}

bool isWord(const Token &token) {
    return token.code == NCNAME;
}

bool isComparison(const Token &token) {
    switch (token.code) {
        case '=':
        case '<':
        case '>':
        case NOTEQUAL:
        case LESSEQ:
        case GREATEQ:
            return true;
        default:
            return false;
    }
}

/** A step that finds nodes without texts below them. */
bool isLeaf(const Step &step) {
    return step.axis == "attribute" || (step.isCall && step.name != "node");
}

/** Between two operands of an expression, from one operator to the next word. */
struct Comparison {
    const Operand &left;
    const Token &sign;
    const Operand &right;
};

std::vector<Comparison> comparisonsIn(const Expression &expression) {
    std::vector<Comparison> all;
    for (std::size_t i = 0; i < expression.operators.size(); ++i)
        if (isComparison(expression.operators[i]))
            all.push_back(
                {expression.operands[i], expression.operators[i], expression.operands[i + 1]});
    return all;
}

/** How the condition of a leaf is written at the element that it belongs to. */
std::string atElement(const Operand &path, const Step &step, const std::string &inside) {
    const std::size_t steps = path.steps.size();
    if (&path.steps.back() != &step) return "";
    if (steps == 1) return "//*[" + inside + "]" + "/" + string(step.bare);
    const char *begin = path.text.data();
    return std::string(begin, step.text.data()) + "[" + inside + "]/" + string(step.bare);
}

void noteDot(const Operand &path, const Step &step, const Comparison &comparison, NoteList &notes) {
    if (!isDot(comparison.left) || comparison.right.literal.code == 0) return;
    const std::string text = "A dot compared with a literal is no condition.";
    if (!isLeaf(step)) return notes.add(text, comparison.left.text, "text()");
    const std::string inside =
        string(step.bare) + string(comparison.sign.text) + string(comparison.right.literal.text);
    const std::string form = atElement(path, step, inside);
    if (form.empty()) return notes.add(text);
    notes.add(text, path.text, form);
}

void notePassedOver(const Comparison &comparison, NoteList &notes) {
    const std::vector<Step> &steps = comparison.left.steps;
    const bool hasPredicate =
        std::ranges::any_of(steps, [](const Step &step) { return !step.predicates.empty(); });
    if (steps.size() > 1 && hasPredicate && !isPosition(comparison.right))
        notes.add("On the way to a compared value no predicate counts: " +
                  string(comparison.left.text) + ".");
}

void noteOrder(const Comparison &comparison, NoteList &notes) {
    const Token &literal = comparison.right.literal;
    if (literal.code != STRING_CONST || literal.text.size() < 3) return;
    const std::string inside(literal.text.substr(1, literal.text.size() - 2));
    const bool isOrder = comparison.sign.code != '=' && comparison.sign.code != NOTEQUAL;
    if (isOrder && inside.find_first_not_of("0123456789.-") != std::string::npos)
        notes.add("Texts are ordered by code point; XPath 1.0 orders numbers only.");
    const bool isDate = std::ranges::count(inside, '-') > 1;
    if (isOrder && isDate) notes.add("Dates are ordered as texts; XPath 1.0 orders numbers only.");
}

void noteLast(const Comparison &comparison, NoteList &notes) {
    if (isCall(comparison.left, "last") && comparison.right.literal.code != 0)
        notes.add(
            "last() compared with a number is a position counted from the end, never the "
            "size.");
    if (comparison.sign.code == NOTEQUAL && !comparison.left.steps.empty() &&
        !isPosition(comparison.left))
        notes.add("An element without text compares with nothing, with != neither.");
}

/** A path in a predicate that begins with a slash. */
void noteSlashInside(const Expression &predicate, NoteList &notes) {
    for (const Operand &operand : predicate.operands) {
        if (operand.steps.empty() || operand.steps.front().separator.empty()) continue;
        notes.add(
            "In a predicate a path begins at the node that the predicate is about, with a "
            "slash, too: " +
            string(operand.text) + ".");
    }
}

bool isPositional(const Expression &predicate) {
    const bool isNumber =
        predicate.operands.size() == 1 && predicate.operands.front().literal.code == INT_CONST;
    return isNumber || std::ranges::any_of(predicate.operands, isPosition);
}

void notePositionInside(const Operand &operand, NoteList &notes) {
    if (operand.steps.empty()) return;
    const Step &last = operand.steps.back();
    if (std::ranges::any_of(last.predicates, isPositional)) {
        const std::string text =
            "A path in a predicate that ends in a position answers the nodes at its own end.";
        const Expression &position = last.predicates.back();
        const bool isNumber = position.operands.front().literal.code == INT_CONST;
        const std::string bare =
            std::string(operand.text.data(), last.bare.data() + last.bare.size());
        if (operand.steps.size() == 1 && isNumber)
            return notes.add(text, operand.text, bare + "/position()=" + string(position.text));
        return notes.add(text, operand.text, bare);
    }
    if (operand.steps.size() > 1 && last.isCall && last.name == "position")
        notes.add(
            "position() at the end of a path counts its nodes, which is no XPath 1.0; of a "
            "longer path the counted nodes are the answer.");
}

std::string joined(const Expression &predicate, std::size_t first, std::size_t end) {
    const char *from = predicate.operands[first].text.data();
    const std::string_view last = predicate.operands[end - 1].text;
    return {from, last.data() + last.size()};
}

/** A position up to a number leaves those in front of it where they are: it can go first. */
bool isUpperBound(const Expression &predicate, std::size_t operand) {
    if (!isPosition(predicate.operands[operand]) || operand >= predicate.operators.size())
        return false;
    const int sign = predicate.operators[operand].code;
    return sign == '<' || sign == LESSEQ;
}

/** Positions behind a word count in the set of what stands in front of it. */
void noteWord(const Operand &path, const Step &step, const Expression &predicate, NoteList &notes) {
    const auto word = std::ranges::find_if(predicate.operators, isWord);
    if (word == predicate.operators.end()) return;
    const auto at = static_cast<std::size_t>(word - predicate.operators.begin());
    if (word->text != "or" && word->text != "and" && word->text != "div" && word->text != "mod")
        notes.add("The word " + string(word->text) + " means and.", word->text, "and");
    if (!std::ranges::any_of(predicate.operands, isPosition)) return;
    const std::string text = "Behind a word, positions count in the set of its left side.";
    const std::string left = joined(predicate, 0, at + 1);
    const std::string right = joined(predicate, at + 1, predicate.operands.size());
    const bool isLast = &path.steps.back() == &step && step.predicates.size() == 1;
    const std::string front(path.text.data(), step.bare.data() + step.bare.size());
    if (word->text == "or" && isLast)
        return notes.add(text, path.text, front + "[" + left + "] | " + front + "[" + right + "]");
    const bool isLeftPosition = isPosition(predicate.operands.front());
    const bool goesFirst = isUpperBound(predicate, at + 1) ||
                           (!isLeftPosition && isPosition(predicate.operands[at + 1]));
    if (word->text != "or")
        notes.add(text, predicate.text, goesFirst ? right + "][" + left : left + "][" + right);
}

void noteContains(const Operand &path, const Step &step, const Step &call, NoteList &notes) {
    const Operand &where = call.arguments.front().operands.front();
    if (where.steps.empty()) return;
    const Step &first = where.steps.front();
    if (isDot(where)) {
        if (!isLeaf(step)) return;
        const std::string what(call.arguments.back().text);
        const std::string inside = "contains(" + string(step.bare) + "," + what + ")";
        const std::string text = "In contains() a dot stands for the texts below a node, and " +
                                 string(step.bare) + " has none below it.";
        const std::string form = atElement(path, step, inside);
        // Of elements of any name, others would be found that hold such elements.
        const bool isNamed = path.steps.size() > 1 && form.size() > 0;
        const bool isSearched =
            step.axis == "attribute" ? step.name != "*" : step.name == "text" && isNamed;
        return isSearched && !form.empty() ? notes.add(text, path.text, form) : notes.add(text);
    }
    const bool endsInAttribute = where.steps.back().axis == "attribute";
    if (endsInAttribute && first.name == "..")
        notes.add(
            "In contains() a path to an attribute starts at a child, whatever axis it "
            "names.");
    else if (!endsInAttribute && where.steps.size() > 1)
        notes.add("In contains() a path to a text may start at any depth.", call.text,
                  std::string(where.text.data(), where.steps.back().text.data()) + "[contains(" +
                      string(where.steps.back().bare) + "," + string(call.arguments.back().text) +
                      ")]");
}

void notePredicate(const Operand &path, const Step &step, const Expression &predicate,
                   NoteList &notes) {
    for (const Comparison &comparison : comparisonsIn(predicate)) {
        noteDot(path, step, comparison, notes);
        notePassedOver(comparison, notes);
        noteOrder(comparison, notes);
        noteLast(comparison, notes);
    }
    for (const Operand &operand : predicate.operands) {
        notePositionInside(operand, notes);
        if (isCall(operand, "contains") && operand.steps.front().arguments.size() == 2)
            noteContains(path, step, operand.steps.front(), notes);
    }
    noteSlashInside(predicate, notes);
    noteWord(path, step, predicate, notes);
}

/** Whether it is a number that compares as one. */
bool isDecimal(std::string_view text) {
    if (text.size() > 1 && text.front() == '-') text.remove_prefix(1);
    const std::size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    const std::string_view fraction =
        point == std::string_view::npos ? "0" : text.substr(point + 1);
    const auto isDigits = [](std::string_view digits) {
        return !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
    };
    return isDigits(whole) && isDigits(fraction) && (whole == "0" || whole.front() != '0');
}

void noteQuoted(std::string_view literal, NoteList &notes) {
    const std::string_view inside = literal.substr(1, literal.size() - 2);
    if (isDecimal(inside))
        notes.add("A decimal number compares as a number, in quotes, too: " + string(literal) +
                  ".");
    else if (!inside.empty() && inside.find_first_not_of("0123456789.+") == std::string_view::npos)
        notes.add(string(literal) + " is no decimal number here and compares as a text.");
}

void noteInteger(std::string_view literal, bool isPosition, NoteList &notes) {
    constexpr long long most = 2147483647;
    const long long value = std::strtoll(string(literal).c_str(), nullptr, 10);
    if (value <= most) return;
    const std::string text = "An integer without quotes is taken modulo 2^32.";
    if (isPosition) return notes.add(text);
    notes.add(text, literal, "'" + string(literal) + "'");
}

void noteFraction(std::string_view literal, NoteList &notes) {
    const std::size_t point = literal.find('.');
    const std::string_view digits = literal.substr(point == std::string_view::npos ? 0 : point + 1);
    if (digits.size() > 2 || literal.find_first_of("eE") != std::string_view::npos)
        notes.add("A decimal number without quotes is taken with two decimals.", literal,
                  "'" + string(literal) + "'");
}

}  // namespace

void notePredicates(const Operand &path, NoteList &notes) {
    for (const Step &step : path.steps)
        for (const Expression &predicate : step.predicates)
            notePredicate(path, step, predicate, notes);
}

void noteLiterals(const std::vector<Token> &tokens, NoteList &notes) {
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const Token &token = tokens[i];
        const int before = i > 0 ? tokens[i - 1].code : 0;
        // Behind a comma it is searched, and not compared.
        if (token.code == STRING_CONST && before != ',') noteQuoted(token.text, notes);
        if (token.code == INT_CONST) noteInteger(token.text, before == '[', notes);
        if (token.code == FLOAT_CONST) noteFraction(token.text, notes);
    }
}

}  // namespace notes
