#include "tests/answers/real_documents.h"

#include <zlib.h>

#include <memory>
#include <set>
#include <stdexcept>

namespace answers {
namespace {

const std::string docbook = "/usr/share/xml/docbook/stylesheet/docbook-xsl/";
const std::string games = "/usr/share/games/mame/hash/";
const std::string security = "/usr/share/xml/scap/ssg/content/";

}  // namespace

const std::vector<Sample> &realDocuments() {
    static const std::vector<Sample> all = {
        {"mime", "/usr/share/mime/packages/freedesktop.org.xml"},
        {"xkb", "/usr/share/X11/xkb/rules/base.xml"},
        {"languages", "/usr/share/xml/iso-codes/iso_639-3.xml"},
        {"regions", "/usr/share/xml/iso-codes/iso_3166-1.xml"},
        {"opengl", "/usr/share/khronos-api/gl.xml"},
        {"hardening", security + "ssg-ubuntu2204-ds.xml"},
        {"questions", security + "ssg-ubuntu2204-ocil.xml"},
        {"music", games + "vgmplay.xml"},
        {"computers", games + "pc98.xml"},
        {"sharp", games + "x68k_flop.xml"},
        {"kanji", "/usr/share/edict/kanjidic2.xml.gz"},
        {"titlepages", docbook + "fo/titlepage.templates.xml"},
        {"icon", docbook + "images/home.svg"},
        {"word", docbook + "roundtrip/template.xml"},
        {"slides", docbook + "slides/doc/slides.xml"},
        {"stylesheet", docbook + "template/titlepage.xsl"},
        {"german", docbook + "common/de.xml"},
        {"utf16", "/usr/share/doc/libxml-libxml-perl/examples/utf-16-2.xml"},
    };
    return all;
}

std::vector<Sample> documentsForAnswers() {
    // Without the large ones, a tiny one, and those whose names have underscores all.
    const std::set<std::string> others = {"hardening", "music",     "kanji",
                                          "utf16",     "languages", "regions"};
    std::vector<Sample> few;
    for (const Sample &sample : realDocuments()) {
        if (!others.contains(sample.database)) few.push_back(sample);
    }
    return few;
}

std::string textOf(const Sample &sample) {
    const std::unique_ptr<gzFile_s, decltype(&gzclose)> file(gzopen(sample.file.c_str(), "rb"),
                                                             &gzclose);
    if (!file) throw std::runtime_error("cannot read " + sample.file);
    std::string text;
    std::string piece(1U << 20U, '\0');
    int length = 0;
    while ((length = gzread(file.get(), piece.data(), static_cast<unsigned>(piece.size()))) > 0)
        text.append(piece, 0, static_cast<std::size_t>(length));
    if (length < 0) throw std::runtime_error(sample.file + " is damaged");
    return text;
}

}  // namespace answers
