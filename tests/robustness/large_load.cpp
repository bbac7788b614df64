/**
 * Loads a document of a gigabyte, made while it is read, and tells what that took. Not among
 * the tests, for it takes minutes and two gigabytes of disk; run it by hand:
 *
 *   build/tests/robustness_large_load [MEGABYTES]
 *
 * The exit status is 1 when the load fails or has more than 512 MB resident.
 */
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/measured_run.h"
#include "tests/robustness/sample_xml.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t bound = 512000000;

std::uint64_t sizeOnDisk(const fs::path &directory) {
    std::uint64_t size = 0;
    for (const auto &entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) size += entry.file_size();
    }
    return size;
}

void tell(const char *what, const robustness::Measures &measures) {
    std::cout << what << ": " << support::toString(measures.ending) << ", " << measures.seconds
              << " s (" << measures.processorSeconds << " s of processors), peak "
              << static_cast<double>(measures.peakBytes) / 1e6 << " MB\n";
}

}  // namespace

int main(int count, char **arguments) {
    const std::uint64_t megabytes = count > 1 ? std::strtoull(arguments[1], nullptr, 10) : 1000;
    const std::size_t bytesOfAnItem = robustness::sampleXml(1, 1000).size() / 1000;
    const std::size_t items = megabytes * 1000000 / bytesOfAnItem;
    const support::TemporaryDirectory directory;
    const fs::path home = directory.path() / "home";
    robustness::zdbs(home, {"init"});
    robustness::zdbs(home, {"create", "db"});

    std::uint64_t written = 0;
    const auto loaded = robustness::measure(
        robustness::zdbsCommand(home, {"load", "db", "-"}),
        [&](std::ostream &out) { written = robustness::writeSampleXml(out, 1, items); });
    std::cout << written << " bytes of XML, " << sizeOnDisk(home) << " on disk\n";
    tell("load", loaded);
    const auto nothing = [](std::ostream &) {};
    const auto checked =
        robustness::measure(robustness::zdbsCommand(home, {"check", "db"}), nothing);
    tell("check", checked);
    const bool good = loaded.ending == support::exited(0) && loaded.peakBytes <= bound &&
                      checked.ending == support::exited(0);
    return good ? 0 : 1;
}
