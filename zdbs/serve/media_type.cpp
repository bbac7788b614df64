#include "zdbs/serve/media_type.h"

#include <algorithm>
#include <string>

#include "foundation/keyword.h"

namespace zdbs::serve {

namespace {

std::string_view cut(std::string_view &text, char end) {
    const std::size_t length = std::min(text.find(end), text.size());
    std::string_view part = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    constexpr std::string_view blanks = " \t";
    part.remove_prefix(std::min(part.find_first_not_of(blanks), part.size()));
    return part.substr(0, part.find_last_not_of(blanks) + 1);
}

/** Thousandths; what is no number is as good as none written. */
int qualityOf(std::string_view parameters) {
    constexpr int best = 1000;
    while (!parameters.empty()) {
        std::string_view value = cut(parameters, ';');
        if (!equalsNoCase(cut(value, '='), "q")) continue;
        if (value.starts_with('1')) return best;
        if (!value.starts_with('0')) return best;
        int quality = 0;
        int unit = best / 10;
        for (const char digit : value.substr(std::min<std::size_t>(2, value.size()))) {
            if (digit < '0' || digit > '9') break;
            quality += (digit - '0') * unit;
            unit /= 10;
        }
        return quality;
    }
    return best;
}

/** 3 for the type itself, 2 for its group, 1 for all, 0 for another one. */
int closeness(std::string_view range, std::string_view type) {
    if (equalsNoCase(range, type)) return 3;
    if (range == "*/*") return 1;
    const std::string_view group = type.substr(0, type.find('/') + 1);
    const bool isGroup = range.size() == group.size() + 1 && range.ends_with('*') &&
                         equalsNoCase(range.substr(0, group.size()), group);
    return isGroup ? 2 : 0;
}

std::string_view bareType(Form form) {
    const std::string_view type = mediaType(form);
    return type.substr(0, type.find(';'));
}

/** What the closest range of the field says. */
int quality(std::string_view accept, Form form) {
    int best = 0;
    int closest = 0;
    while (!accept.empty()) {
        std::string_view range = cut(accept, ',');
        const std::string_view type = cut(range, ';');
        const bool isText = form == Form::xml && equalsNoCase(type, "text/xml");
        const int close = isText ? 3 : closeness(type, bareType(form));
        if (close <= closest) continue;
        closest = close;
        best = qualityOf(range);
    }
    return best;
}

}  // namespace

std::string_view mediaType(Form form) {
    switch (form) {
        case Form::json:
            return "application/json";
        case Form::csv:
            return "text/csv; charset=utf-8; header=present";
        case Form::plain:
            return "text/plain; charset=utf-8";
        case Form::xml:
            return "application/xml; charset=utf-8";
    }
    return {};
}

std::string_view tagSuffix(Form form) {
    switch (form) {
        case Form::json:
            return "";
        case Form::csv:
            return "-csv";
        case Form::plain:
            return "-plain";
        case Form::xml:
            return "-xml";
    }
    return {};
}

std::optional<Form> preferredForm(std::string_view accept, std::span<const Form> offered) {
    if (offered.empty()) return std::nullopt;
    if (accept.empty()) return offered.front();
    std::optional<Form> preferred;
    int best = 0;
    for (const Form form : offered) {
        const int liked = quality(accept, form);
        if (liked <= best) continue;
        best = liked;
        preferred = form;
    }
    return preferred;
}

}  // namespace zdbs::serve
