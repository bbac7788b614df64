// Documents for measuring: one large one, or many small ones.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

#include "bench/generate/auction_site.h"
#include "bench/generate/document_output.h"
#include "bench/generate/records.h"

namespace {

/** "1.1G" in bytes; K, M and G are thousands. Throws CLI::ValidationError. */
std::string bytesOf(const std::string &text) {
    std::size_t end = 0;
    double number = 0;
    try {
        number = std::stod(text, &end);
    } catch (const std::exception &) {
        throw CLI::ValidationError(text + " is no size");
    }
    const std::string unit = text.substr(end);
    const std::size_t thousands = unit.empty() ? 0 : std::string("KMG").find(unit) + 1;
    const double bytes = number * std::pow(1000.0, static_cast<double>(thousands));
    const bool isKnown = unit.empty() || (unit.size() == 1 && thousands > 0);
    if (!isKnown || !(bytes >= 1 && bytes <= 1e15))
        throw CLI::ValidationError(text + " is no size");
    return std::to_string(static_cast<std::uint64_t>(bytes));
}

}  // namespace

int main(int argc, char **argv) try {
    std::uint64_t size = 111000000;
    std::uint32_t count = 100000;
    std::uint64_t seed = 1;
    std::string path;

    CLI::App app("Writes documents for measuring, the same ones for the same seed.");
    app.require_subcommand(1);
    CLI::App *site = app.add_subcommand("site", "One document: the site of an auction house");
    site->add_option("--size", size, "About so many bytes, as 500K, 111M or 1.1G")
        ->transform(bytesOf)
        ->capture_default_str();
    site->add_option("--out", path, "File to write; standard output without");
    CLI::App *records = app.add_subcommand("records", "Many small documents, a file each");
    records->add_option("--records", count, "So many")->capture_default_str();
    records->add_option("--out", path, "Folder to write to")->required();
    for (CLI::App *command : {site, records})
        command->add_option("--seed", seed, "Another seed gives other documents")
            ->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    if (*records) {
        bench::writeRecords(path, count, seed);
    } else {
        bench::DocumentOutput out(path);
        bench::writeAuctionSite(out, size, seed);
    }
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "generate: %s\n", error.what());
    return 1;
}
