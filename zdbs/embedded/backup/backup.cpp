#include "zdbs/embedded/backup/backup.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/embedded/backup/backup_stream.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/catalogue.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/segment.h"

namespace zdbs::embedded {
namespace {

using Segments = std::vector<std::pair<std::uint32_t, std::shared_ptr<const Segment>>>;

/** One state of a database: whatever a writer does, its tables and segments stay. */
class DatabaseState {
public:
    explicit DatabaseState(std::shared_ptr<Environment> environment)
        : environment_(std::move(environment)) {
        while (!open()) {
        }
    }

    const ReadTransaction &transaction() const { return *transaction_; }
    const Segments &segments() const { return segments_; }

private:
    /** False when a commit removed a segment in between: then there is a newer state. */
    bool open() {
        transaction_.emplace(environment_);
        segments_.clear();
        try {
            for (const StoredSegment &each : Catalogue(*environment_, *transaction_).segments())
                segments_.emplace_back(each.record.file, environment_->segment(each.record.file));
        } catch (const SegmentMissing &missing) {
            if (environment_->lastCommit() != transaction_->commit()) return false;
            throw Failure(Status::homeDamaged, {environment_->directory().native(),
                                                missing.file.filename().native() + " is missing"});
        }
        return true;
    }

    std::shared_ptr<Environment> environment_;
    std::optional<ReadTransaction> transaction_;
    Segments segments_;
};

void writeTables(const ReadTransaction &transaction, BackupWriter &writer) {
    for (std::size_t table = 0; table < tableCount; ++table) {
        transaction.forEach(static_cast<Table>(table), [&](std::string_view key,
                                                           std::string_view record) {
            writer.add(BackupEntry::record, static_cast<char>(table) + std::string(key), record);
            return true;
        });
    }
}

/** Its header, what else is in front of the blocks, which opening verified, and the blocks. */
void writeSegment(std::uint32_t number, const Segment &segment, BackupWriter &writer) {
    std::array<char, frontChecksumBegin> header;
    std::memcpy(header.data(), &segment.header(), header.size());
    const std::vector<SegmentPart> parts = segment.parts();
    const std::string_view front = parts.front().bytes;
    writer.begin(BackupEntry::segment, std::to_string(number), segment.fileBytes());
    writer.write({header.data(), header.size()});
    writer.write(front);
    std::uint64_t end = header.size() + front.size();
    for (std::uint32_t place = 0; place < segment.blockCount(); ++place) {
        const SegmentPart block = segment.block(place);
        if (block.offset != end || !segment.isSound(block.bytes)) segment.failDamaged(block.name);
        writer.write(block.bytes);
        end += block.bytes.size();
    }
    if (end != segment.fileBytes()) segment.failDamaged("length");
    segment.requireIntact();
}

void writeDatabase(const Home &home, const std::string &database, BackupWriter &writer) {
    if (!home.hasDatabase(database)) throw Failure(Status::unknownDatabase, {database});
    const DatabaseState state(Environment::open(home.databasePath(database)));
    writer.add(BackupEntry::database, database, "");
    writeTables(state.transaction(), writer);
    for (const auto &[number, segment] : state.segments())
        writeSegment(number, *segment, writer);
    const std::string notes = home.notes(database);
    if (!notes.empty()) writer.add(BackupEntry::notes, "", notes);
}

/** Grants for a database that is not there would surprise whoever makes one of its name. */
std::string usersFor(const Home &home, std::span<const std::string> databases) {
    UserTable users = *UsersFile(home.path()).table();
    for (const std::string &user : users.users()) {
        for (const std::string &database : users.grants(user)) {
            const bool isKept =
                database == everyDatabase ||
                std::find(databases.begin(), databases.end(), database) != databases.end();
            if (!isKept) users.forgetDatabase(database);
        }
    }
    return users.serialize();
}

}  // namespace

void backUpHome(const Home &home, std::span<const std::string> databases,
                const ByteConsumer &consumer) {
    std::vector<std::string> chosen(databases.begin(), databases.end());
    if (chosen.empty()) chosen = home.databases();
    std::sort(chosen.begin(), chosen.end());
    chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    BackupWriter writer(consumer);
    writer.add(BackupEntry::users, "", usersFor(home, chosen));
    for (const std::string &database : chosen)
        writeDatabase(home, database, writer);
    writer.finish();
}

}  // namespace zdbs::embedded
