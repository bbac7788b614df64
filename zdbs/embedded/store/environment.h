/**
 * The LMDB environment of one database: its two files, its tables, its map. It is the
 * catalogue of the segments beside it. The only place that calls LMDB.
 */
#ifndef ZDBS_EMBEDDED_STORE_ENVIRONMENT_H
#define ZDBS_EMBEDDED_STORE_ENVIRONMENT_H

#include <lmdb.h>
#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/watched_map.h"

namespace zdbs::embedded {

class Segment;

/**
 * Address space for the map of a database, and with it the most that it can
 * hold. It costs nothing until it is used. Where the system grants less (a limit
 * on address space), less is taken and grown when the file fills it.
 */
constexpr std::size_t defaultMapSize = std::size_t{1} << 40;

/** Pages that a table takes. */
struct TableSize {
    std::uint64_t bytes;
    std::uint64_t records;
};

/**
 * An open environment. LMDB forbids to open a file twice in one process, so
 * there is one object for each database, shared by all who use it and closed
 * with the last of them. Any thread may call. Not usable after fork().
 */
class Environment {
public:
    static constexpr const char *dataFileName = "data.mdb";
    static constexpr const char *segmentsName = "segments";

    /**
     * Opens the database in that directory, or shares the one that is open; then
     * `mapSize` is not looked at. Read-only where the data file cannot be written.
     * Throws Failure: unknownDatabase, homeUnreadable, homeVersion, homeDamaged, storeFailed.
     */
    static std::shared_ptr<Environment> open(const std::filesystem::path &directory,
                                             std::size_t mapSize = defaultMapSize);

    /** Makes the files of an empty database in a directory that is there. */
    static void create(const std::filesystem::path &directory);

    ~Environment();
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

    const std::filesystem::path &directory() const { return directory_; }
    bool readOnly() const { return readOnly_; }

    /** Where the segments lie, and the file of one. */
    std::filesystem::path segmentsDirectory() const { return directory_ / segmentsName; }
    std::filesystem::path segmentFile(std::uint32_t number) const;

    /** As far as that goes: what is left the next writer removes. */
    void removeSegmentFile(std::uint32_t number) const noexcept;

    /**
     * The segment in the file of that number, shared with those who have it open.
     * REQUIRES that a commit named it. Throws as Segment::open().
     */
    std::shared_ptr<const Segment> segment(std::uint32_t number);

    /** From now on this process writes no more: a write of a segment failed. */
    void markBroken() { broken_ = true; }

    /** Bytes that the data file takes on disk. */
    std::uint64_t fileSize() const;

    /** Whether the open data file is still the one at its place, and not dropped or replaced. */
    bool isAtItsPlace() const;

    /** After reading: throws Failure(homeDamaged) when a file became shorter meanwhile. */
    void requireIntact() const;

    /**
     * Before a new state is read: verifies its pages as opening does. Throws Failure: homeDamaged.
     */
    void requireSound();

    /** Throws Failure: unknownDatabase, where it is not. */
    void requirePlace() const;

    /** Number of the newest commit, of any process; costs next to nothing. */
    std::uint64_t lastCommit() const;

    /** After a commit that failed: could the next start see it all the same? */
    bool isCommitUncertain();

    /** Gives back the places of readers that died. */
    void removeDeadReaders();

    /**
     * From now on reading begins at the newest commit, also where whoever made it was killed before
     * it was noted for readers. For writers, which go on from what they read. Throws
     * Failure(storeFailed).
     */
    void noteLastCommit();

private:
    friend class ReadTransaction;
    friend class WriteTransaction;

    Environment(std::filesystem::path directory, std::size_t mapSize, bool creating);
    static void closeShared(Environment *environment);

    void allocateLockFile(bool creating) const;
    int tryMap(std::size_t size, unsigned flags);
    void openMap(std::size_t &size, unsigned flags);
    bool knowsACommit();
    unsigned openFlags() const;
    void openTables();
    void watchMap();
    void createTables();
    void checkVersion();
    std::string_view recordOf(Table table, std::string_view key, std::string_view bytes) const;
    MDB_txn *beginRead();
    void endRead(MDB_txn *transaction);
    void grow();
    [[noreturn]] void fail(int error) const;

    std::filesystem::path directory_;
    std::filesystem::path dataFile_;
    std::pair<dev_t, ino_t> identity_;  ///< of the data file
    bool readOnly_ = false;
    std::atomic<bool> broken_ = false;  ///< a write failed: this process writes no more
    MDB_env *env_ = nullptr;
    WatchedMap watch_;                            ///< of LMDB's map
    WatchedMap readersWatch_;                     ///< of its table of readers
    std::atomic<std::uint64_t> soundCommit_ = 0;  ///< the last one that was verified
    std::array<MDB_dbi, tableCount> tables_{};
    std::mutex segmentsMutex_;
    std::map<std::uint32_t, std::weak_ptr<const Segment>> segments_;  ///< that are open, by number
    std::mutex mapMutex_;  ///< the map may only change while no transaction is open
    int readers_ = 0;
};

/**
 * A consistent view; views of records live as long as it. Reading is for one thread at a time, and
 * throws Failure: homeDamaged where a record is not what was stored.
 */
class ReadTransaction {
public:
    using Visitor = std::function<bool(std::string_view key, std::string_view record)>;

    /** Throws Failure: storeFailed. */
    explicit ReadTransaction(std::shared_ptr<Environment> environment);
    ~ReadTransaction();
    ReadTransaction(const ReadTransaction &) = delete;
    ReadTransaction &operator=(const ReadTransaction &) = delete;

    std::optional<std::string_view> get(Table table, std::string_view key) const;

    /** Calls `visit` with each key and record in order of key until it answers false. */
    void forEach(Table table, const Visitor &visit) const;

    /** The same from the last record whose key is not greater than `first`, or the first one. */
    void forEachFrom(Table table, std::string_view first, const Visitor &visit) const;

    /** The same with the bytes as they lie there; see unsealed(). */
    void forEachStored(Table table, const Visitor &visit) const;

    TableSize size(Table table) const;

    /** Number of the commit that is seen; compare Environment::lastCommit(). */
    std::uint64_t commit() const;

private:
    std::shared_ptr<Environment> environment_;
    MDB_txn *transaction_;
};

/** Changes to the tables, inside write(). */
class WriteTransaction {
public:
    /**
     * Runs `work` in a transaction and commits it; what `work` throws ends the
     * transaction without a trace. When the map has to grow, `work` is run again
     * from the start, so it must not keep anything of a run that did not return.
     *
     * A failed write is final: LMDB could report success for a later commit on
     * top of pages that never reached the disk, so this process writes no more.
     * Throws Failure: diskFull, homeReadOnly, storeFailed.
     */
    static void run(Environment &environment, const std::function<void(WriteTransaction &)> &work);

    std::optional<std::string> get(Table table, std::string_view key) const;
    void put(Table table, std::string_view key, std::string_view record);

    /** Removes a record that is there, or nothing. */
    void remove(Table table, std::string_view key);

    /** Removes all records. */
    void clear(Table table);

private:
    explicit WriteTransaction(Environment &environment);
    ~WriteTransaction();
    void commit();
    void check(int error) const;

    Environment &environment_;
    MDB_txn *transaction_ = nullptr;
};

}  // namespace zdbs::embedded

#endif
