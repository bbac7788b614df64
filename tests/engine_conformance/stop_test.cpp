/** What takes long ends when somebody wishes it to, and the session goes on. */
#include <optional>
#include <string>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/event_text.h"
#include "tests/engine_conformance/finder.h"
#include "zdbs/base/stop.h"

namespace zdbs::conformance {
namespace {

/** Enough nodes that whatever looks at all of them takes long. */
std::string largeXml() {
    std::string xml = "<r>";
    for (int i = 0; i < 3000; ++i)
        xml += "<e i='" + std::to_string(i) + "'>word " + std::to_string(i) + "</e>";
    return xml + "</r>";
}

class Stopping : public OfEngine {
protected:
    Stopping() {
        collection.load({{"large", largeXml()}});
        database = collection.open();
        finder.emplace(*database);
        finder->findEach("N_NAME=\"r\"; N_NAME=\"e\"");
    }

    /** What a call fails with when a stop was requested before it. */
    template <typename Call>
    static Status statusWhenStopped(Call call) {
        Stop stop;
        stop.request();
        const StopScope scope(stop);
        return statusOf(call);
    }

    std::unique_ptr<OpenDatabase> database;
    std::optional<Finder> finder;
};

TEST_P(Stopping, EndsTheSearchForNodes) {
    for (const char *condition : {"N_TVALUE=$7$", "XPATH(DESCENDANT,1,2,2)",
                                  "XPATH(FOLLOWING-SIBLING,2,0,1)", "N_NAME=\"e\" OR S=1"}) {
        const auto search = [&] { finder->find(std::string(condition))->size(); };
        EXPECT_EQ(statusWhenStopped(search), Status::stopped) << condition;
    }
    EXPECT_EQ(finder->find(std::string("N_NAME=\"e\""))->size(), 3000);
}

TEST_P(Stopping, EndsTheTellingOfRecordsAndFragments) {
    const ResultSetPtr set = finder->sets()[1];
    EXPECT_EQ(statusWhenStopped([&] { recordsOf(*database, *set); }), Status::stopped);
    EventText text([this](RecordId record) { return finder->placeOf(record); });
    const std::vector<FragmentSpec> specs = {{{}}};
    const RecordId first = recordsOf(*database, *set).front();
    const auto describe = [&] { database->describer({.value = true})->of(first); };
    EXPECT_EQ(statusWhenStopped(describe), Status::stopped);
    const auto tell = [&] { database->fragments(*set, specs, {}, text); };
    EXPECT_EQ(statusWhenStopped(tell), Status::stopped);
    EXPECT_EQ(statusOf(tell), Status::ok);
    EXPECT_EQ(recordsOf(*database, *set).size(), 3000U);
}

TEST_P(Stopping, IsHeededByTheThreadOfItsScopeOnly) {
    Stop stop;
    stop.request();
    EXPECT_EQ(finder->find(std::string("N_NAME=\"e\""))->size(), 3000);
    const StopScope scope(stop);
    stop.withdraw();
    EXPECT_EQ(finder->find(std::string("N_NAME=\"e\""))->size(), 3000);
}

INSTANTIATE_TEST_SUITE_P(Every, Stopping, ::testing::ValuesIn(allEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
