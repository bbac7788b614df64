#include "zdbs/sql/sql_administration.h"

#include <mutex>
#include <type_traits>
#include <utility>

#include "zdbs/base/names.h"
#include "zdbs/base/status.h"
#include "zdbs/sql/census.h"
#include "zdbs/sql/check.h"
#include "zdbs/sql/collections.h"
#include "zdbs/sql/compaction.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/sql_database.h"
#include "zdbs/sql/sql_load.h"
#include "zdbs/sql/stored_documents.h"
#include "zdbs/sql/users.h"

namespace zdbs::sql {
namespace {

class SqlAdministration final : public Administration {
public:
    explicit SqlAdministration(Location location)
        : location_(std::move(location)), connection_(location_) {
        requireLocation(connection_);
    }

    std::vector<std::string> users() const override {
        return locked([](Users users) { return users.list(); });
    }
    std::vector<std::string> grants(std::string_view user) const override {
        return locked([&](Users users) { return users.grants(user, false); });
    }
    std::vector<std::string> writingGrants(std::string_view user) const override {
        return locked([&](Users users) { return users.grants(user, true); });
    }
    void addUser(std::string_view user, std::string_view password) override {
        locked([&](Users users) { users.add(user, password); });
    }
    void setPassword(std::string_view user, std::string_view password) override {
        locked([&](Users users) { users.setPassword(user, password); });
    }
    void removeUser(std::string_view user) override {
        locked([&](Users users) { users.remove(user); });
    }
    void grant(std::string_view user, std::string_view database) override {
        locked([&](Users users) { users.grant(user, database, false); });
    }
    void grantWriting(std::string_view user, std::string_view database) override {
        locked([&](Users users) { users.grant(user, database, true); });
    }
    void revoke(std::string_view user, std::string_view database) override {
        locked([&](Users users) { users.revoke(user, database); });
    }
    void revokeWriting(std::string_view user, std::string_view database) override {
        locked([&](Users users) { users.revokeWriting(user, database); });
    }

    std::vector<std::string> databases() const override {
        const std::lock_guard lock(mutex_);
        return textsIn(connection_.run("select name from zdbs.collection order by name"));
    }
    void createDatabase(std::string_view database) override {
        const std::lock_guard lock(mutex_);
        createCollection(connection_, database);
    }
    void dropDatabase(std::string_view database, const WaitingReport &waiting) override {
        requireKnown(database);
        Connection own(unlimited());
        dropCollection(own, database, waiting);
    }

    std::unique_ptr<OpenDatabase> open(std::string_view database) const override {
        requireKnown(database);
        return openDatabase(location_, std::nullopt, std::string(database));
    }

    DatabaseSummary summary(std::string_view database) const override {
        return summaryOf(*documentsOf(database));
    }
    std::unique_ptr<StoredDocuments> documents(std::string_view database) const override {
        return documentsOf(database);
    }
    DatabaseInfo info(std::string_view database) const override {
        return infoOf(*documentsOf(database));
    }
    std::vector<PathCount> paths(std::string_view database) const override {
        return pathsOf(documentsOf(database)->taken());
    }
    CheckReport check(std::string_view database, const ProgressReport &progress) const override {
        return checkCollection(*documentsOf(database), progress);
    }

    Compaction compact(std::string_view database, const WaitingReport &waiting,
                       const ProgressReport &progress) override {
        requireKnown(database);
        Connection own(unlimited());
        return compactCollection(own, database, waiting, progress);
    }

    std::string notes(std::string_view database) const override {
        const std::lock_guard lock(mutex_);
        return readNotes(connection_, known(database));
    }
    void keepNotes(std::string_view database, std::string_view text) override {
        const std::lock_guard lock(mutex_);
        writeNotes(connection_, known(database), text);
    }

    void backUp(std::span<const std::string>, const ByteConsumer &) const override {
        throw Failure(Status::unsupported, {"the database server has backups of its own"});
    }

    std::unique_ptr<Load> load(std::string_view database, const WaitingReport &waiting) override {
        requireKnown(database);
        return beginLoad(unlimited(), database, waiting);
    }

private:
    template <typename Operation>
    std::invoke_result_t<Operation, Users> locked(Operation operation) const {
        const std::lock_guard lock(mutex_);
        return operation(Users(connection_));
    }

    std::int64_t known(std::string_view database) const {
        requireKnown(database);
        return collectionOf(connection_, database, std::nullopt);
    }

    static void requireKnown(std::string_view database) {
        if (!isValidName(database)) throw Failure(Status::unknownDatabase, {database});
    }

    /** Whoever waits for others, or loads, takes its time. */
    Location unlimited() const {
        Location location = location_;
        location.timeout = 0;
        return location;
    }

    std::unique_ptr<SqlDocuments> documentsOf(std::string_view database) const {
        requireKnown(database);
        return std::make_unique<SqlDocuments>(location_, database);
    }

    Location location_;
    mutable std::mutex mutex_;
    mutable Connection connection_;
};

}  // namespace

std::unique_ptr<Administration> makeSqlAdministration(Location location) {
    return std::make_unique<SqlAdministration>(std::move(location));
}

}  // namespace zdbs::sql
