#include "zdbs/embedded/store/environment.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <map>
#include <new>
#include <thread>
#include <utility>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/store/data_file.h"
#include "zdbs/embedded/store/lmdb_values.h"
#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/reserve.h"
#include "zdbs/embedded/store/segment.h"

namespace zdbs::embedded {

namespace {

constexpr mdb_mode_t fileMode = 0600;
constexpr unsigned maxReaders = 2048;  // of all processes together
constexpr std::uint64_t lockFileSize = 64 * std::uint64_t{maxReaders} + 4096;  // each has 64 bytes
constexpr std::size_t smallestMap = std::size_t{1} << 26;
constexpr int lockFileAttempts = 1000;  // to open it when others leave it
constexpr std::chrono::milliseconds lockFilePause{1};

constexpr std::array<const char *, tableCount> tableNames = {
    "meta", "documents", "documentNames", "names", "paths", "segments", "longElements"};

/** A file as the system knows it, under whatever path. */
using FileIdentity = std::pair<dev_t, ino_t>;

struct Registry {
    std::mutex mutex;
    std::condition_variable closed;
    std::map<FileIdentity, std::weak_ptr<Environment>> open;
    std::map<const Environment *, FileIdentity> identities;
    std::atomic<std::thread::id> opener{};  ///< who has the mutex to open one, and closes it at
                                            ///< once where memory ends before others can have it
};

/** The time in which a thread opens one. REQUIRES the mutex. */
class Opening {
public:
    explicit Opening(Registry &all) : all_(all) { all_.opener = std::this_thread::get_id(); }
    ~Opening() { all_.opener = std::thread::id(); }
    Opening(const Opening &) = delete;
    Opening &operator=(const Opening &) = delete;

private:
    Registry &all_;
};

// Never destroyed: environments that live until the end of the process still close through it.
Registry &registry() {
    static Registry *const instance = new Registry;
    return *instance;
}

std::filesystem::path dataFile(const std::filesystem::path &directory) {
    return directory / Environment::dataFileName;
}

std::filesystem::path lockFile(const std::filesystem::path &directory) {
    return directory / "lock.mdb";
}

void takeLockFile(const std::filesystem::path &path) {
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!file && errno == ENOENT) file = openPrivateFile(path, O_RDWR | O_CREAT);
    struct stat taken {};
    if (!file || ::fstat(file.get(), &taken) != 0) return;
    if (static_cast<std::uint64_t>(taken.st_blocks) * 512 >= lockFileSize) return;
    const int error = allocate(file, 0, lockFileSize);
    if (error != 0) throwWriteError(error, path);
}

FileIdentity identify(const std::filesystem::path &directory) {
    struct stat file {};
    if (::stat(dataFile(directory).c_str(), &file) == 0) return {file.st_dev, file.st_ino};
    if (errno == ENOENT || errno == ENOTDIR)
        throw Failure(Status::unknownDatabase, {directory.filename().native()});
    throw Failure(Status::homeUnreadable, {directory.native(), ::mdb_strerror(errno)});
}

// LMDB believes the pages that it maps, and a process that follows a damaged one may not survive.
void requireSoundPages(const std::filesystem::path &directory) {
    const auto report = checkDataFile(dataFile(directory), 1);
    if (report.findings.empty()) return;
    throw Failure(Status::homeDamaged, {dataFile(directory).native(), report.findings.front()});
}

// LMDB has only EIO to say about a write that came half as far as it should.
bool isDiskFull(const std::filesystem::path &directory) {
    constexpr std::uint64_t least = std::uint64_t{1} << 16;
    struct statvfs disk {};
    return ::statvfs(directory.c_str(), &disk) == 0 && disk.f_bavail * disk.f_frsize < least;
}

/** As much of that as the system grants a map, found out before anyone can see an attempt. */
std::size_t grantedMapSize(std::size_t size) {
    for (; size > smallestMap; size /= 4) {
        void *const map =
            ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (map == MAP_FAILED) continue;
        ::munmap(map, size);
        break;
    }
    return size;
}

/** Where LMDB finds that a page cannot be: it goes no further after that. */
void endWithMessage(MDB_env *env, const char * /*assertion*/) {
    const char *directory = "";
    ::mdb_env_get_path(env, &directory);
    const std::string sentence =
        Failure(Status::homeDamaged, {dataFile(directory).native(), "its pages"}).what();
    std::fputs((sentence + '\n').c_str(), stderr);
    ::_exit(1);
}

bool anyoneMayWrite(const std::filesystem::path &path) {
    struct stat file {};
    return ::stat(path.c_str(), &file) != 0 || (file.st_mode & 0222) != 0;
}

}  // namespace

