#include "bench/generate/auction_site.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "bench/generate/prose.h"
#include "bench/generate/random.h"
#include "bench/generate/vocabulary.h"

namespace bench {

namespace {

constexpr double usualSize = 111e6;

struct Region {
    std::string_view name;
    std::uint32_t perMille;  ///< of all items
};

constexpr Region regions[] = {{"africa", 25},  {"asia", 90},      {"australia", 100},
                              {"europe", 280}, {"namerica", 460}, {"samerica", 45}};

constexpr std::string_view countries[] = {"Argentina", "Brazil", "Canada",  "Egypt",  "France",
                                          "Germany",   "India",  "Iceland", "Japan",  "Kenya",
                                          "Morocco",   "Norway", "Peru",    "Poland", "Spain"};

constexpr std::string_view payments[] = {"Cash", "Money order", "Personal check", "Creditcard"};

constexpr std::string_view shippings[] = {
    "Buyer pays fixed shipping charges", "Will ship only within country",
    "Will ship internationally", "See description for charges"};

constexpr std::string_view educations[] = {"High School", "College", "Graduate School", "Other"};

template <std::size_t count>
std::string_view pick(Random &random, const std::string_view (&choices)[count]) {
    return choices[random.below(count)];
}

class AuctionSite {
public:
    AuctionSite(DocumentOutput &out, std::uint64_t size, std::uint64_t seed)
        : out_(out),
          random_(seed),
          vocabulary_(seed + 1),
          prose_(out, random_, vocabulary_),
          items_(share(size, 21750)),
          categories_(share(size, 1000)),
          people_(share(size, 25500)),
          openAuctions_(share(size, 12000)),
          closedAuctions_(share(size, 9750)) {}

    void write() {
        out_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<site>\n";
        writeRegions();
        writeCategories();
        writePeople();
        writeOpenAuctions();
        writeClosedAuctions();
        out_ << "</site>\n";
        out_.finish();
    }

private:
    static std::uint32_t share(std::uint64_t size, double ofUsual) {
        return std::max(
            1U, static_cast<std::uint32_t>(static_cast<double>(size) / usualSize * ofUsual));
    }

    /** An element with text that needs no escape. */
    void field(std::string_view name, std::string_view value) {
        out_ << "<" << name << ">" << value << "</" << name << ">";
    }

    void reference(std::string_view element, std::string_view attribute, std::string_view kind,
                   std::uint32_t count) {
        out_ << "<" << element << " " << attribute << "=\"" << kind << random_.below(count)
             << "\"/>";
    }

    template <typename... Values>
    std::string_view format(const char *form, Values... values) {
        const int size = std::snprintf(line_, sizeof line_, form, values...);
        return {line_, static_cast<std::size_t>(size)};
    }

    std::string_view amount(std::uint32_t mostCents) {
        const std::uint32_t cents = random_.below(mostCents);
        return format("%u.%02u", cents / 100, cents % 100);
    }

    std::string_view date() {
        const std::uint32_t month = random_.between(1, 12);
        const std::uint32_t day = random_.between(1, 28);
        return format("%02u/%02u/%u", month, day, random_.between(1998, 2001));
    }

    std::string_view time() {
        const std::uint32_t hour = random_.below(24);
        const std::uint32_t minute = random_.below(60);
        return format("%02u:%02u:%02u", hour, minute, random_.below(60));
    }

    std::string_view country() {
        return random_.percent(75) ? "United States" : pick(random_, countries);
    }

    template <std::size_t count>
    void some(std::string_view name, const std::string_view (&choices)[count]) {
        out_ << "<" << name << ">";
        bool isFirst = true;
        for (const std::string_view choice : choices) {
            if (!random_.percent(50)) continue;
            out_ << (isFirst ? "" : ", ") << choice;
            isFirst = false;
        }
        out_ << "</" << name << ">";
    }

