#include "prg/xml/xpath/utils/vexa/line_editor.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

constexpr wchar_t escape = L'\033';
constexpr const wchar_t *pasteKey = L"\033[200~";

// What comes in such numbers at once was not typed: it is put in as a whole.
constexpr size_t shortestRun = 16;

void send(const char *sequence) {
    std::fputs(sequence, stdout);
    std::fflush(stdout);
}

/** What all of the choices begin with. */
std::string commonBeginning(const std::vector<std::string> &choices) {
    std::string common = choices.front();
    for (const std::string &choice : choices) {
        const auto ends = std::ranges::mismatch(common, choice);
        common.erase(ends.in1, common.end());
    }
    // Whole characters: what the locale does not read to its end is left out.
    return TypedInput::toBytes(TypedInput::toCharacters(common));
}

}  // namespace

LineEditor::LineEditor(Completer completer)
    : completer_(std::move(completer)),
      input_([this] { wake(); }),
      history_(history_winit()),
      editor_(el_init("vexa", stdin, stdout, stderr)) {
    HistEventW event;
    history_w(history_.get(), &event, H_SETSIZE, 1 << 20);
    el_set(editor_.get(), EL_CLIENTDATA, this);
    el_set(editor_.get(), EL_EDITOR, "emacs");
    el_set(editor_.get(), EL_PROMPT, promptOf);
    el_wset(editor_.get(), EL_HIST, history_w, history_.get());
    el_wset(editor_.get(), EL_GETCFN, readCharacter);
    // Between two lines, too, the terminal does not cut what is typed.
    el_set(editor_.get(), EL_SETTY, "-x", "-icanon", "-echo", nullptr);
    bindKeys();
    el_source(editor_.get(), nullptr);
    fillHistory();
}

LineEditor::~LineEditor() = default;