std::shared_ptr<Environment> Environment::open(const std::filesystem::path &directory,
                                               std::size_t mapSize) {
    Registry &all = registry();
    std::unique_lock lock(all.mutex);
    const FileIdentity identity = identify(directory);
    for (;;) {
        const auto found = all.open.find(identity);
        if (found == all.open.end()) break;
        if (auto shared = found->second.lock()) return shared;
        // Its last user is about to close it, which has to be over before it is opened again.
        all.closed.wait(lock);
    }
    const Opening opening(all);
    std::shared_ptr<Environment> shared(new Environment(directory, mapSize, false), closeShared);
    all.identities.emplace(shared.get(), identity);
    all.open.emplace(identity, shared);
    return shared;
}

void Environment::closeShared(Environment *environment) {
    Registry &all = registry();
    std::unique_lock lock(all.mutex, std::defer_lock);
    if (all.opener != std::this_thread::get_id()) lock.lock();
    const auto identity = all.identities.find(environment);
    if (identity != all.identities.end()) {
        all.open.erase(identity->second);
        all.identities.erase(identity);
    }
    delete environment;
    all.closed.notify_all();
}

// LMDB takes empty files for new ones. Made by itself they would be subject to the umask, and it
// opens the data file a second time.
void Environment::create(const std::filesystem::path &directory) {
    makePrivateFile(dataFile(directory));
    makePrivateFile(lockFile(directory));
    makePrivateDirectory(directory / segmentsName);
    const Environment made(directory, defaultMapSize, true);
}

Environment::Environment(std::filesystem::path directory, std::size_t mapSize, bool creating)
    : directory_(std::move(directory)), dataFile_(dataFile(directory_)) {
    identity_ = identify(directory_);
    const unsigned flags = creating ? MDB_NOTLS : openFlags();
    readOnly_ = (flags & MDB_RDONLY) != 0;
    if (!creating) requireSoundPages(directory_);
    if ((flags & MDB_NOLOCK) == 0) allocateLockFile(creating);
    std::size_t granted = grantedMapSize(mapSize);
    openMap(granted, flags);
    try {
        for (int attempt = 1; !creating && !knowsACommit(); ++attempt) {
            if (attempt == lockFileAttempts)
                throw Failure(Status::storeFailed,
                              {lockFile(directory_).native() + ": it names no commit"});
            ::mdb_env_close(std::exchange(env_, nullptr));
            std::this_thread::sleep_for(lockFilePause);
            openMap(granted, flags);
        }
        removeDeadReaders();
        if (creating) createTables();
        checkVersion();
        openTables();
        watchMap();
        soundCommit_ = lastCommit();
    } catch (...) {
        if (env_ != nullptr) ::mdb_env_close(env_);
        throw;
    }
}

Environment::~Environment() {
    watch_ = WatchedMap();
    ::mdb_env_close(env_);  // which writes to the table of readers
    readersWatch_ = WatchedMap();
}

// Without a writable data file nothing can change here, and reading does not need the lock file
// either when nobody else may write: a backup, say, whose files are all read-only.
unsigned Environment::openFlags() const {
    if (::faccessat(AT_FDCWD, dataFile(directory_).c_str(), W_OK, AT_EACCESS) == 0 ||
        (errno != EACCES && errno != EROFS))
        return MDB_NOTLS;
    return MDB_NOTLS | MDB_RDONLY | (anyoneMayWrite(dataFile(directory_)) ? 0 : MDB_NOLOCK);
}

