#include "zdbs/answers/request_notes.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

#include "zdbs/answers/request_check.h"

namespace zdbs {

namespace {

std::vector<notes::KnownName> namesOf(const Session &session) {
    using Kind = notes::KnownName::Kind;
    std::vector<notes::KnownName> known;
    for (const OccurringName &name : session.names({{}, true})) {
        if (name.local == "*") return {};
        known.push_back({name.kind == NodeKind::attribute ? Kind::attribute : Kind::element,
                         name.prefix, name.local, name.hasElements});
    }
    return known;
}

/** The names of the database are looked up once. */
RequestNotes::Finder finderOf(const Session &session) {
    return [&session, names = std::optional<std::vector<notes::KnownName>>()](
               const std::string &request, const std::string &error) mutable {
        if (isFindCommand(request)) return std::vector<notes::Note>();
        return notes::notesOn(request, error, [&] {
            if (!names) names = namesOf(session);
            return *names;
        });
    };
}

std::size_t errorWidth() {
    constexpr std::size_t usual = 80;
    constexpr std::size_t least = 20;
    winsize size{};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= least;
    return isKnown ? size.ws_col : usual;
}

void showLine(const std::string &line) {
    const bool isDim = std::getenv("NO_COLOR") == nullptr;
    std::fprintf(stderr, isDim ? "\033[2m%s\033[22m\n" : "%s\n", line.c_str());
}

}  // namespace

RequestNotes::RequestNotes(Finder find, bool asJson, bool withoutNotes)
    : find_(std::move(find)),
      areListed_(asJson && !withoutNotes),
      areShown_(!asJson && !withoutNotes && ::isatty(STDERR_FILENO) == 1) {}

RequestNotes::RequestNotes(const Session &session, bool asJson, bool withoutNotes)
    : RequestNotes(finderOf(session), asJson, withoutNotes) {}

std::vector<std::string> RequestNotes::on(const std::string &request, const std::string &error) {
    std::vector<std::string> sentences;
    if (!areListed_) return sentences;
    for (const notes::Note &note : find_(request, error))
        sentences.push_back(notes::sentenceOf(note, request));
    return sentences;
}

void RequestNotes::show(const std::string &request, const std::string &error) {
    if (!areShown_) return;
    for (const notes::Note &note : find_(request, error)) {
        const std::string lines = notes::linesOf(note, request, errorWidth());
        for (std::size_t begin = 0, end = 0; begin < lines.size(); begin = end + 1) {
            end = lines.find('\n', begin);
            showLine(lines.substr(begin, end - begin));
        }
    }
}

void addNotes(JsonWriter &json, const std::vector<std::string> &notes) {
    if (notes.empty()) return;
    json.key("notes").beginArray();
    for (const std::string &note : notes)
        json.value(note);
    json.endArray();
}

}  // namespace zdbs
