/** Sessions over every engine: commands, sets by number, requests that see one state each. */
#include "zdbs/session/session.h"

#include <optional>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"
#include "zdbs/base/stop.h"

namespace zdbs::conformance {
namespace {

class Sessions : public OfEngine {
protected:
    Sessions() {
        collection.load({{"one", "<a><b>be</b><b>be be</b></a>"}});
        session.emplace(collection.shared(), "reader", "secret");
        session->execute("BASE db");
    }

    /** Number, records and hits of the newest set. */
    std::string found(const std::string &condition) {
        session->execute("FIND " + condition);
        return newest();
    }

    std::string newest() const {
        const LastSearch last = session->lastSearch();
        return std::to_string(last.number) + " " + std::to_string(last.records) + " " +
               std::to_string(last.hits);
    }

    std::optional<Session> session;
};

TEST_P(Sessions, BeginWithALogin) {
    EXPECT_EQ(statusOf([&] { Session(collection.shared(), "reader", "wrong"); }),
              Status::loginFailed);
    EXPECT_EQ(statusOf([&] { Session(collection.shared(), "nobody", "secret"); }),
              Status::loginFailed);
}

TEST_P(Sessions, CountRecordsAndHitsOfNumberedSets) {
    EXPECT_EQ(newest(), "1 5 5");
    EXPECT_EQ(found("N_TVALUE=$be$"), "2 2 3");
    EXPECT_EQ(found("XPATH(CHILD,0,2,1)"), "3 2 2");
    EXPECT_EQ(found("XPATH(SELF,3,3,1,EQ,2)"), "4 1 1");
    session->execute("DELETE S=2, S=3");
    session->execute("RENUMBER");
    EXPECT_EQ(newest(), "2 1 1");
    EXPECT_EQ(statusOf([&] { found("N_NAME=\"none\""); }), Status::noHits);
    EXPECT_EQ(newest(), "2 1 1");
}

TEST_P(Sessions, HandOutRecordsWhateverTheirNumbers) {
    const auto database = collection.open();
    const std::vector<RecordId> all = recordsOf(*database, *database->everything());
    for (std::size_t index = 0; index < all.size(); ++index)
        EXPECT_EQ(session->record(1, static_cast<std::int32_t>(index) + 1).record, all[index]);
    EXPECT_EQ(found("N_ID=" + std::to_string(all[3])), "2 1 1");
    EXPECT_EQ(session->record(2, 1).record, all[3]);
    EXPECT_EQ(found("N_PARENT=" + std::to_string(all[3])), "3 1 1");
    EXPECT_EQ(session->record(3, 1).record, all[4]);
    EXPECT_EQ(statusOf([&] { session->record(2, 2); }), Status::noSuchRecord);
}

TEST_P(Sessions, SeeLaterLoadsFromTheNextRequestOn) {
    EXPECT_EQ(found("N_NAME=\"b\""), "2 2 2");
    collection.remove({"one"});
    collection.load({{"two", "<b/>"}});
    EXPECT_EQ(found("N_NAME=\"b\""), "3 2 2");
    session->saveStatus();
    EXPECT_EQ(newest(), "3 0 0");
    EXPECT_EQ(found("N_NAME=\"b\""), "4 1 1");
}

TEST_P(Sessions, LoseADatabaseThatIsRevokedAtTheNextRequest) {
    administration().revoke("reader", "db");
    EXPECT_EQ(statusOf([&] { session->saveStatus(); }), Status::unknownDatabase);
    EXPECT_EQ(statusOf([&] { found("N_ID=$"); }), Status::unknownDatabase);
    EXPECT_FALSE(session->hasDatabase("db"));
}

TEST_P(Sessions, GoOnAfterACommandThatWasStopped) {
    Stop stop;
    {
        const StopScope scope(stop);
        stop.request();
        EXPECT_EQ(statusOf([&] { found("N_NAME=\"b\""); }), Status::stopped);
        EXPECT_EQ(newest(), "1 5 5");
        stop.withdraw();
        EXPECT_EQ(found("N_NAME=\"b\""), "2 2 2");
    }
    EXPECT_EQ(found("N_NAME=\"a\""), "3 1 1");
}

INSTANTIATE_TEST_SUITE_P(Every, Sessions, ::testing::ValuesIn(allEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
