/** Logins, grants, databases and what is in them. */
#include <algorithm>
#include <memory>
#include <tuple>
#include <utility>

#include "tests/engine_conformance/naive/database.h"
#include "tests/engine_conformance/naive/fragments.h"
#include "tests/engine_conformance/naive/location.h"
#include "zdbs/base/names.h"
#include "zdbs/base/status.h"

namespace zdbs::naive {
namespace {

constexpr std::size_t maxPassword = 511;

void requirePassword(std::string_view password) {
    if (password.size() > maxPassword || password.find('\0') != std::string_view::npos)
        throw Failure(Status::badPassword);
}

template <typename Map>
std::vector<std::string> keysOf(const Map &map) {
    std::vector<std::string> keys;
    for (const auto &entry : map)
        keys.push_back(entry.first);
    return keys;
}

class NaiveEngine final : public Engine {
public:
    explicit NaiveEngine(LocationPtr location) : location_(std::move(location)) {}

    bool authenticate(std::string_view user, std::string_view password) const override {
        const std::lock_guard lock(location_->mutex);
        const auto found = location_->users.find(user);
        return found != location_->users.end() && found->second.password == password;
    }

    bool hasDatabase(std::string_view user, std::string_view database) const override {
        const std::lock_guard lock(location_->mutex);
        return location_->mayRead(user, database);
    }

    bool mayWrite(std::string_view user, std::string_view database) const override {
        const std::lock_guard lock(location_->mutex);
        return location_->mayWrite(user, database);
    }

    /** The grant is looked at again with each state. */
    std::unique_ptr<OpenDatabase> open(std::string_view user,
                                       std::string_view database) const override {
        return openDatabase(std::string(database), [location = location_, user = std::string(user),
                                                    name = std::string(database)] {
            const std::lock_guard lock(location->mutex);
            if (!location->mayRead(user, name)) throw Failure(Status::unknownDatabase, {name});
            return location->database(name)->forest;
        });
    }

private:
    LocationPtr location_;
};

class NaiveDocuments final : public StoredDocuments {
public:
    explicit NaiveDocuments(ForestPtr forest) : forest_(std::move(forest)) {
        for (const DocumentPtr &each : forest_->documents())
            list_.push_back({each->name, each->first, each->records(), each->xmlBytes});
    }

    const std::vector<DocumentSummary> &list() const override { return list_; }

    std::uint64_t state() const override { return forest_->state(); }

    void tell(std::size_t place, NodeEvents &events) const override {
        tellDocument(*forest_, place, events);
    }

private:
    ForestPtr forest_;
    std::vector<DocumentSummary> list_;
};

void countName(std::vector<NameCount> &names, const Node &node) {
    const auto known = std::find_if(names.begin(), names.end(), [&](const NameCount &each) {
        return each.kind == node.kind && each.prefix == node.prefix && each.local == node.local &&
               each.uri == node.uri;
    });
    if (known != names.end())
        ++known->count;
    else if (!node.local.empty())
        names.push_back({*node.kind, node.prefix, node.local, node.uri, 1});
}

/** Names and kinds below each other. */
struct PathTree {
    std::vector<std::pair<std::tuple<NodeKind, std::string, std::string, std::string>,
                          std::unique_ptr<PathTree>>>
        children;
    std::uint64_t count = 0;

    PathTree &at(const Forest &forest, Place place) {
        if (forest.isRoot(place)) return *this;
        PathTree &above = at(forest, forest.parent(place));
        const Node &node = forest[place];
        const auto key = std::make_tuple(*node.kind, node.prefix, node.local, node.uri);
        for (auto &[name, child] : above.children) {
            if (name == key) return *child;
        }
        return *above.children.emplace_back(key, std::make_unique<PathTree>()).second;
    }

    void appendTo(std::vector<PathCount> &counts, std::uint32_t level) const {
        for (const auto &[key, child] : children) {
            const auto &[kind, prefix, local, uri] = key;
            counts.push_back({level + 1, kind, prefix, local, uri, child->count});
            child->appendTo(counts, level + 1);
        }
    }
};

class NaiveAdministration final : public Administration {
public:
    explicit NaiveAdministration(LocationPtr location) : location_(std::move(location)) {}

    std::vector<std::string> users() const override {
        const std::lock_guard lock(location_->mutex);
        return keysOf(location_->users);
    }

    std::vector<std::string> grants(std::string_view user) const override {
        const std::lock_guard lock(location_->mutex);
        const auto &databases = location_->user(user).databases;
        return {databases.begin(), databases.end()};
    }

    std::vector<std::string> writingGrants(std::string_view user) const override {
        const std::lock_guard lock(location_->mutex);
        const auto &databases = location_->user(user).written;
        return {databases.begin(), databases.end()};
    }

    void addUser(std::string_view user, std::string_view password) override {
        requireValidName(user);
        requirePassword(password);
        const std::lock_guard lock(location_->mutex);
        const bool isNew =
            location_->users.try_emplace(std::string(user), User{std::string(password), {}, {}})
                .second;
        if (!isNew) throw Failure(Status::userExists, {user});
    }

    void setPassword(std::string_view user, std::string_view password) override {
        const std::lock_guard lock(location_->mutex);
        User &changed = location_->user(user);
        requirePassword(password);
        changed.password = password;
    }

