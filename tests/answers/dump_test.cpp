/** What was loaded comes out of `zdbs dump` the same, in canonical form. */
#include <gtest/gtest.h>
#include <iconv.h>

#include <memory>
#include <stdexcept>

#include "tests/answers/real_documents.h"
#include "tests/answers/sample_databases.h"
#include "tests/zdbs/support/xml_text.h"

namespace answers {
namespace {

using zdbs::testing::canonical;

/** Of two long texts, where they part. */
std::string difference(const std::string &source, const std::string &dumped) {
    std::size_t at = 0;
    while (at < source.size() && at < dumped.size() && source[at] == dumped[at])
        ++at;
    const std::size_t from = at < 100 ? 0 : at - 100;
    return "at byte " + std::to_string(at) + "\nwas: " + source.substr(from, 300) +
           "\nis:  " + dumped.substr(from, 300);
}

/** Loads a file, whose text is `xml`, dumps it and compares the canonical forms. */
void expectRoundTrip(const Sample &sample, const std::string &xml) {
    const SampleDatabases databases({sample});
    const std::string source = canonical(xml);
    const std::string dumped = canonical(databases.dump(sample.database));
    EXPECT_GT(source.size(), 90U);
    // Not EXPECT_EQ: millions of characters are nobody's message.
    EXPECT_TRUE(dumped == source) << difference(source, dumped);
}

class Dump : public ::testing::TestWithParam<Sample> {};

TEST_P(Dump, HasTheCanonicalFormOfItsSource) {
    expectRoundTrip(GetParam(), textOf(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(OurSample, Dump, ::testing::Values(garden()),
                         [](const auto &one) { return one.param.database; });
INSTANTIATE_TEST_SUITE_P(RealDocuments, Dump, ::testing::ValuesIn(realDocuments()),
                         [](const auto &one) { return one.param.database; });

/** A document that is written anew in another encoding. */
struct Recoding {
    const char *document;
    const char *encoding;
    const char *declared;  ///< what its declaration says
};

void PrintTo(const Recoding &recoding, std::ostream *out) {
    *out << recoding.document << " in " << recoding.encoding;
}

std::string recoded(const std::string &text, const char *encoding) {
    const iconv_t converter = iconv_open(encoding, "UTF-8");
    std::string input = text;
    std::string output(4 * text.size() + 16, '\0');
    char *from = input.data();
    char *to = output.data();
    std::size_t left = input.size();
    std::size_t room = output.size();
    const std::size_t status = iconv(converter, &from, &left, &to, &room);
    iconv_close(converter);
    if (status == static_cast<std::size_t>(-1)) throw std::runtime_error("cannot be recoded");
    output.resize(output.size() - room);
    return output;
}

/** The document with a declaration of its own, in UTF-8. */
std::string declaredAs(std::string text, const std::string &encoding) {
    if (text.starts_with("<?xml")) text.erase(0, text.find("?>") + 2);
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>" + text;
}

class RecodedDump : public ::testing::TestWithParam<Recoding> {};

TEST_P(RecodedDump, HasTheCanonicalFormOfItsSource) {
    const Recoding &recoding = GetParam();
    for (const Sample &sample : realDocuments()) {
        if (sample.database != recoding.document) continue;
        const std::string source = textOf(sample);
        const std::string other = recoded(declaredAs(source, recoding.declared), recoding.encoding);
        EXPECT_NE(other.find_first_of("\x80\x81\xe4\xfc\xff\xfe\x30"), std::string::npos);
        const support::TemporaryDirectory directory;
        expectRoundTrip({"recoded", directory.write("recoded.xml", other)}, source);
        return;
    }
    FAIL() << "no such document";
}

constexpr Recoding recodings[] = {
    {"regions", "ISO-8859-1", "ISO-8859-1"}, {"regions", "WINDOWS-1252", "windows-1252"},
    {"computers", "UTF-16", "UTF-16"},       {"sharp", "UTF-16", "UTF-16"},
    {"regions", "UTF-16", "UTF-16"},
};

INSTANTIATE_TEST_SUITE_P(RealDocuments, RecodedDump, ::testing::ValuesIn(recodings));

}  // namespace
}  // namespace answers
