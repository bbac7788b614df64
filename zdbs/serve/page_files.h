/** The files of the page for people, which are in the program; made by cmake/EmbeddedFiles.cmake.
 */
#ifndef ZDBS_SERVE_PAGE_FILES_H
#define ZDBS_SERVE_PAGE_FILES_H

#include <span>
#include <string_view>

namespace zdbs::serve {

struct EmbeddedFile {
    std::string_view name;
    std::string_view tag;  ///< another one for another content
    std::string_view content;
};

/** As long as the program runs. */
std::span<const EmbeddedFile> embeddedFilesOfPage();

}  // namespace zdbs::serve

#endif