// LMDB writes to it through a map, which ends the process where the disk has no room for a page.
// What it makes itself has no page yet, so it gets a file of the full length.
void Environment::allocateLockFile(bool creating) const {
    try {
        takeLockFile(lockFile(directory_));
    } catch (const Failure &failure) {
        // Whoever may not make it hears from LMDB whether that matters.
        if (failure.status() != Status::diskFull) return;
        // A removal begins here, too.
        if (creating) throw;
        Reserve(homeOf(directory_)).use([this] { takeLockFile(lockFile(directory_)); });
    }
}

int Environment::tryMap(std::size_t size, unsigned flags) {
    int error = ::mdb_env_create(&env_);
    if (error != MDB_SUCCESS) return error;
    ::mdb_env_set_assert(env_, endWithMessage);
    error = ::mdb_env_set_mapsize(env_, size);
    if (error == MDB_SUCCESS) error = ::mdb_env_set_maxdbs(env_, tableCount);
    if (error == MDB_SUCCESS) error = ::mdb_env_set_maxreaders(env_, maxReaders);
    if (error == MDB_SUCCESS) error = ::mdb_env_open(env_, directory_.c_str(), flags, fileMode);
    if (error != MDB_SUCCESS) ::mdb_env_close(std::exchange(env_, nullptr));
    return error;
}

// What the system granted a moment ago another thread may have taken since.
void Environment::openMap(std::size_t &size, unsigned flags) {
    int error = tryMap(size, flags);
    while (error == ENOMEM && size > smallestMap)
        error = tryMap(size /= 4, flags);
    if (error != MDB_SUCCESS) fail(error);
}

// The first who opens the files notes the newest commit in the lock file last. Where it ended
// before that, whoever waited for it finds none there, and would read an old state and write a
// new one over the newest. It has to go, so that somebody becomes the first again.
bool Environment::knowsACommit() {
    MDB_txn *transaction = beginRead();
    const bool knows = ::mdb_txn_id(transaction) != 0 || lastCommit() == 0;
    endRead(transaction);
    return knows;
}

// LMDB does not tell where it mapped the file, but where a record lies.
void Environment::watchMap() {
    MDB_txn *transaction = beginRead();
    MDB_val key = toVal(versionKey);
    MDB_val record{};
    const int error = ::mdb_get(transaction, tables_[0], &key, &record);
    endRead(transaction);
    watch_ = WatchedMap(error == MDB_SUCCESS ? mapAround(record.mv_data) : std::string_view());
    readersWatch_ = WatchedMap(mapOf(lockFile(directory_)), WatchedMap::Access::writing);
}

void Environment::requireIntact() const {
    watch_.requireIntact(dataFile_);
    readersWatch_.requireIntact(lockFile(directory_));
}

void Environment::requireSound() {
    requireIntact();
    const std::uint64_t commit = lastCommit();
    requireIntact();
    if (commit == soundCommit_) return;
    requireSoundPages(directory_);
    soundCommit_ = commit;
}

void Environment::createTables() {
    MDB_txn *transaction = nullptr;
    int error = ::mdb_txn_begin(env_, nullptr, 0, &transaction);
    if (error != MDB_SUCCESS) fail(error);
    for (std::size_t i = 0; i < tableCount && error == MDB_SUCCESS; ++i)
        error = ::mdb_dbi_open(transaction, tableNames[i], MDB_CREATE, &tables_[i]);
    const std::string records[] = {encodeNumber(formatVersion),
                                   sealed(Table::meta, stateKey, encodeState({}))};
    const std::string_view keys[] = {versionKey, stateKey};
    for (std::size_t i = 0; i < 2 && error == MDB_SUCCESS; ++i) {
        MDB_val key = toVal(keys[i]);
        MDB_val record = toVal(records[i]);
        error = ::mdb_put(transaction, tables_[0], &key, &record, 0);
    }
    if (error == MDB_SUCCESS) {
        error = ::mdb_txn_commit(transaction);
    } else {
        ::mdb_txn_abort(transaction);
    }
    if (error != MDB_SUCCESS) fail(error);
}