void LineEditor::bindKeys() {
    EditLine *editor = editor_.get();
    el_set(editor, EL_ADDFN, "vexa-paste", "Takes a paste", paste);
    el_set(editor, EL_ADDFN, "vexa-complete", "Completes a word", complete);
    el_set(editor, EL_BIND, "\\e[200~", "vexa-paste", nullptr);
    el_set(editor, EL_BIND, "^I", "vexa-complete", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_set(editor, EL_BIND, "\\e[3~", "ed-delete-next-char", nullptr);
    for (const char *home : {"\\e[H", "\\eOH", "\\e[1~"})
        el_set(editor, EL_BIND, home, "ed-move-to-beg", nullptr);
    for (const char *end : {"\\e[F", "\\eOF", "\\e[4~"})
        el_set(editor, EL_BIND, end, "ed-move-to-end", nullptr);
    el_set(editor, EL_BIND, "\\e[1;5D", "ed-prev-word", nullptr);
    el_set(editor, EL_BIND, "\\e[1;5C", "em-next-word", nullptr);
}

void LineEditor::fillHistory() {
    HistEventW event;
    history_w(history_.get(), &event, H_CLEAR);
    for (const std::wstring &line : kept_.lines())
        history_w(history_.get(), &event, H_ENTER, line.c_str());
}

LineEditor &LineEditor::of(EditLine *editor) {
    LineEditor *self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *self;
}

const char *LineEditor::promptOf(EditLine *editor) {
    return of(editor).prompt_.c_str();
}

int LineEditor::readCharacter(EditLine *editor, wchar_t *character) {
    return of(editor).nextCharacter(*character);
}

unsigned char LineEditor::paste(EditLine *editor, wint_t) {
    return of(editor).insertPaste();
}

unsigned char LineEditor::complete(EditLine *editor, wint_t) {
    return of(editor).insertCompletion();
}

void LineEditor::wake() {
    el_resize(editor_.get());
    el_set(editor_.get(), EL_REFRESH);
}

/** 1 for a character, 0 when there is none: the editor gives the line up then. */
int LineEditor::nextCharacter(wchar_t &character) {
    if (!keys_.empty()) {
        character = keys_.front();
        keys_.erase(0, 1);
        return 1;
    }
    if (!input_.wait()) return 0;
    if (sequence_ == Sequence::none && input_.runLength() >= shortestRun) {
        keys_ = pasteKey + 1;
        isPasted_ = false;
        character = escape;
        return 1;
    }
    isPasted_ = true;
    if (!input_.next(character)) return 0;
    follow(character);
    return 1;
}

/** Keys without a character of their own send an escape and their name: "[A", "[200~", "OH". */
void LineEditor::follow(wchar_t character) {
    const bool isNamed = sequence_ == Sequence::named && character < L'@';
    if (character == escape)
        sequence_ = Sequence::begun;
    else if (isNamed || (sequence_ == Sequence::begun && (character == L'[' || character == L'O')))
        sequence_ = Sequence::named;
    else
        sequence_ = Sequence::none;
}

unsigned char LineEditor::insertPaste() {
    std::wstring text = std::exchange(isPasted_, true) ? input_.takePaste() : input_.takeRun();
    if (text.ends_with(L'\n')) text.pop_back();
    std::erase(text, L'\0');
    if (!text.empty() && el_winsertstr(editor_.get(), text.c_str()) != 0) return CC_ERROR;
    return CC_REFRESH;
}

LineEditor::Outcome LineEditor::read(const std::string &prompt, std::string &line) {
    prompt_ = prompt;
    if (lines_.empty()) return edit(line);
    takeLine(line);
    std::fputs((prompt + line).c_str(), stdout);
    return Outcome::line;
}

LineEditor::Outcome LineEditor::edit(std::string &line) {
    send("\033[?2004h");
    int length = 0;
    const wchar_t *text = el_wgets(editor_.get(), &length);
    send("\033[?2004l");
    if (text == nullptr || length <= 0) return ended();
    acceptLines(std::wstring(text, static_cast<size_t>(length)));
    takeLine(line);
    return Outcome::line;
}

/** Why there is no line. */
LineEditor::Outcome LineEditor::ended() {
    const TypedInput::State state = input_.state();
    input_.reopen();
    keys_.clear();
    sequence_ = Sequence::none;
    send(state == TypedInput::State::interrupted ? "^C\n" : "\n");
    if (state == TypedInput::State::interrupted) return Outcome::interrupted;
    return state == TypedInput::State::failed ? Outcome::failed : Outcome::atEnd;
}

void LineEditor::acceptLines(std::wstring text) {
    if (text.ends_with(L'\n')) text.pop_back();
    size_t begin = 0;
    for (size_t end = 0; (end = text.find(L'\n', begin)) != std::wstring::npos; begin = end + 1)
        lines_.push_back(text.substr(begin, end - begin));
    lines_.push_back(text.substr(begin));
    for (const std::wstring &line : lines_)
        kept_.add(line);
    fillHistory();
}

void LineEditor::takeLine(std::string &line) {
    line = TypedInput::toBytes(lines_.front()) + '\n';
    lines_.pop_front();
}

void LineEditor::insert(const std::string &text) {
    const std::wstring wide = TypedInput::toCharacters(text);
    if (!wide.empty()) el_winsertstr(editor_.get(), wide.c_str());
}

unsigned char LineEditor::insertCompletion() {
    const LineInfoW *info = el_wline(editor_.get());
    const std::string line = TypedInput::toBytes(std::wstring(info->buffer, info->cursor));
    const Completions completions = completer_(line);
    if (completions.choices.empty()) return CC_ERROR;
    const bool isOnly = completions.choices.size() == 1;
    const std::string common =
        commonBeginning(completions.choices) + (isOnly ? completions.behind : "");
    const std::size_t typed = line.size() - completions.begin;
    if (common.size() > typed) {
        insert(common.substr(typed));
        return CC_REFRESH;
    }
    if (isOnly) return CC_ERROR;
    list(completions.choices);
    return CC_REDISPLAY;
}

/** Below the line, which is shown once more behind it. */
void LineEditor::list(const std::vector<std::string> &choices) {
    constexpr std::size_t most = 100;
    std::string text = "\n";
    for (std::size_t i = 0; i < std::min(choices.size(), most); ++i)
        text += (i > 0 ? "  " : "") + choices[i];
    if (choices.size() > most) text += "  and " + std::to_string(choices.size() - most) + " more";
    send((text + '\n').c_str());
}
