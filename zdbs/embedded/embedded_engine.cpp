#include "zdbs/embedded/embedded_engine.h"

#include <string>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/open_parts.h"

namespace zdbs::embedded {
namespace {

class EmbeddedEngine : public Engine {
public:
    explicit EmbeddedEngine(std::shared_ptr<Home> home) : home_(std::move(home)) {}

    bool authenticate(std::string_view user, std::string_view password) const override {
        return home_->authenticate(user, password);
    }

    std::vector<std::string> databases(std::string_view user) const override {
        std::vector<std::string> names = home_->databases();
        std::erase_if(names, [&](const std::string &name) { return !home_->mayRead(user, name); });
        return names;
    }

    bool hasDatabase(std::string_view user, std::string_view database) const override {
        const auto named = partsNamed(*home_, database);
        return named && home_->mayRead(user, named->database);
    }

    bool mayWrite(std::string_view user, std::string_view database) const override {
        return home_->hasDatabase(database) && home_->mayWrite(user, database);
    }

    std::uint64_t usersState() const override { return home_->usersState(); }

    /** The grant is looked at again with each new state, so that a revoke takes hold. */
    std::unique_ptr<OpenDatabase> open(std::string_view user,
                                       std::string_view database) const override {
        auto requireReadable = [home = home_, user = std::string(user)](std::string_view name) {
            if (!home->mayRead(user, name)) throw Failure(Status::unknownDatabase, {name});
        };
        return openParts(home_, std::string(database), requireReadable);
    }

private:
    std::shared_ptr<Home> home_;
};

}  // namespace

std::shared_ptr<const Engine> openEmbeddedEngine(const std::filesystem::path &home) {
    return std::make_shared<EmbeddedEngine>(Home::open(home));
}

}  // namespace zdbs::embedded
