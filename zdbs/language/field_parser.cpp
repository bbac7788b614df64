#include "zdbs/language/field_parser.h"

#include <array>
#include <optional>
#include <string>
#include <utility>

#include "zdbs/base/number.h"
#include "zdbs/base/status.h"

namespace zdbs {
namespace {

struct FieldName {
    std::string_view name;
    Field field;
};

constexpr std::array fieldNames{
    FieldName{"N_ID", Field::id},         FieldName{"N_TYPE", Field::type},
    FieldName{"N_NAME", Field::name},     FieldName{"N_NAMESPACE", Field::nameSpace},
    FieldName{"N_PARENT", Field::parent}, FieldName{"N_TVALUE", Field::value},
};

/** Reads one field term; keeps the places that messages speak of. */
class FieldParser {
public:
    explicit FieldParser(Cursor &cursor) : cursor_(cursor) {}

    FieldTerm parse() {
        readField();
        readSign();
        readText();
        checkNumber();
        return std::move(term_);
    }

private:
    void readField() {
        const std::size_t place = cursor_.placeOfNext();
        fieldName_ = cursor_.takeWord();
        for (const FieldName &known : fieldNames) {
            if (!sameWord(known.name, fieldName_)) continue;
            term_.field = known.field;
            return;
        }
        throw Failure(Status::unknownField, {shown(fieldName_), columnOf(place)});
    }

    void readSign() {
        signPlace_ = cursor_.placeOfNext();
        const char first = cursor_.peek();
        for (const ComparisonWords &words : comparisonTable) {
            if (words.sign.front() != first || !cursor_.rest().starts_with(words.sign)) continue;
            cursor_.take(words.sign);
            term_.relation = words.relation;
            sign_ = words.sign;
            return;
        }
        cursor_.fail("a relation");
    }

    // =word | =n | ="text" | =&text& | =$ | =$text$; after the other signs word, n, "text", &text&
    void readText() {
        textPlace_ = cursor_.placeOfNext();
        char c = cursor_.peek();
        if (c == '$') {
            readDollar();
        } else if (c == '"' || c == '&') {
            readDelimited(c);
        } else {
            readWord();
        }
    }

    void readWord() {
        term_.text = cursor_.takeUntil("()");
        if (term_.text.empty()) cursor_.fail("a value");
    }

    void readDelimited(char delimiter) {
        std::size_t end = endOfText(delimiter);
        if (end == std::string_view::npos) failUnterminated(delimiter);
        takeText(end);
        bool isEmpty = delimiter == '"' && term_.text.empty() && !isNumeric();
        if (isEmpty && term_.relation == Relation::equal) term_.relation = Relation::any;
    }

    /** `$` alone is "not empty"; what stands between two is contained. */
    void readDollar() {
        if (term_.relation != Relation::equal) failRelation(std::string(sign_) + "$");
        std::size_t end = isNumeric() ? std::string_view::npos : endOfText('$');
        if (end != std::string_view::npos) {
            takeText(end);
            term_.relation = Relation::contains;
            return;
        }
        std::string_view rest = cursor_.rest().substr(1);
        bool isAlone = rest.empty() || rest.find_first_of(" \t\r\n)") == 0;
        if (!isAlone && isNumeric()) failRelation("=$...$");
        if (!isAlone) failUnterminated('$');
        cursor_.moveTo(cursor_.place() + 1);
        term_.relation = Relation::notEmpty;
    }

    /**
     * Place of the delimiter that ends the text which begins at the cursor; npos for none.
     *
     * After N_TVALUE it is the last one of the command that nothing but blanks and ')'
     * follows: literals arrive unescaped, and this way none can end before it should.
     */
    std::size_t endOfText(char delimiter) const {
        std::string_view text = cursor_.text();
        std::size_t open = cursor_.place();
        if (term_.field == Field::value) {
            std::size_t end = text.find_last_not_of(" \t\r\n)");
            bool isEnd = end != std::string_view::npos && end > open && text[end] == delimiter;
            return isEnd ? end : std::string_view::npos;
        }
        // No name begins with a blank or a parenthesis: such a '$' stands alone.
        bool isAlone = delimiter == '$' && open + 1 < text.size() &&
                       std::string_view(" \t\r\n)").find(text[open + 1]) != std::string_view::npos;
        return isAlone ? std::string_view::npos : text.find(delimiter, open + 1);
    }

    void takeText(std::size_t end) {
        std::size_t begin = cursor_.place() + 1;
        term_.text = cursor_.text().substr(begin, end - begin);
        cursor_.moveTo(end + 1);
    }

    bool isNumeric() const { return term_.field == Field::id || term_.field == Field::parent; }

    void checkNumber() {
        if (!isNumeric() || term_.relation == Relation::notEmpty) return;
        if (numberOf(term_.text)) return;
        throw Failure(Status::badNumber, {shown(term_.text), columnOf(textPlace_)});
    }

    std::string columnOf(std::size_t place) { return std::to_string(cursor_.columnOf(place)); }

    [[noreturn]] void failRelation(const std::string &relation) {
        throw Failure(Status::badRelation, {relation, columnOf(signPlace_), fieldName_});
    }

    [[noreturn]] void failUnterminated(char delimiter) {
        throw Failure(Status::unterminatedText,
                      {columnOf(textPlace_), std::string_view(&delimiter, 1)});
    }

    Cursor &cursor_;
    FieldTerm term_;
    std::string_view fieldName_;
    std::string_view sign_;
    std::size_t signPlace_ = 0;
    std::size_t textPlace_ = 0;
};

}  // namespace

FieldTerm parseFieldTerm(Cursor &cursor) {
    return FieldParser(cursor).parse();
}

}  // namespace zdbs
