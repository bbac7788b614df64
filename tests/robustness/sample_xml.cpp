#include "tests/robustness/sample_xml.h"

#include <array>
#include <random>
#include <sstream>

namespace robustness {
namespace {

constexpr std::array words = {"copper",  "lantern", "meadow", "quarry", "salt",
                              "thimble", "velvet",  "walnut", "zephyr", "\xC3\xA4ther"};

class SampleItems {
public:
    explicit SampleItems(std::uint32_t seed) : random_(seed) {}

    std::string next() {
        const std::size_t number = number_++;
        std::string xml = "<item id='i" + std::to_string(number) + "' price='" + digits(1000) +
                          "." + digits(10) + "'><name>" + word() + ' ' + word() + "</name>";
        if (number % 7 == 0) xml += std::string("<!--") + word() + "-->";
        if (number % 11 == 0) xml += std::string("<?note ") + word() + "?>";
        xml += "<p:text xmlns:p='urn:sample'>";
        for (std::uint32_t count = 3 + below(9); count > 0; --count)
            (xml += word()) += ' ';
        return xml + "<b>" + word() + "</b>" + digits(100000) + "</p:text></item>\n";
    }

private:
    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(random_() % limit);
    }
    std::string digits(std::uint32_t limit) { return std::to_string(below(limit)); }
    const char *word() { return words[below(words.size())]; }

    std::minstd_rand random_;
    std::size_t number_ = 0;
};

}  // namespace

std::uint64_t writeSampleXml(std::ostream &out, std::uint32_t seed, std::size_t items) {
    SampleItems all(seed);
    const std::string begin = "<items>\n";
    const std::string end = "</items>\n";
    std::uint64_t bytes = begin.size() + end.size();
    out << begin;
    for (std::size_t i = 0; i < items; ++i) {
        const std::string item = all.next();
        out << item;
        bytes += item.size();
    }
    out << end;
    return bytes;
}

std::string sampleXml(std::uint32_t seed, std::size_t items) {
    std::ostringstream out;
    writeSampleXml(out, seed, items);
    return out.str();
}

}  // namespace robustness
