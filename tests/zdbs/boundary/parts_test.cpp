/** Records of a database of several parts, as callers with 31 bits are told them. */
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/support/temporary_directory.h"
#include "zdbs/engine/registry.h"
#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"
#include "zdbs/remote/kernel_session.h"

namespace zdbs {
namespace {

TEST(PartsAtTheBoundary, TellRecordsByTheirPart) {
    support::TemporaryDirectory directory;
    const std::string location = directory / "home";
    makeLocation(location);
    const auto administration = administer(location);
    administration->createDatabase("db");
    ::setenv("ZDBS_PART_NODES", "2", 1);
    for (const char *name : {"a", "b", "c"}) {
        const auto load = administration->load("db", {});
        Loader(*load).load(*openText("<e>x</e>"), name, name);
        load->commit();
    }
    ::unsetenv("ZDBS_PART_NODES");
    administration->addUser("u", "p");
    administration->grant("u", "db");
    LocalSession session(Session::ofUser(openEngine(location), "u"));
    session.execute("BASE db");
    session.execute("FIND N_TVALUE=&x&");
    EXPECT_EQ(session.lastSearch().records, 3);
    const auto told = [&](std::int32_t set, std::int32_t ordinal) {
        const remote::PlacedRecord placed = session.record(set, ordinal);
        return placed.database + " " + std::to_string(placed.found.record) + " " +
               std::to_string(placed.found.hitWords.front().part);
    };
    EXPECT_EQ(told(2, 1), "db 2 1");
    EXPECT_EQ(told(2, 2), "db.1 2 2");
    EXPECT_EQ(told(2, 3), "db.2 2 3");
    session.execute("BASE db.2");
    session.execute("FIND N_ID=2");
    EXPECT_EQ(told(2, 1), "db.2 2 1");
    administration->createDatabase("db.1");
    session.execute("BASE db");
    session.execute("FIND N_TVALUE=&x&");
    try {
        session.record(2, 2);
        ADD_FAILURE() << "the name is that of another database";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::recordTooLarge);
    }
}

}  // namespace
}  // namespace zdbs
