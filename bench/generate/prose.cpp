#include "bench/generate/prose.h"

#include <string>

namespace bench {

namespace {

struct Mark {
    std::string_view begin;
    std::string_view end;
};

constexpr Mark marks[] = {
    {"<bold>", "</bold>"}, {"<keyword>", "</keyword>"}, {"<emph>", "</emph>"}};

constexpr int deepestMark = 3;
constexpr int deepestList = 3;

}  // namespace

void Prose::words(std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        if (i > 0) out_ << " ";
        out_ << vocabulary_.draw(random_);
    }
}

void Prose::names(std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        if (i > 0) out_ << " ";
        const std::string_view word = vocabulary_.word(random_.below(Vocabulary::size));
        const char capital = static_cast<char>(word[0] - 'a' + 'A');
        out_ << std::string_view(&capital, 1) << word.substr(1);
    }
}

void Prose::text(std::uint32_t wordCount) {
    out_ << "<text>";
    while (wordCount > 0) {
        const std::uint32_t run = std::min(wordCount, random_.between(6, 30));
        words(run);
        wordCount -= run;
        out_ << " ";
        if (random_.percent(70)) marked(1);
    }
    out_ << "</text>";
}

void Prose::marked(int depth) {
    const Mark &mark = marks[random_.below(3)];
    out_ << mark.begin;
    words(random_.between(1, 4));
    if (depth < deepestMark && random_.percent(25)) {
        out_ << " ";
        marked(depth + 1);
    }
    out_ << mark.end << " ";
}

void Prose::description() {
    out_ << "<description>";
    if (random_.percent(70))
        text(random_.between(20, 180));
    else
        list(1);
    out_ << "</description>";
}

void Prose::list(int depth) {
    out_ << "<parlist>";
    for (std::uint32_t items = random_.between(1, 5); items > 0; --items) {
        out_ << "<listitem>";
        if (depth < deepestList && random_.percent(20))
            list(depth + 1);
        else
            text(random_.between(10, 85));
        out_ << "</listitem>";
    }
    out_ << "</parlist>";
}

}  // namespace bench
