#ifndef PRG_XML_XPATH_UTILS_VEXA_LINE_EDITOR_H
#define PRG_XML_XPATH_UTILS_VEXA_LINE_EDITOR_H

#include <histedit.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "prg/xml/xpath/utils/vexa/history.h"
#include "prg/xml/xpath/utils/vexa/terminal.h"
#include "prg/xml/xpath/utils/vexa/typed_input.h"

/**
 * Lines typed and edited on the terminal of standard input and output. While it lives the terminal
 * is not in its line mode, so that a line may be of any length; what is typed while nobody reads
 * waits and is not shown.
 *
 * A paste is taken in one go. Its lines stay in the editor until they are sent off, and are then
 * read one after another.
 *
 * One thread; one at a time.
 */
class LineEditor {
public:
    enum class Outcome { line, interrupted, atEnd, failed };

    /** What can stand in a line instead of the word that ends at a place. */
    struct Completions {
        size_t begin = 0;                  // of the word, in bytes
        std::vector<std::string> choices;  // the most likely first
        std::string behind;                // follows the only choice: " "
    };
    /** Is given the line up to the cursor. */
    using Completer = std::function<Completions(const std::string &line)>;

    explicit LineEditor(Completer completer);
    ~LineEditor();
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;

    /** @param line receives a line with its line feed */
    Outcome read(const std::string &prompt, std::string &line);

    /** errno of what failed. */
    int errorNumber() const { return input_.errorNumber(); }

private:
    enum class Sequence { none, begun, named };
    struct Closer {
        void operator()(EditLine *editor) const { el_end(editor); }
        void operator()(HistoryW *history) const { history_wend(history); }
    };

    static LineEditor &of(EditLine *editor);
    static const char *promptOf(EditLine *editor);
    static int readCharacter(EditLine *editor, wchar_t *character);
    static unsigned char paste(EditLine *editor, wint_t);
    static unsigned char complete(EditLine *editor, wint_t);

    void bindKeys();
    void fillHistory();
    void wake();
    int nextCharacter(wchar_t &character);
    void follow(wchar_t character);
    unsigned char insertPaste();
    unsigned char insertCompletion();
    void insert(const std::string &text);
    void list(const std::vector<std::string> &choices);
    Outcome edit(std::string &line);
    Outcome ended();
    void acceptLines(std::wstring text);
    void takeLine(std::string &line);

    Completer completer_;
    TypedInput input_;
    EditedTerminal terminal_;
    LineHistory kept_;
    std::unique_ptr<HistoryW, Closer> history_;
    std::unique_ptr<EditLine, Closer> editor_;
    std::string prompt_;
    std::wstring keys_;      // to be read before what is typed
    bool isPasted_ = false;  // in brackets
    Sequence sequence_ = Sequence::none;
    std::deque<std::wstring> lines_;  // of a paste, behind the one that was read
};

#endif
