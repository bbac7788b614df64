#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "zdbs/base/names.h"
#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/backup/backup.h"
#include "zdbs/embedded/backup/backup_stream.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/committed_state.h"
#include "zdbs/embedded/store/environment.h"

namespace zdbs::embedded {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t longestText = std::uint64_t{1} << 32U;

/** Fills one database, which is empty and nobody else's. */
class DatabaseFiller {
public:
    explicit DatabaseFiller(const fs::path &directory)
        : environment_(Environment::open(directory)) {}

    void addRecord(std::string_view name, std::string record) {
        if (name.size() < 2 || static_cast<unsigned char>(name.front()) >= tableCount)
            failBackup("a record is of no table");
        bytes_ += name.size() + record.size();
        records_.push_back(
            {static_cast<Table>(name.front()), std::string(name.substr(1)), std::move(record)});
        if (bytes_ > most) flush();
    }

    void addSegment(const std::string &name, BackupReader &reader) {
        std::uint32_t number = 0;
        const char *const end = name.data() + name.size();
        if (name.empty() || std::from_chars(name.data(), end, number).ptr != end)
            failBackup("a segment has no number");
        const fs::path path = environment_->segmentFile(number);
        const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "wbxe"));
        if (!file) throwWriteError(errno, path);
        reader.content([&](std::string_view piece) {
            if (std::fwrite(piece.data(), 1, piece.size(), file.get()) != piece.size())
                throwWriteError(errno, path);
        });
        if (std::fflush(file.get()) != 0 || ::fchmod(::fileno(file.get()), 0600) != 0 ||
            ::fsync(::fileno(file.get())) != 0)
            throwWriteError(errno, path);
    }

    void finish() {
        flush();
        syncDirectory(environment_->segmentsDirectory());
    }

private:
    static constexpr std::size_t most = std::size_t{16} << 20U;

    struct Record {
        Table table;
        std::string key;
        std::string record;
    };
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    void flush() {
        WriteTransaction::run(*environment_, [this](WriteTransaction &transaction) {
            for (const Record &each : records_)
                transaction.put(each.table, each.key, each.record);
        });
        records_.clear();
        bytes_ = 0;
    }

    std::shared_ptr<Environment> environment_;
    std::vector<Record> records_;
    std::size_t bytes_ = 0;
};

/** Makes a home of the entries of a backup. */
class HomeFiller {
public:
    explicit HomeFiller(const fs::path &path) : home_(Home::create(path)) {}

    void fill(BackupReader &reader) {
        while (reader.next())
            add(reader);
        finishDatabase();
        // Opened, each shows that it is one.
        for (const std::string &database : home_->databases())
            home_->state(database);
    }

private:
    void add(BackupReader &reader) {
        switch (reader.entry()) {
            case BackupEntry::users:
                return addUsers(reader.content(longestText));
            case BackupEntry::database:
                finishDatabase();
                database_ = reader.name();
                if (!isValidName(database_)) failBackup("a database has no name");
                home_->createDatabase(database_);
                filler_ = std::make_unique<DatabaseFiller>(home_->databasePath(database_));
                return;
            case BackupEntry::record:
                return filler().addRecord(reader.name(), reader.content(longestText));
            case BackupEntry::segment:
                return filler().addSegment(reader.name(), reader);
            case BackupEntry::notes:
                filler();
                return home_->keepNotes(database_, reader.content(longestText));
            case BackupEntry::end:
                break;
        }
    }

    void addUsers(const std::string &text) {
        const fs::path file = UsersFile(home_->path()).path();
        UserTable::parse(text, file.native());
        replacePrivateFile(file, text);
    }

    DatabaseFiller &filler() {
        if (!filler_) failBackup("there is an entry of no database");
        return *filler_;
    }

    void finishDatabase() {
        if (filler_) filler_->finish();
        filler_.reset();
    }

    std::shared_ptr<Home> home_;
    std::string database_;
    std::unique_ptr<DatabaseFiller> filler_;
};

/** Where a home is made until it is complete; gone with it. What a killed one left is taken over.
 */
class Workplace {
public:
    explicit Workplace(const fs::path &home)
        : path_(home.parent_path() / ('.' + home.filename().native() + ".restoring")),
          made_(makePrivate(path_)),
          lock_(path_ / "lock") {
        std::error_code ignored;
        fs::remove_all(homePath(), ignored);
    }
    ~Workplace() { removeFolder(path_); }
    Workplace(const Workplace &) = delete;
    Workplace &operator=(const Workplace &) = delete;

    fs::path homePath() const { return path_ / "home"; }

private:
    static bool makePrivate(const fs::path &path) {
        makePrivateDirectory(path);
        return true;
    }

    fs::path path_;
    bool made_;
    FileLock lock_;
};

/** The last step of the path names the home. */
fs::path withoutSlash(const fs::path &path) {
    const fs::path absolute = fs::absolute(path).lexically_normal();
    return absolute.has_filename() ? absolute : absolute.parent_path();
}

void requireFreePlace(const fs::path &home) {
    std::error_code ignored;
    const bool isFree = !fs::exists(fs::symlink_status(home, ignored)) ||
                        (fs::is_directory(home, ignored) && fs::is_empty(home, ignored));
    if (!isFree) throw Failure(Status::homeExists, {home.native()});
}

}  // namespace

void restoreBackup(const fs::path &path, const ByteSource &source) {
    const fs::path home = withoutSlash(path);
    requireFreePlace(home);
    BackupReader reader(source);
    std::error_code error;
    fs::create_directories(home.parent_path(), error);
    if (error) throwWriteError(error.value(), home.parent_path());
    const Workplace workplace(home);
    HomeFiller(workplace.homePath()).fill(reader);
    syncDirectory(workplace.homePath());
    const DirectorySync parent(home.parent_path());
    if (::rename(workplace.homePath().c_str(), home.c_str()) != 0) {
        if (errno == EEXIST || errno == ENOTEMPTY || errno == ENOTDIR)
            throw Failure(Status::homeExists, {home.native()});
        throwWriteError(errno, home);
    }
    parent.sync();
}

}  // namespace zdbs::embedded
