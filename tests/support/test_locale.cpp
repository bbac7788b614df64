#include "tests/support/test_locale.h"

#include <filesystem>
#include <stdexcept>

#include "tests/support/piped_program.h"

namespace support {

std::map<std::string, std::string> makeLocale(const TemporaryDirectory &directory,
                                              const std::string &source,
                                              const std::string &characterSet) {
    const std::string name = source + "." + characterSet;
    const std::string folder = directory / "locales";
    std::filesystem::create_directory(folder);
    const ProgramResult result =
        run({"localedef",
             {"--no-archive", "-i", source, "-f", characterSet, folder + "/" + name},
             {},
             {}});
    if (result.ending != exited(0)) throw std::runtime_error("localedef: " + result.err);
    return {{"LOCPATH", folder}, {"LC_ALL", name}};
}

}  // namespace support
