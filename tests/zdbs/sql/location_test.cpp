/** Addresses of database servers, and what is refused in them. */
#include "zdbs/sql/location.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "zdbs/base/status.h"
#include "zdbs/engine/registry.h"

namespace zdbs::sql {
namespace {

std::string parameter(const Location &location, const std::string &keyword) {
    const auto found = std::find_if(location.parameters.begin(), location.parameters.end(),
                                    [&](const auto &each) { return each.first == keyword; });
    return found == location.parameters.end() ? "" : found->second;
}

struct Fact {
    const char *text;
    const char *host;
    const char *database;
    int timeout;
};

constexpr Fact facts[] = {
    {"postgresql://h/db", "h", "db", 60},
    {"postgresql://u@h:7/db", "h", "db", 60},
    {"postgresql:///db?host=/run/pg", "/run/pg", "db", 60},
    {"postgresql:///db?host=/run/pg&timeout=5", "/run/pg", "db", 5},
    {"postgresql:///db?timeout=5&host=/run/pg", "/run/pg", "db", 5},
    {"postgresql://h/db?timeout=0", "h", "db", 0},
    {"postgresql://h/db?connect_timeout=3", "h", "db", 60},
};

TEST(SqlLocation, HasWhatTheLibraryTakesAndAnEndOfPatience) {
    for (const Fact &fact : facts) {
        const Location location = parseLocation(fact.text);
        EXPECT_EQ(parameter(location, "host"), fact.host) << fact.text;
        EXPECT_EQ(parameter(location, "dbname"), fact.database) << fact.text;
        EXPECT_EQ(location.timeout, fact.timeout) << fact.text;
    }
}

TEST(SqlLocation, RefusesPasswordsAndWhatIsNoAddressWithoutRepeatingIt) {
    for (const char *text : {"postgresql://u:geheim@h/db", "postgresql://h/db?password=geheim",
                             "postgresql://h/db?geheim=1", "postgresql://h/db?timeout=geheim",
                             "postgresql://h/db?timeout=-1"}) {
        try {
            parseLocation(text);
            ADD_FAILURE() << text;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::badSetting) << text;
            EXPECT_EQ(std::string(failure.what()).find("geheim"), std::string::npos) << text;
        }
    }
}

TEST(SqlLocation, ThatNobodyAnswersAtIsASentence) {
    try {
        openEngine("postgresql:///db?host=/nowhere");
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::serverUnreachable);
    }
}

}  // namespace
}  // namespace zdbs::sql