    void writeRegions() {
        out_ << "<regions>\n";
        std::uint32_t item = 0;
        std::uint32_t perMille = 0;
        for (const Region &region : regions) {
            out_ << "<" << region.name << ">\n";
            perMille += region.perMille;
            const auto end = static_cast<std::uint32_t>(std::uint64_t{items_} * perMille / 1000);
            for (; item < end; ++item)
                writeItem(item);
            out_ << "</" << region.name << ">\n";
        }
        out_ << "</regions>\n";
    }

    void writeItem(std::uint32_t number) {
        out_ << "<item id=\"item" << number << "\"";
        if (random_.percent(10)) out_ << " featured=\"yes\"";
        out_ << ">\n";
        field("location", country());
        out_ << "<quantity>" << 1 + random_.repeats(12, 9) << "</quantity><name>";
        prose_.words(random_.between(1, 4));
        out_ << "</name>\n";
        some("payment", payments);
        prose_.description();
        some("shipping", shippings);
        for (std::uint32_t count = 1 + random_.repeats(70, 9); count > 0; --count)
            reference("incategory", "category", "category", categories_);
        out_ << "<mailbox>";
        for (std::uint32_t count = random_.repeats(50, 20); count > 0; --count)
            writeMail();
        out_ << "</mailbox>\n</item>\n";
    }

    void writeMail() {
        out_ << "\n<mail>";
        writeCorrespondent("from");
        writeCorrespondent("to");
        field("date", date());
        prose_.text(random_.between(20, 180));
        out_ << "</mail>";
    }

    void writeCorrespondent(std::string_view name) {
        out_ << "<" << name << ">";
        prose_.names(2);
        out_ << " ";
        writeMailAddress();
        out_ << "</" << name << ">";
    }

    void writeMailAddress() {
        out_ << "mailto:";
        prose_.names(1);
        out_ << "@" << vocabulary_.draw(random_) << (random_.oneOf(2) ? ".com" : ".org");
    }

    void writeCategories() {
        out_ << "<categories>\n";
        for (std::uint32_t number = 0; number < categories_; ++number) {
            out_ << "<category id=\"category" << number << "\"><name>";
            prose_.words(random_.between(1, 3));
            out_ << "</name>";
            prose_.description();
            out_ << "</category>\n";
        }
        out_ << "</categories>\n<catgraph>\n";
        for (std::uint32_t number = 0; number < categories_; ++number)
            out_ << "<edge from=\"category" << random_.below(categories_) << "\" to=\"category"
                 << random_.below(categories_) << "\"/>\n";
        out_ << "</catgraph>\n";
    }

    void writePeople() {
        out_ << "<people>\n";
        for (std::uint32_t number = 0; number < people_; ++number)
            writePerson(number);
        out_ << "</people>\n";
    }

    void writePerson(std::uint32_t number) {
        out_ << "<person id=\"person" << number << "\"><name>";
        prose_.names(2);
        out_ << "</name><emailaddress>";
        writeMailAddress();
        out_ << "</emailaddress>\n";
        if (random_.percent(50)) {
            const std::uint32_t land = random_.between(1, 99);
            const std::uint32_t area = random_.between(10, 999);
            field("phone", format("+%u (%u) %u", land, area, random_.between(1000000, 99999999)));
        }
        if (random_.percent(50)) writeAddress();
        if (random_.percent(50)) {
            out_ << "<homepage>http://www." << vocabulary_.draw(random_) << ".com/~";
            prose_.words(1);
            out_ << "</homepage>";
        }
        if (random_.percent(50)) {
            const std::uint32_t a = random_.between(1000, 9999);
            const std::uint32_t b = random_.between(1000, 9999);
            field("creditcard", format("%u %u %u %u", a, b, random_.between(1000, 9999),
                                       random_.between(1000, 9999)));
        }
        if (random_.percent(75)) writeProfile();
        if (random_.percent(60)) writeWatches();
        out_ << "</person>\n";
    }

