// The least that loading can take: one pass of the parser with handlers that do nothing.
#include <expat.h>

#include <cstdio>
#include <memory>
#include <type_traits>

namespace {

struct ParserFree {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

void setEmptyHandlers(XML_Parser parser) {
    XML_SetElementHandler(
        parser, [](void *, const char *, const char **) {}, [](void *, const char *) {});
    XML_SetCharacterDataHandler(parser, [](void *, const char *, int) {});
    XML_SetCommentHandler(parser, [](void *, const char *) {});
    XML_SetProcessingInstructionHandler(parser, [](void *, const char *, const char *) {});
}

bool pass(XML_Parser parser, std::FILE *file) {
    constexpr int pieceSize = 256 * 1024;
    for (bool atEnd = false; !atEnd;) {
        void *buffer = XML_GetBuffer(parser, pieceSize);
        if (!buffer) return false;
        const std::size_t size = std::fread(buffer, 1, pieceSize, file);
        atEnd = size == 0;
        if (XML_ParseBuffer(parser, static_cast<int>(size), atEnd) != XML_STATUS_OK) return false;
    }
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(
        argc == 2 ? std::fopen(argv[1], "rb") : nullptr, &std::fclose);
    if (!file) {
        std::fprintf(stderr, "usage: expat_pass FILE\n");
        return 2;
    }
    // Namespaces are resolved, as in a load.
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree> parser(
        XML_ParserCreateNS(nullptr, '\1'));
    setEmptyHandlers(parser.get());
    if (pass(parser.get(), file.get())) return 0;
    std::fprintf(stderr, "expat_pass: %s\n", XML_ErrorString(XML_GetErrorCode(parser.get())));
    return 1;
}