// The version's place is the same in every format, past and future, and it has no checksum.
void Environment::checkVersion() {
    MDB_txn *transaction = beginRead();
    MDB_dbi meta = 0;
    int error = ::mdb_dbi_open(transaction, tableNames[0], 0, &meta);
    MDB_val key = toVal(versionKey);
    MDB_val record{};
    if (error == MDB_SUCCESS) error = ::mdb_get(transaction, meta, &key, &record);
    std::optional<std::uint32_t> version;
    if (error == MDB_SUCCESS) version = decodeNumber(toView(record));
    endRead(transaction);
    if (!version) throw Failure(Status::homeDamaged, {directory_.native(), "it has no version"});
    if (*version == formatVersion || *version == formatOfParts) return;
    throw Failure(Status::homeVersion,
                  {directory_.native(),
                   std::to_string(*version) + " instead of " + std::to_string(formatOfParts)});
}

std::string_view Environment::recordOf(Table table, std::string_view key,
                                       std::string_view bytes) const {
    const auto record = unsealed(table, key, bytes);
    if (record) return *record;
    throw Failure(Status::homeDamaged,
                  {dataFile_.native(), std::string("the checksum of a record of the table ") +
                                           tableNames[static_cast<std::size_t>(table)]});
}

void Environment::openTables() {
    MDB_txn *transaction = beginRead();
    int error = MDB_SUCCESS;
    for (std::size_t i = 0; i < tableCount && error == MDB_SUCCESS; ++i)
        error = ::mdb_dbi_open(transaction, tableNames[i], 0, &tables_[i]);
    // A commit keeps the handles; there is nothing else to it in a reading transaction.
    const int committed = ::mdb_txn_commit(transaction);
    --readers_;
    if (error != MDB_SUCCESS)
        throw Failure(Status::homeDamaged, {directory_.native(), "a table is missing"});
    if (committed != MDB_SUCCESS) fail(committed);
}

std::filesystem::path Environment::segmentFile(std::uint32_t number) const {
    const std::string digits = std::to_string(number);
    const std::string zeros(digits.size() < 8 ? 8 - digits.size() : 0, '0');
    return segmentsDirectory() / (zeros + digits + ".seg");
}

void Environment::removeSegmentFile(std::uint32_t number) const noexcept {
    try {
        std::error_code ignored;
        std::filesystem::remove(segmentFile(number), ignored);
    } catch (const std::bad_alloc &) {
        // What was done stays done.
    }
}

std::shared_ptr<const Segment> Environment::segment(std::uint32_t number) {
    const std::lock_guard lock(segmentsMutex_);
    std::erase_if(segments_, [](const auto &known) { return known.second.expired(); });
    auto &known = segments_[number];
    auto segment = known.lock();
    if (segment) return segment;
    segment = Segment::open(segmentFile(number));
    known = segment;
    return segment;
}

std::uint64_t Environment::fileSize() const {
    struct stat file {};
    if (::stat(dataFile(directory_).c_str(), &file) != 0) return 0;
    return static_cast<std::uint64_t>(file.st_blocks) * 512;
}

bool Environment::isAtItsPlace() const {
    struct stat file {};
    return ::stat(dataFile_.c_str(), &file) == 0 &&
           FileIdentity(file.st_dev, file.st_ino) == identity_;
}

void Environment::requirePlace() const {
    if (!isAtItsPlace()) throw Failure(Status::unknownDatabase, {directory_.filename().native()});
}

// The newest of the meta pages in the map tells it, without a place among the readers.
std::uint64_t Environment::lastCommit() const {
    MDB_envinfo info{};
    const int error = ::mdb_env_info(env_, &info);
    if (error != MDB_SUCCESS) fail(error);
    return info.me_last_txnid;
}