    void writeAddress() {
        out_ << "<address><street>" << random_.between(1, 99) << " ";
        prose_.names(1);
        out_ << " St</street><city>";
        prose_.names(1);
        out_ << "</city>";
        const std::string_view where = country();
        field("country", where);
        if (random_.percent(40)) {
            out_ << "<province>";
            prose_.names(1);
            out_ << "</province>";
        }
        out_ << "<zipcode>" << random_.between(1, 99999) << "</zipcode></address>\n";
    }

    void writeProfile() {
        out_ << "<profile income=\"" << amount(15000000) << "\">";
        for (std::uint32_t count = random_.repeats(65, 20); count > 0; --count)
            reference("interest", "category", "category", categories_);
        if (random_.percent(50)) field("education", pick(random_, educations));
        if (random_.percent(50)) field("gender", random_.oneOf(2) ? "male" : "female");
        field("business", random_.oneOf(2) ? "Yes" : "No");
        if (random_.percent(50)) out_ << "<age>" << random_.between(18, 80) << "</age>";
        out_ << "</profile>\n";
    }

    void writeWatches() {
        out_ << "<watches>";
        for (std::uint32_t count = random_.repeats(70, 20); count > 0; --count)
            reference("watch", "open-auction", "auction", openAuctions_);
        out_ << "</watches>\n";
    }

    void writeOpenAuctions() {
        out_ << "<open-auctions>\n";
        for (std::uint32_t number = 0; number < openAuctions_; ++number)
            writeOpenAuction(number);
        out_ << "</open-auctions>\n";
    }

    void writeOpenAuction(std::uint32_t number) {
        out_ << "<open-auction id=\"auction" << number << "\">";
        field("initial", amount(20000));
        if (random_.percent(45)) field("reserve", amount(40000));
        out_ << "\n";
        for (std::uint32_t count = random_.repeats(83, 60); count > 0; --count) {
            out_ << "<bidder>";
            field("date", date());
            field("time", time());
            reference("personref", "person", "person", people_);
            const std::uint32_t steps = random_.between(1, 30);
            field("increase", format("%u.%u0", steps * 3 / 2, steps % 2 * 5));
            out_ << "</bidder>\n";
        }
        field("current", amount(60000));
        if (random_.percent(50)) field("privacy", random_.oneOf(2) ? "Yes" : "No");
        reference("itemref", "item", "item", items_);
        reference("seller", "person", "person", people_);
        writeAnnotation();
        writeTrade();
        out_ << "<interval>";
        field("start", date());
        field("end", date());
        out_ << "</interval></open-auction>\n";
    }

    void writeAnnotation() {
        out_ << "\n<annotation>";
        reference("author", "person", "person", people_);
        prose_.description();
        out_ << "<happiness>" << random_.between(1, 10) << "</happiness></annotation>\n";
    }

    void writeTrade() {
        out_ << "<quantity>" << 1 + random_.repeats(12, 9) << "</quantity>";
        field("type", random_.percent(90) ? "Regular" : "Featured");
    }

    void writeClosedAuctions() {
        out_ << "<closed-auctions>\n";
        for (std::uint32_t number = 0; number < closedAuctions_; ++number) {
            out_ << "<closed-auction>";
            reference("seller", "person", "person", people_);
            reference("buyer", "person", "person", people_);
            reference("itemref", "item", "item", items_);
            field("price", amount(60000));
            field("date", date());
            writeTrade();
            writeAnnotation();
            out_ << "</closed-auction>\n";
        }
        out_ << "</closed-auctions>\n";
    }

    DocumentOutput &out_;
    Random random_;
    Vocabulary vocabulary_;
    Prose prose_;
    std::uint32_t items_;
    std::uint32_t categories_;
    std::uint32_t people_;
    std::uint32_t openAuctions_;
    std::uint32_t closedAuctions_;
    char line_[64];
};

}  // namespace

void writeAuctionSite(DocumentOutput &out, std::uint64_t size, std::uint64_t seed) {
    AuctionSite(out, size, seed).write();
}

}  // namespace bench
