/** The real programs with the naive engine in the place of the embedded one. */
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/answers/request_table.h"
#include "tests/answers/sample_databases.h"
#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/naive/location.h"
#include "tests/support/piped_program.h"

namespace zdbs::conformance {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const std::vector<NamedDocument> &documents() {
    static const std::vector<NamedDocument> all = {
        {"a.xml", "<play><line n='1'>to be</line><line n='2'>or not to be</line></play>"},
        {"garden.xml", support::readFile(answers::garden().file)},
        {"p.xml", "<p:r xmlns:p='urn:p' xmlns:vexa='urn:other'><p:b vexa:x='be'/>m&#xe4;r</p:r>"},
    };
    return all;
}

/** A location for another process: users and documents as files. */
std::string writeLocation(const support::TemporaryDirectory &directory, RecordId firstRecord) {
    const std::string location = directory / "location";
    naive::makeLocation(location, firstRecord);
    directory.write("location/users", "reader secret db\n");
    std::filesystem::create_directory(location + "/db");
    std::filesystem::create_directory(location + "/hidden");
    for (const NamedDocument &document : documents())
        directory.write("location/db/" + document.name, document.xml);
    return location;
}

/** What a person types. */
std::string statements() {
    std::string text = "BASE db;\n";
    for (const answers::Row &row : answers::readTable("garden"))
        text += "XFIND " + row.request + ";\n";
    return text +
           "XFIND //line[contains(.,'be')];\n"
           "XGET //line[contains(.,'be')] / /@n /..;\n"
           "HIGHLIGHT;\n"
           "XGET //line[contains(.,'be')] / /@n /.. //text();\n"
           "XGET //plant[name='Leek'] / /name /*[2] /following-sibling::*[1];\n"
           "XGET //@*[.='be'] /;\n"
           "XGET //note[contains(.,'& wait')] //text();\n"
           "XGET /comment() /;\n"
           "XFIND //nothing;\n"
           "XFIND //line[;\n"
           "XGET //line /a[;\n"
           "BASE hidden;\n"
           "BASE none;\n";
}

support::ProgramResult shell(const std::string &location, const std::string &libraries,
                             const std::string &password, const std::string &typed) {
    std::map<std::string, std::string> environment = {{"ZDBS_HOME", location},
                                                      {"LC_ALL", "C.UTF-8"}};
    if (!libraries.empty()) environment["LD_LIBRARY_PATH"] = libraries;
    return support::run({VEXA_PROGRAM, {"-u", "reader", "-p", password, "-q"}, environment, {}},
                        typed);
}

class Shell : public ::testing::Test {
protected:
    Shell() {
        embedded.load(documents());
        embedded.administration().createDatabase("hidden");
    }

    /** Whether the shell says the same on both kernels. */
    void compare(RecordId firstRecord) {
        const support::TemporaryDirectory directory;
        const std::string location = writeLocation(directory, firstRecord);
        const auto wanted = shell(embedded.location(), {}, "secret", statements());
        const auto result = shell(location, NAIVE_KERNEL_DIR, "secret", statements());
        EXPECT_EQ(result.ending, wanted.ending);
        EXPECT_EQ(result.err, wanted.err);
        EXPECT_TRUE(result.out == wanted.out) << result.out << "\ninstead of\n" << wanted.out;
        EXPECT_THAT(wanted.out, HasSubstr("to <vexa:hit>be</vexa:hit>"));
        EXPECT_GT(wanted.out.size(), 20000U);
    }

