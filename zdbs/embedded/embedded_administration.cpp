#include "zdbs/embedded/embedded_administration.h"

#include <string>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/backup/backup.h"
#include "zdbs/embedded/census.h"
#include "zdbs/embedded/check/check.h"
#include "zdbs/embedded/fragments/tree_teller.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/open_parts.h"
#include "zdbs/embedded/store/committed_state.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {
namespace {

class DocumentsOfState final : public StoredDocuments {
public:
    explicit DocumentsOfState(std::shared_ptr<const CommittedState> state)
        : state_(std::move(state)) {
        for (PartNumber part = 0; part < state_->parts().size(); ++part) {
            firstPlaces_.push_back(list_.size());
            addDocuments(part);
        }
    }

    const std::vector<DocumentSummary> &list() const override { return list_; }

    std::uint64_t state() const override { return state_->number(); }

    void tell(std::size_t place, NodeEvents &events) const override {
        const Snapshot &part = *state_->parts()[partOf(list_[place].first)];
        const DocumentRange &document =
            part.documents()[place - firstPlaces_[partOf(list_[place].first)]];
        NodeReader reader(part);
        TreeTeller(part, reader).tellDocument(document, events);
        part.requireIntact();
    }

private:
    void addDocuments(PartNumber number) {
        const Snapshot &part = *state_->parts()[number];
        for (std::size_t i = 0; i < part.documents().size(); ++i) {
            const DocumentRange &document = part.documents()[i];
            list_.push_back({std::string(document.name), recordOf(number, document.first),
                             std::uint64_t{document.last} - document.first + 1, part.xmlBytes(i)});
        }
    }

    std::shared_ptr<const CommittedState> state_;
    std::vector<std::size_t> firstPlaces_;  ///< by part: of its documents in the list
    std::vector<DocumentSummary> list_;
};

class EmbeddedAdministration final : public Administration {
public:
    explicit EmbeddedAdministration(std::shared_ptr<Home> home) : home_(std::move(home)) {}

    std::vector<std::string> users() const override { return home_->users(); }
    std::vector<std::string> grants(std::string_view user) const override {
        return home_->grants(user);
    }
    std::vector<std::string> writingGrants(std::string_view user) const override {
        return home_->writingGrants(user);
    }
    void addUser(std::string_view user, std::string_view password) override {
        home_->addUser(user, password);
    }
    void setPassword(std::string_view user, std::string_view password) override {
        home_->setPassword(user, password);
    }
    void removeUser(std::string_view user) override { home_->removeUser(user); }
    void grant(std::string_view user, std::string_view database) override {
        home_->grant(user, database);
    }
    void grantWriting(std::string_view user, std::string_view database) override {
        home_->grantWriting(user, database);
    }
    void revoke(std::string_view user, std::string_view database) override {
        home_->revoke(user, database);
    }
    void revokeWriting(std::string_view user, std::string_view database) override {
        home_->revokeWriting(user, database);
    }

    std::vector<std::string> databases() const override { return home_->databases(); }
    void createDatabase(std::string_view database) override { home_->createDatabase(database); }
    void dropDatabase(std::string_view database, const WaitingReport &waiting) override {
        home_->dropDatabase(database, waiting);
    }

    std::unique_ptr<OpenDatabase> open(std::string_view database) const override {
        return openParts(home_, std::string(database), {});
    }

    DatabaseSummary summary(std::string_view database) const override {
        const auto state = home_->state(database);
        return {state->documentCount(), state->nodeCount(), state->diskBytes(), state->number()};
    }

    std::unique_ptr<StoredDocuments> documents(std::string_view database) const override {
        return std::make_unique<DocumentsOfState>(home_->state(database));
    }

    DatabaseInfo info(std::string_view database) const override {
        const auto state = home_->state(database);
        DatabaseInfo info = takeCensus(*state);
        state->requireIntact();
        return info;
    }

    std::vector<PathCount> paths(std::string_view database) const override {
        return countPaths(*home_->state(database));
    }

    CheckReport check(std::string_view database, const ProgressReport &progress) const override {
        if (!home_->hasDatabase(database)) throw Failure(Status::unknownDatabase, {database});
        CheckOptions options;
        options.progress = progress;
        return checkDatabase(home_->databasePath(database), options);
    }

    Compaction compact(std::string_view database, const WaitingReport &waiting,
                       const ProgressReport &progress) override {
        return home_->write(database, waiting)->compact(progress);
    }

    std::string notes(std::string_view database) const override { return home_->notes(database); }
    void keepNotes(std::string_view database, std::string_view text) override {
        home_->keepNotes(database, text);
    }

    void backUp(std::span<const std::string> databases,
                const ByteConsumer &consumer) const override {
        backUpHome(*home_, databases, consumer);
    }

    std::unique_ptr<Load> load(std::string_view database, const WaitingReport &waiting) override {
        return home_->write(database, waiting);
    }

private:
    std::shared_ptr<Home> home_;
};

}  // namespace

std::unique_ptr<Administration> administerHome(const std::filesystem::path &home) {
    return std::make_unique<EmbeddedAdministration>(Home::open(home));
}

void makeHome(const std::filesystem::path &home) {
    Home::create(home);
}

void restoreHome(const std::filesystem::path &home, const ByteSource &source) {
    restoreBackup(home, source);
}

}  // namespace zdbs::embedded
