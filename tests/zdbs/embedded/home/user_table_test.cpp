#include "zdbs/embedded/home/user_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <functional>
#include <string>

#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/checked_blocks.h"

namespace zdbs::embedded {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char *hash =
    "$y$jBT$jqssKrSll/N.phk9K5Qrc1$bVB03N.t5AvG8WC.1FWZDXBkgniqB0zaUDHR4xIfCu0";

std::string file(const std::string &lines) {
    return "zdbs-users 1\n" + lines;
}

std::string user(const std::string &name) {
    return "user " + name + ' ' + hash + '\n';
}

UserTable parse(const std::string &lines) {
    return UserTable::parse(file(lines), "HOME/users");
}

Status statusOf(const std::function<void()> &work, std::string *sentence = nullptr) {
    try {
        work();
        return Status::ok;
    } catch (const Failure &failure) {
        if (sentence) *sentence = failure.what();
        return failure.status();
    }
}

TEST(UserTable, OfAFreshHomeIsEmpty) {
    EXPECT_EQ(UserTable().serialize(), "zdbs-users 2\nchecksum 6c8af338\n");
    EXPECT_THAT(UserTable::parse(UserTable().serialize(), "f").users(), IsEmpty());
}

TEST(UserTable, ComesBackAsItWasWritten) {
    const std::string lines = user("alice") + "grant alice *\ngrant alice plays\n" + user("bob");
    const std::string written = parse(lines).serialize();
    EXPECT_TRUE(written.starts_with("zdbs-users 2\n" + lines + "checksum ")) << written;
    EXPECT_EQ(UserTable::parse(written, "f").serialize(), written);
}

TEST(UserTable, WithoutAChecksumIsOfTheEarlierVersion) {
    const std::string lines = user("alice") + "grant alice *\n";
    EXPECT_THAT(UserTable::parse("zdbs-users 1\n" + lines, "f").users(), ElementsAre("alice"));
    std::string sentence;
    const auto read = [&](const std::string &text) {
        return statusOf([&] { UserTable::parse(text, "HOME/users"); }, &sentence);
    };
    EXPECT_EQ(read("zdbs-users 2\n" + lines), Status::homeDamaged);
    EXPECT_THAT(sentence, HasSubstr("HOME/users is damaged: its checksum is wrong"));
    EXPECT_EQ(read("zdbs-users 2\n"), Status::homeDamaged);
}

TEST(UserTable, IsDamagedByAnyBitAndWhereverItEndsTooEarly) {
    std::string text = parse(user("alice") + "grant alice plays\n" + user("bob")).serialize();
    for (std::size_t size = 0; size < text.size(); ++size)
        EXPECT_NE(statusOf([&] { UserTable::parse(text.substr(0, size), "f"); }), Status::ok)
            << size;
    for (std::size_t bit = 0; bit < 8 * text.size(); ++bit) {
        const auto mask = static_cast<char>(1U << (bit % 8));
        text[bit / 8] = static_cast<char>(text[bit / 8] ^ mask);
        EXPECT_NE(statusOf([&] { UserTable::parse(text, "f"); }), Status::ok) << bit;
        text[bit / 8] = static_cast<char>(text[bit / 8] ^ mask);
    }
}

TEST(UserTable, ListsUsersAndGrantsByName) {
    UserTable table = parse(user("zoe") + user("Bob") + user("adam"));
    table.grant("adam", "z");
    table.grant("adam", "*");
    table.grant("adam", "b");
    EXPECT_THAT(table.users(), ElementsAre("Bob", "adam", "zoe"));
    EXPECT_THAT(table.grants("adam"), ElementsAre("*", "b", "z"));
    EXPECT_THAT(table.grants("zoe"), IsEmpty());
}

TEST(UserTable, AnswersWhoMayReadWhat) {
    UserTable table = parse(user("one") + user("all") + user("none"));
    table.grant("one", "plays");
    table.grant("all", "*");
    EXPECT_TRUE(table.mayRead("one", "plays"));
    EXPECT_FALSE(table.mayRead("one", "Plays"));
    EXPECT_FALSE(table.mayRead("one", "play"));
    EXPECT_FALSE(table.mayRead("one", "*"));
    EXPECT_TRUE(table.mayRead("all", "plays"));
    EXPECT_TRUE(table.mayRead("all", "whatever"));
    EXPECT_FALSE(table.mayRead("none", "plays"));
    EXPECT_FALSE(table.mayRead("stranger", "plays"));
    EXPECT_FALSE(table.mayRead("", "plays"));
}

TEST(UserTable, GrantsOnceAndRevokesOnce) {
    UserTable table = parse(user("one"));
    table.grant("one", "plays");
    table.grant("one", "plays");
    EXPECT_THAT(table.grants("one"), ElementsAre("plays"));
    table.revoke("one", "plays");
    EXPECT_FALSE(table.mayRead("one", "plays"));
    std::string sentence;
    EXPECT_EQ(statusOf([&] { table.revoke("one", "plays"); }, &sentence), Status::notGranted);
    EXPECT_THAT(sentence, HasSubstr("user one"));
    EXPECT_THAT(sentence, HasSubstr("database plays"));
}

TEST(UserTable, KeepsTheGrantOfEveryDatabaseApartFromTheOthers) {
    UserTable table = parse(user("one"));
    table.grant("one", "*");
    EXPECT_EQ(statusOf([&] { table.revoke("one", "plays"); }), Status::notGranted);
    table.grant("one", "plays");
    table.revoke("one", "*");
    EXPECT_TRUE(table.mayRead("one", "plays"));
    EXPECT_FALSE(table.mayRead("one", "poems"));
}

TEST(UserTable, ForgetsTheGrantsOfADroppedDatabaseOnly) {
    UserTable table = parse(user("one") + user("two") + user("all"));
    table.grant("one", "plays");
    table.grant("one", "poems");
    table.grant("two", "plays");
    table.grant("all", "*");
    table.forgetDatabase("plays");
    EXPECT_THAT(table.grants("one"), ElementsAre("poems"));
    EXPECT_THAT(table.grants("two"), IsEmpty());
    EXPECT_THAT(table.grants("all"), ElementsAre("*"));
}

TEST(UserTable, AddsUsersThatCanLogIn) {
    UserTable table;
    table.add("alice", "secret");
    EXPECT_TRUE(table.contains("alice"));
    EXPECT_TRUE(table.authenticate("alice", "secret"));
    EXPECT_FALSE(table.authenticate("alice", "Secret"));
    EXPECT_FALSE(table.authenticate("Alice", "secret"));
    EXPECT_FALSE(table.authenticate("", ""));
    EXPECT_TRUE(UserTable::parse(table.serialize(), "f").authenticate("alice", "secret"));
}

TEST(UserTable, ChangesAPasswordAndKeepsTheGrants) {
    UserTable table = parse(user("alice") + "grant alice plays\n");
    table.setPassword("alice", "new");
    EXPECT_TRUE(table.authenticate("alice", "new"));
    EXPECT_TRUE(table.mayRead("alice", "plays"));
}

TEST(UserTable, RemovesUsersWithTheirGrants) {
    UserTable table = parse(user("alice") + "grant alice plays\n" + user("bob"));
    table.remove("alice");
    EXPECT_EQ(table.serialize(), parse(user("bob")).serialize());
    table.add("alice", "again");
    EXPECT_FALSE(table.mayRead("alice", "plays"));
}

TEST(UserTable, RefusesWhatItDoesNotKnow) {
    UserTable table = parse(user("alice"));
    EXPECT_EQ(statusOf([&] { table.add("alice", "x"); }), Status::userExists);
    EXPECT_EQ(statusOf([&] { table.add("a b", "x"); }), Status::badName);
    EXPECT_EQ(statusOf([&] { table.add("", "x"); }), Status::badName);
    EXPECT_EQ(statusOf([&] { table.add("bob", std::string(600, 'x')); }), Status::badPassword);
    EXPECT_EQ(statusOf([&] { table.setPassword("bob", "x"); }), Status::unknownUser);
    EXPECT_EQ(statusOf([&] { table.remove("bob"); }), Status::unknownUser);
    EXPECT_EQ(statusOf([&] { table.grant("bob", "plays"); }), Status::unknownUser);
    EXPECT_EQ(statusOf([&] { table.grant("alice", "a/b"); }), Status::badName);
    EXPECT_EQ(statusOf([&] { table.revoke("bob", "plays"); }), Status::unknownUser);
    EXPECT_EQ(statusOf([&] { (void)table.grants("bob"); }), Status::unknownUser);
    EXPECT_EQ(table.serialize(), parse(user("alice")).serialize());
}

TEST(UserTable, TellsWhoMayWriteWhat) {
    UserTable table = parse(user("ann") + user("bob"));
    table.grantWriting("ann", "plays");
    table.grantWriting("bob", "*");
    table.grant("ann", "other");
    EXPECT_TRUE(table.mayRead("ann", "plays"));
    EXPECT_TRUE(table.mayWrite("ann", "plays"));
    EXPECT_FALSE(table.mayWrite("ann", "other"));
    EXPECT_FALSE(table.mayWrite("nobody", "plays"));
    EXPECT_TRUE(table.mayWrite("bob", "any"));
    EXPECT_THAT(table.writingGrants("ann"), ElementsAre("plays"));
    table.revokeWriting("ann", "plays");
    EXPECT_TRUE(table.mayRead("ann", "plays"));
    EXPECT_EQ(statusOf([&] { table.revokeWriting("ann", "plays"); }), Status::notGranted);
    table.revoke("bob", "*");
    EXPECT_FALSE(table.mayWrite("bob", "any")) << "who may not read does not write";
    table.grantWriting("ann", "plays");
    table.forgetDatabase("plays");
    EXPECT_FALSE(table.mayWrite("ann", "plays"));
}

TEST(UserTable, KeepsWhoMayWriteBehindTheGrant) {
    UserTable table = parse(user("ann") + "grant ann plays\n");
    table.grantWriting("ann", "plays");
    const std::string written = table.serialize();
    EXPECT_THAT(written, HasSubstr("grant ann plays\nwrite ann plays\nchecksum "));
    EXPECT_EQ(UserTable::parse(written, "f").serialize(), written);
    const auto isDamaged = [](const std::string &text) {
        return statusOf([&] { UserTable::parse(text, "f"); }) == Status::homeDamaged;
    };
    EXPECT_TRUE(isDamaged(file(user("ann") + "grant ann plays\nwrite ann plays\n")))
        << "the first version knows no such line";
    const auto sealed = [](const std::string &lines) {
        std::array<char, 10> digits{};
        const std::string text = "zdbs-users 2\n" + lines;
        std::snprintf(digits.data(), digits.size(), "%08x\n", unsigned{crc32Of(text)});
        return text + "checksum " + digits.data();
    };
    EXPECT_FALSE(isDamaged(sealed(user("ann") + "grant ann plays\nwrite ann plays\n")));
    EXPECT_TRUE(isDamaged(sealed(user("ann") + "write ann plays\n")));
    EXPECT_TRUE(
        isDamaged(sealed(user("ann") + "grant ann plays\nwrite ann plays\nwrite ann plays\n")));
}

TEST(UserTable, RefusesOtherVersionsByNumber) {
    std::string sentence;
    const auto version = [&](const std::string &text) {
        return statusOf([&] { UserTable::parse(text, "HOME/users"); }, &sentence);
    };
    EXPECT_EQ(version("zdbs-users 3\n"), Status::homeVersion);
    EXPECT_THAT(sentence, HasSubstr("HOME/users"));
    EXPECT_THAT(sentence, HasSubstr("3 instead of 2"));
    EXPECT_EQ(version("zdbs-users 10\nwhat the future brings\n"), Status::homeVersion);
    EXPECT_EQ(version("zdbs-users \n"), Status::homeVersion);
}

struct DamagedCase {
    std::string text;
    const char *line;
};

TEST(UserTable, NamesTheLineThatIsDamaged) {
    const DamagedCase cases[] = {
        {"", "line 1"},
        {"zdbs\n", "line 1"},
        {file("user alice\n"), "line 2"},
        {file("user alice nohash\n"), "line 2"},
        {file("user a/b " + std::string(hash) + "\n"), "line 2"},
        {file("grant alice plays\n"), "line 2"},
        {file(user("alice") + "\n"), "line 3"},
        {file(user("alice") + user("alice")), "line 3"},
        {file(user("alice") + "grant bob plays\n"), "line 3"},
        {file(user("alice") + "grant alice\n"), "line 3"},
        {file(user("alice") + "grant alice a/b\n"), "line 3"},
        {file(user("alice") + "grant alice plays\ngrant alice plays\n"), "line 4"},
        {file(user("alice") + "permit alice plays\n"), "line 3"},
    };
    for (const DamagedCase &row : cases) {
        std::string sentence;
        EXPECT_EQ(statusOf([&] { UserTable::parse(row.text, "HOME/users"); }, &sentence),
                  Status::homeDamaged)
            << row.text;
        EXPECT_THAT(sentence, HasSubstr(row.line)) << row.text;
        EXPECT_THAT(sentence, HasSubstr("HOME/users"));
    }
}

}  // namespace
}  // namespace zdbs::embedded
