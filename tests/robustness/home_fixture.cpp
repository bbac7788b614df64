#include "tests/robustness/home_fixture.h"

#include <set>

namespace robustness {

namespace fs = std::filesystem;

support::Command zdbsCommand(const fs::path &home, const Words &words) {
    return {ZDBS_PROGRAM, words, {{"ZDBS_HOME", home.native()}}, {}};
}

std::string zdbs(const fs::path &home, const Words &words, const std::string &input) {
    const auto result = support::run(zdbsCommand(home, words), input);
    EXPECT_EQ(result.ending, support::exited(0)) << words.front() << ": " << result.err;
    return result.out;
}

std::string expectSound(const fs::path &home, const std::string &when) {
    const auto result = support::run(zdbsCommand(home, {"check", "db"}));
    EXPECT_EQ(result.ending, support::exited(0)) << when << ": " << result.out << result.err;
    const std::size_t end = result.out.empty() ? 0 : result.out.size() - 1;
    return result.out.substr(result.out.rfind('\n', end - 1) + 1);
}

namespace {

/** Without the sizes of databases, which are told by their own lists. */
std::string namesIn(const fs::path &home) {
    std::string names = zdbs(home, {"user", "list", "--json"});
    std::set<std::string> databases;
    for (const auto &database : fs::directory_iterator(home / "databases"))
        databases.insert(database.path().filename().native());
    for (const std::string &database : databases)
        names += database.starts_with('.') ? "" : database + "\n";  // one that was being made
    return names;
}

}  // namespace

Content contentOf(const fs::path &home) {
    const support::TemporaryDirectory directory;
    zdbs(home, {"dump", "db", "--output", directory.path().native()});
    Content content{
        {}, zdbs(home, {"list", "db", "--json"}), expectSound(home, "reading"), namesIn(home)};
    for (const auto &entry : fs::recursive_directory_iterator(directory.path())) {
        if (!entry.is_regular_file()) continue;
        content.documents.emplace(fs::relative(entry.path(), directory.path()).native(),
                                  support::readFile(entry.path().native()));
    }
    return content;
}

void HomeTest::makeHome() {
    zdbs(home_, {"init"});
    zdbs(home_, {"create", "db"});
    zdbs(home_, {"user", "add", "reader", "--password-stdin"}, "secret\n");
    zdbs(home_, {"grant", "reader", "db"});
}

support::Command HomeTest::reader(const Words &words) const {
    return {READER_PROGRAM, words, {{"ZDBS_HOME", home_.native()}}, {}};
}

}  // namespace robustness
