#include "zdbs/embedded/open_parts.h"

#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/embedded/store/committed_state.h"

namespace zdbs::embedded {
namespace {

/** The newest state, with its parts as node tables. */
class PartsOfNewest {
public:
    PartsOfNewest(std::shared_ptr<const Home> home, NamedParts named, ReadRequirement requirement)
        : home_(std::move(home)), named_(std::move(named)), requirement_(std::move(requirement)) {}

    std::shared_ptr<const PartTables> take() {
        if (requirement_) requirement_(named_.database);
        auto state = home_->state(named_.database);
        if (!last_ || last_->state != state) last_ = takenFrom(std::move(state));
        return {last_, &last_->tables};
    }

    StateIdentity known() const {
        return last_ && last_->state->isNewest() ? last_->state : nullptr;
    }

private:
    struct Taken {
        std::shared_ptr<const CommittedState> state;
        PartTables tables;
    };

    std::shared_ptr<const Taken> takenFrom(std::shared_ptr<const CommittedState> state) const {
        const auto &parts = state->parts();
        auto taken = std::make_shared<Taken>();
        if (!named_.part)
            taken->tables.assign(parts.begin(), parts.end());
        else if (*named_.part < parts.size())
            taken->tables.push_back(parts[*named_.part]);
        else
            throw Failure(Status::unknownDatabase,
                          {named_.database + "." + std::to_string(*named_.part)});
        taken->state = std::move(state);
        return taken;
    }

    std::shared_ptr<const Home> home_;
    NamedParts named_;
    ReadRequirement requirement_;
    std::shared_ptr<const Taken> last_;
};

}  // namespace

std::optional<NamedParts> partsNamed(const Home &home, std::string_view name) {
    if (home.hasDatabase(name)) return NamedParts{std::string(name), std::nullopt};
    auto split = splitPartName(name);
    if (!split || !home.hasDatabase(split->database)) return std::nullopt;
    if (*split->part >= home.state(split->database)->parts().size()) return std::nullopt;
    return split;
}

std::unique_ptr<OpenDatabase> openParts(std::shared_ptr<const Home> home, const std::string &name,
                                        ReadRequirement requireReadable) {
    auto named = partsNamed(*home, name);
    if (!named) throw Failure(Status::unknownDatabase, {name});
    NameIsTaken isTaken = [home](const std::string &part) { return home->hasDatabase(part); };
    const auto newest = std::make_shared<PartsOfNewest>(std::move(home), *std::move(named),
                                                        std::move(requireReadable));
    return makeEmbeddedDatabase(
        name, [newest] { return newest->take(); }, std::move(isTaken),
        [newest] { return newest->known(); });
}

}  // namespace zdbs::embedded
