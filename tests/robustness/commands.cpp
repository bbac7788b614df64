#include "tests/robustness/commands.h"

#include <cstdlib>

#include "tests/robustness/sample_xml.h"

namespace robustness {

void PrintTo(const CommandCase &one, std::ostream *out) {
    *out << one.name;
}

std::string nameOfCommand(const testing::TestParamInfo<CommandCase> &test) {
    return test.param.name;
}

std::vector<CommandCase> writingCommands() {
    constexpr const char *zdbs = INTERRUPTED_ZDBS;
    return {
        {"Load", zdbs, {"load", "db", "@new.xml", "@more.xml"}, {}, true},
        {"LoadOfManySegments",
         WORKER_PROGRAM,
         {"load", "@", "@new.xml", "@more.xml", "@big.xml"},
         {},
         true},
        {"Replace", zdbs, {"replace", "db", "@other/old.xml"}, {}, true},
        {"Remove", zdbs, {"remove", "db", "old.xml"}, {}, true},
        {"Sync", zdbs, {"sync", "db", "@folder"}, {}, true},
        {"Compact", zdbs, {"compact", "db"}, {}, true},
        {"Create", zdbs, {"create", "another"}, {}, true},
        {"Drop", zdbs, {"drop", "idle"}, {}, true},
        {"AddUser", zdbs, {"user", "add", "ann", "--password-stdin"}, "other\n", true},
        {"RemoveUser", zdbs, {"user", "remove", "guest"}, {}, true},
        {"Grant", zdbs, {"grant", "guest", "*"}, {}, true},
        {"Revoke", zdbs, {"revoke", "guest", "spare"}, {}, true},
    };
}

std::vector<CommandCase> everyCommand() {
    constexpr const char *zdbs = INTERRUPTED_ZDBS;
    std::vector<CommandCase> all = writingCommands();
    std::erase_if(all, [](const CommandCase &one) { return one.program == WORKER_PROGRAM; });
    const std::vector<CommandCase> reading{
        {"Check", zdbs, {"check", "db"}},
        {"Dump", zdbs, {"dump", "db", "keep.xml"}},
        {"List", zdbs, {"list", "db", "--json"}},
        {"Info", zdbs, {"info", "db"}},
        {"Paths", zdbs, {"paths", "db"}},
        {"Values", zdbs, {"values", "db", "//@id"}},
        {"Query", zdbs, {"query", "db", "//item[contains(name/text(),'salt')]", "//b[2]/.."}},
        {"Fragments", zdbs, {"query", "db", "--fragments", "/name /@id", "//item[@price>500]"}},
        {"Columns", zdbs, {"query", "db", "--csv", "--paths", "--values", "//item/@id"}},
        {"Explain", zdbs, {"explain", "db", "//item[name='salt']"}, {}, false, false},
        {"XPath", zdbs, {"xpath", "db", "sum(//item/@price) div count(//item[b]/following::b)"}},
        {"Backup", zdbs, {"backup", "--output", "@made"}, {}, false, true, "made"},
        {"Restore", zdbs, {"restore", "@backup", "--into", "@made"}, {}, false, true, "made"},
        {"Shell", INTERRUPTED_VEXA, {"-u", "reader", "-p", "secret", "-q", "-i", "@script"}},
    };
    all.insert(all.end(), reading.begin(), reading.end());
    return all;
}

CommandTest::CommandTest() {
    fs::create_directory(directory_.path() / "other");
    fs::create_directory(directory_.path() / "folder");
    file("keep.xml", 1, 30);
    file("old.xml", 2, 40);
    file("other/old.xml", 3, 50);
    file("folder/old.xml", 3, 50);
    file("folder/new.xml", 8, 20);
    file("new.xml", 4, 25);
    file("more.xml", 5, 3);
    file("big.xml", 6, 300);
    file("gone.xml", 7, 100);
    directory_.write("script",
                     "BASE db;\nXFIND //item[b/@c='x' or position()<3]/name;\n"
                     "XGET //item[@price>900] /name /@id;\n");
    makeHome();
    zdbs(home_, {"create", "spare"});
    zdbs(home_, {"create", "idle"});
    zdbs(home_, {"user", "add", "guest", "--password-stdin"}, "guest\n");
    zdbs(home_, {"grant", "guest", "spare"});
    zdbs(home_, {"load", "db", directory_ / "keep.xml", directory_ / "gone.xml"});
    zdbs(home_, {"load", "db", directory_ / "old.xml"});
    zdbs(home_, {"remove", "db", "gone.xml"});
    zdbs(home_, {"backup", "--output", directory_ / "backup"});
    old_ = contentOf(home_);
}

void CommandTest::SetUp() {
    const fs::path home = copiedHome();
    const auto result = support::run(command(home), GetParam().input);
    EXPECT_EQ(result.ending, support::exited(0)) << result.err;
    new_ = contentOf(home);
}

void CommandTest::file(const std::string &name, std::uint32_t seed, std::size_t items) const {
    directory_.write(name, sampleXml(seed, items));
}

fs::path CommandTest::copiedHome() const {
    const fs::path copy = directory_.path() / "copy";
    fs::remove_all(copy);
    fs::copy(home_, copy, fs::copy_options::recursive);
    return copy;
}

support::Command CommandTest::command(const fs::path &home) const {
    if (GetParam().makes != nullptr) fs::remove_all(directory_ / GetParam().makes);
    support::Command result = {GetParam().program,
                               GetParam().words,
                               {{"ZDBS_HOME", home.native()}, {"LC_ALL", "C.UTF-8"}},
                               {}};
    for (std::string &word : result.arguments) {
        if (word == "@")
            word = home.native();
        else if (word.starts_with('@'))
            word = directory_ / word.substr(1);
    }
    return result;
}

}  // namespace robustness
