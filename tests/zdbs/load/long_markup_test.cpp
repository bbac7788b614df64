// What expat begins anew with each piece of a document that it gets.
#include <dlfcn.h>
#include <expat.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/zdbs/load/load_fixture.h"

namespace {

std::uint64_t given = 0;  ///< bytes of all pieces
std::uint64_t seen = 0;   ///< the same, those of earlier pieces counted again with each

}  // namespace

/** Stands in front of expat's own, and counts. */
extern "C" XML_Status XML_ParseBuffer(XML_Parser parser, int size, int isLast) {
    using Function = XML_Status (*)(XML_Parser, int, int);
    static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "XML_ParseBuffer"));
    given += static_cast<std::uint64_t>(size);
    seen += given;
    return next(parser, size, isLast);
}

namespace zdbs {
namespace {

TEST(LongMarkup, OfEveryKindIsLookedAtAFewTimesAtMost) {
    const std::string filling(std::size_t{20} << 20, 'x');
    for (const std::string &xml :
         {"<a><!--" + filling + "--></a>", "<a b='" + filling + "'/>",
          "<a><?t " + filling + "?></a>", "<a" + std::string(filling.size() / 2, ' ') + "/>"}) {
        LoadFixture fixture;
        given = seen = 0;
        EXPECT_EQ(fixture.status(xml), Status::ok) << xml.substr(0, 8);
        EXPECT_EQ(given, xml.size()) << xml.substr(0, 8);
        EXPECT_LT(seen, 3 * given) << xml.substr(0, 8);
    }
}

}  // namespace
}  // namespace zdbs
