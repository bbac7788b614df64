#include "zdbs/serve/page_files.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "zdbs/serve/pages.h"
#include "zdbs/serve/problem.h"

namespace zdbs::serve {

namespace {

constexpr std::array<std::pair<std::string_view, const char *>, 4> typesByEnd = {
    {{".html", "text/html; charset=utf-8"},
     {".css", "text/css; charset=utf-8"},
     {".js", "text/javascript; charset=utf-8"},
     {".svg", "image/svg+xml"}}};

/**
 * Scripts, styles and requests of this server's own files only; nothing inline, no forms that are
 * sent, no frames. Where the browser knows trusted types, no text can be made markup at all.
 */
constexpr const char *pagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'";

std::string typeOf(std::string_view name) {
    const auto found = std::find_if(typesByEnd.begin(), typesByEnd.end(),
                                    [&](const auto &each) { return name.ends_with(each.first); });
    return found == typesByEnd.end() ? "application/octet-stream" : found->second;
}

}  // namespace

void sendPageFile(const Call &call) {
    const std::string name = call.document.empty() ? "index.html" : call.document;
    const auto files = embeddedFilesOfPage();
    const auto file = std::find_if(files.begin(), files.end(),
                                   [&](const EmbeddedFile &each) { return each.name == name; });
    if (file == files.end()) throw Problem(404, "There is nothing at this place.");
    ReplyHead head = {200,
                      typeOf(name),
                      {{"ETag", '"' + std::string(file->tag) + '"'},
                       {"Cache-Control", "no-cache"},
                       {"Content-Security-Policy", pagePolicy},
                       {"Cross-Origin-Opener-Policy", "same-origin"},
                       {"Cross-Origin-Resource-Policy", "same-origin"},
                       {"Referrer-Policy", "no-referrer"}}};
    if (!call.isKnown(head)) call.reply.send(std::move(head), file->content);
}

}  // namespace zdbs::serve
