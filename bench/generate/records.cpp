#include "bench/generate/records.h"

#include <cstdio>
#include <string>

#include "bench/generate/document_output.h"
#include "bench/generate/prose.h"
#include "bench/generate/random.h"
#include "bench/generate/vocabulary.h"

namespace bench {

namespace {

constexpr std::string_view languages[] = {"de", "en", "es", "fr", "it", "ja", "pl"};
constexpr std::uint32_t filesInFolder = 1000;

std::string numbered(const char *form, std::uint32_t number) {
    char name[32];
    std::snprintf(name, sizeof name, form, number);
    return name;
}

void writeRecord(DocumentOutput &out, Random &random, const Vocabulary &vocabulary,
                 std::uint32_t number) {
    Prose prose(out, random, vocabulary);
    out << "<record id=\"r" << number << "\" lang=\"" << languages[random.below(7)]
        << "\">\n<title>";
    prose.words(random.between(2, 9));
    out << "</title>\n";
    for (std::uint32_t count = 1 + random.repeats(35, 5); count > 0; --count) {
        out << "<author>";
        prose.names(2);
        out << "</author>\n";
    }
    out << "<year>" << random.between(1900, 2025) << "</year>\n<pages>" << random.between(1, 900)
        << "</pages>\n";
    for (std::uint32_t count = random.repeats(75, 12); count > 0; --count) {
        out << "<subject>";
        prose.words(1);
        out << "</subject>\n";
    }
    prose.description();
    out << "\n</record>\n";
    out.finish();
}

}  // namespace

void writeRecords(const std::filesystem::path &directory, std::uint32_t count, std::uint64_t seed) {
    Random random(seed);
    const Vocabulary vocabulary(seed + 1);
    std::filesystem::path folder;
    for (std::uint32_t number = 0; number < count; ++number) {
        if (number % filesInFolder == 0) {
            folder = directory / numbered("%03u", number / filesInFolder);
            std::filesystem::create_directories(folder);
        }
        DocumentOutput out((folder / numbered("%06u.xml", number)).native());
        writeRecord(out, random, vocabulary, number);
    }
}

}  // namespace bench