    Collection embedded{embeddedEngine()};
};

TEST_F(Shell, FindsTheNaiveKernelByTheEnvironment) {
    const auto result =
        support::run({"ldd", {VEXA_PROGRAM}, {{"LD_LIBRARY_PATH", NAIVE_KERNEL_DIR}}, {}});
    EXPECT_THAT(result.out, HasSubstr("libzdbs.so => " NAIVE_KERNEL_DIR));
}

/** Nothing of the embedded engine came with what stands above the line. */
TEST_F(Shell, FindsOneEngineInTheNaiveKernelOnly) {
    const auto result = support::run({"nm", {"-C", NAIVE_KERNEL_DIR "/libzdbs.so"}, {}, {}});
    EXPECT_THAT(result.out, HasSubstr("zdbs::Session::execute"));
    EXPECT_THAT(result.out, HasSubstr("zdbs::naive::"));
    EXPECT_THAT(result.out, Not(HasSubstr("zdbs::embedded::NodeTable")));
    EXPECT_THAT(result.out, Not(HasSubstr("zdbs::embedded::Evaluator")));
}

TEST_F(Shell, SaysTheSameOnTheNaiveKernel) {
    compare(1);
}

TEST_F(Shell, SaysTheSameWhereNumbersOfRecordsNeedMoreThan32Bits) {
    compare(farRecord);
}

TEST_F(Shell, RefusesTheSameLogins) {
    const support::TemporaryDirectory directory;
    const std::string location = writeLocation(directory, 1);
    const auto wanted = shell(embedded.location(), {}, "wrong", "BASE db;\n");
    const auto result = shell(location, NAIVE_KERNEL_DIR, "wrong", "BASE db;\n");
    EXPECT_EQ(result.ending, wanted.ending);
    EXPECT_EQ(result.out, wanted.out);
    EXPECT_EQ(result.err, wanted.err);
    EXPECT_THAT(wanted.out + wanted.err,
                HasSubstr("The user is unknown or the password is wrong."));
}

class Administrator : public ::testing::Test {
protected:
    Administrator() : location(writeLocation(directory, 1)) {
        embedded.load(documents());
        embedded.administration().createDatabase("hidden");
    }

    /** What the program prints with the embedded engine. */
    support::ProgramResult wanted(const std::vector<std::string> &arguments) const {
        return support::run({ZDBS_PROGRAM, arguments, {{"ZDBS_HOME", embedded.location()}}, {}});
    }

    support::ProgramResult result(const std::vector<std::string> &arguments) const {
        return support::run({NAIVE_ADMIN_PROGRAM, arguments, {{"ZDBS_HOME", location}}, {}});
    }

    Collection embedded{embeddedEngine()};
    support::TemporaryDirectory directory;
    std::string location;
};

TEST_F(Administrator, IsToldTheSameOfWhatIsStored) {
    const std::vector<std::vector<std::string>> commands = {
        {"user", "list"},
        {"list", "db"},
        {"dump", "db", "a.xml"},
        {"dump", "db", "garden.xml"},
        {"dump", "db", "p.xml"},
        {"query", "db", "//line[contains(.,'be')]", "//plant[2]/name", "//nothing"},
        {"query", "db", "--ids", "//plant"},
        {"query", "db", "--fragments", "/ /.. //text()", "--highlight", "//plant[name='Leek']"},
        {"query", "db", "//line["},
        {"query", "db", "--csv", "--ids", "--documents", "--paths", "--values", "//plant | //p:b"},
        {"query", "db", "--fragments", "/", "--offset", "1", "--limit", "2", "//plant"},
        {"query", "db", "--documents", "FIND N_TYPE=ELEMENT", "FIND S=1 AND N_NAME=line"},
        {"values", "db", "//text()", "--by-count"},
        {"dump", "db", "none.xml"},
        {"list", "none"},
        {"drop", "none"},
    };
    for (const std::vector<std::string> &command : commands) {
        const auto told = result(command);
        EXPECT_EQ(told.ending, wanted(command).ending) << command.back() << "\n" << told.err;
        EXPECT_EQ(told.out, wanted(command).out) << command.back();
        EXPECT_EQ(told.err, wanted(command).err) << command.back();
    }
}

TEST_F(Administrator, IsToldWhatAnEngineIsNotMadeFor) {
    const auto told = result({"compact", "db"});
    EXPECT_NE(told.ending, support::exited(0));
    EXPECT_THAT(told.err, HasSubstr("not made for that"));
    EXPECT_EQ(result({"check", "db"}).ending, support::exited(0));
}

}  // namespace
}  // namespace zdbs::conformance