// LMDB refuses everything once the page that makes a commit true could not be written; a failure
// before that leaves it as it was.
bool Environment::isCommitUncertain() {
    const std::lock_guard lock(mapMutex_);
    MDB_txn *transaction = nullptr;
    if (::mdb_txn_begin(env_, nullptr, MDB_RDONLY, &transaction) != MDB_SUCCESS) return true;
    ::mdb_txn_abort(transaction);
    return false;
}

void Environment::removeDeadReaders() {
    int dead = 0;
    ::mdb_reader_check(env_, &dead);
}

// A commit is true once its page is written, and noted in the lock file behind that. LMDB does so
// for one who died between them when the next one takes the writers' lock; readers take none.
void Environment::noteLastCommit() {
    const std::lock_guard lock(mapMutex_);
    MDB_txn *transaction = nullptr;
    const int error = ::mdb_txn_begin(env_, nullptr, 0, &transaction);
    if (error == MDB_SUCCESS) return ::mdb_txn_abort(transaction);
    // The lock was taken all the same; who reads next takes the new size.
    if (error != MDB_MAP_RESIZED) fail(error);
}

MDB_txn *Environment::beginRead() {
    const std::lock_guard lock(mapMutex_);
    MDB_txn *transaction = nullptr;
    int error = ::mdb_txn_begin(env_, nullptr, MDB_RDONLY, &transaction);
    if (error == MDB_READERS_FULL) {
        removeDeadReaders();
        error = ::mdb_txn_begin(env_, nullptr, MDB_RDONLY, &transaction);
    }
    if (error == MDB_MAP_RESIZED && readers_ == 0) {
        // Another process made the file larger than the map: take its size. It is watched no more.
        watch_ = WatchedMap();
        error = ::mdb_env_set_mapsize(env_, 0);
        if (error == MDB_SUCCESS) error = ::mdb_txn_begin(env_, nullptr, MDB_RDONLY, &transaction);
    }
    if (error != MDB_SUCCESS) fail(error);
    if (readersWatch_.isLost()) {
        ::mdb_txn_abort(transaction);
        requireIntact();
    }
    ++readers_;
    return transaction;
}

void Environment::endRead(MDB_txn *transaction) {
    const std::lock_guard lock(mapMutex_);
    ::mdb_txn_abort(transaction);
    --readers_;
}

void Environment::grow() {
    const std::lock_guard lock(mapMutex_);
    if (readers_ > 0)
        throw Failure(Status::storeFailed,
                      {directory_.native() + ": its map cannot grow while it is read"});
    MDB_envinfo info{};
    int error = ::mdb_env_info(env_, &info);
    watch_ = WatchedMap();
    if (error == MDB_SUCCESS) error = ::mdb_env_set_mapsize(env_, info.me_mapsize * 2);
    if (error != MDB_SUCCESS) fail(error);
}

void Environment::fail(int error) const {
    const std::string text = ::mdb_strerror(error);
    const std::string &place = directory_.native();
    switch (error) {
        case ENOENT:
            throw Failure(Status::unknownDatabase, {directory_.filename().native()});
        case ENOMEM:
            throw Failure(Status::outOfMemory);
        case MDB_CORRUPTED:
        case MDB_PAGE_NOTFOUND:
        case MDB_INVALID:
            throw Failure(Status::homeDamaged, {place, text});
        case MDB_VERSION_MISMATCH:
            throw Failure(Status::homeVersion, {place, text});
        case EACCES:
        case EPERM:
            throw Failure(Status::homeUnreadable, {place, text});
        case MDB_READERS_FULL: {
            unsigned count = maxReaders;  // some more where the file has room for them
            ::mdb_env_get_maxreaders(env_, &count);
            throw Failure(Status::storeFailed, {place + ": " + std::to_string(count) +
                                                " sessions read it, and there can be no more"});
        }
        case EIO:
            if (isDiskFull(directory_)) throwWriteError(ENOSPC, dataFile(directory_));
            throwWriteError(error, dataFile(directory_));
        default:
            if (error > 0) throwWriteError(error, dataFile(directory_));
            throw Failure(Status::storeFailed, {place + ": " + text});
    }
}

}  // namespace zdbs::embedded