    void removeUser(std::string_view user) override {
        const std::lock_guard lock(location_->mutex);
        location_->user(user);
        location_->users.erase(location_->users.find(user));
    }

    void grant(std::string_view user, std::string_view database) override {
        const std::lock_guard lock(location_->mutex);
        User &changed = location_->user(user);
        if (database != "*") location_->database(database);
        changed.databases.emplace(database);
    }

    void grantWriting(std::string_view user, std::string_view database) override {
        grant(user, database);
        const std::lock_guard lock(location_->mutex);
        location_->user(user).written.emplace(database);
    }

    void revoke(std::string_view user, std::string_view database) override {
        const std::lock_guard lock(location_->mutex);
        auto &databases = location_->user(user).databases;
        const auto granted = databases.find(database);
        if (granted == databases.end()) throw Failure(Status::notGranted, {user, database});
        databases.erase(granted);
        location_->user(user).written.erase(std::string(database));
    }

    void revokeWriting(std::string_view user, std::string_view database) override {
        const std::lock_guard lock(location_->mutex);
        if (location_->user(user).written.erase(std::string(database)) == 0)
            throw Failure(Status::notGranted, {user, database});
    }

    std::vector<std::string> databases() const override {
        const std::lock_guard lock(location_->mutex);
        return keysOf(location_->databases);
    }

    void createDatabase(std::string_view database) override {
        requireValidName(database);
        auto stored = std::make_shared<Stored>();
        const std::lock_guard lock(location_->mutex);
        stored->next = location_->firstRecord;
        if (!location_->databases.emplace(database, std::move(stored)).second)
            throw Failure(Status::databaseExists, {database});
    }

    void dropDatabase(std::string_view database, const WaitingReport &waiting) override {
        const auto held = startLoad(location_, database, waiting);
        const std::lock_guard lock(location_->mutex);
        location_->databases.erase(location_->databases.find(database));
        for (auto &[name, user] : location_->users) {
            user.databases.erase(std::string(database));
            user.written.erase(std::string(database));
        }
    }

    std::unique_ptr<OpenDatabase> open(std::string_view database) const override {
        return openDatabase(std::string(database),
                            [location = location_, name = std::string(database)] {
                                const std::lock_guard lock(location->mutex);
                                return location->database(name)->forest;
                            });
    }

    DatabaseSummary summary(std::string_view database) const override {
        const DatabaseInfo counted = info(database);
        return {counted.documents, counted.nodes, 0, newest(database)->state()};
    }

    std::unique_ptr<StoredDocuments> documents(std::string_view database) const override {
        return std::make_unique<NaiveDocuments>(newest(database));
    }

    DatabaseInfo info(std::string_view database) const override {
        const ForestPtr forest = newest(database);
        DatabaseInfo info;
        info.documents = forest->documents().size();
        for (const Place place : forest->records()) {
            ++info.nodes;
            ++info.kinds[static_cast<std::size_t>(*(*forest)[place].kind)];
            countName(info.names, (*forest)[place]);
        }
        std::stable_sort(info.names.begin(), info.names.end(),
                         [](const auto &a, const auto &b) { return a.count > b.count; });
        for (const DocumentPtr &document : forest->documents())
            info.xmlBytes += document->xmlBytes;
        info.sizes.push_back({"all", "in memory", forest->size() * sizeof(Node)});
        return info;
    }

    std::vector<PathCount> paths(std::string_view database) const override {
        const ForestPtr forest = newest(database);
        PathTree tree;
        for (const Place place : forest->records())
            tree.at(*forest, place).count += 1;
        std::vector<PathCount> counts;
        tree.appendTo(counts, 0);
        return counts;
    }

    /** There is nothing twice that could be compared. */
    CheckReport check(std::string_view database, const ProgressReport &progress) const override {
        const DatabaseInfo counted = info(database);
        CheckReport report;
        report.documents = counted.documents;
        report.nodes = counted.nodes;
        if (progress) progress(report.nodes, report.nodes);
        return report;
    }

    Compaction compact(std::string_view, const WaitingReport &, const ProgressReport &) override {
        throw Failure(Status::unsupported, {"compact"});
    }

    std::string notes(std::string_view database) const override {
        const std::lock_guard lock(location_->mutex);
        return location_->database(database)->notes;
    }

    void keepNotes(std::string_view database, std::string_view text) override {
        const std::lock_guard lock(location_->mutex);
        location_->database(database)->notes = text;
    }

    void backUp(std::span<const std::string>, const ByteConsumer &) const override {
        throw Failure(Status::unsupported, {"backup"});
    }

    std::unique_ptr<Load> load(std::string_view database, const WaitingReport &waiting) override {
        return startLoad(location_, database, waiting);
    }

private:
    ForestPtr newest(std::string_view database) const {
        const std::lock_guard lock(location_->mutex);
        return location_->database(database)->forest;
    }

    LocationPtr location_;
};

}  // namespace

std::shared_ptr<const Engine> openEngine(LocationPtr location) {
    return std::make_shared<NaiveEngine>(std::move(location));
}

std::unique_ptr<Administration> administer(LocationPtr location) {
    return std::make_unique<NaiveAdministration>(std::move(location));
}

}  // namespace zdbs::naive
