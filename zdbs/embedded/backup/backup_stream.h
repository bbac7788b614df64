/** The stream of bytes that a backup is: entries one after the other, with a checksum of all. */
#ifndef ZDBS_EMBEDDED_BACKUP_BACKUP_STREAM_H
#define ZDBS_EMBEDDED_BACKUP_BACKUP_STREAM_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/administration.h"

struct XXH3_state_s;

namespace zdbs::embedded {

/** What an entry is; the letter stands in the stream. */
enum class BackupEntry : char {
    users = 'u',     ///< the text of the users file
    database = 'd',  ///< a database of this name begins
    record = 't',    ///< of its catalogue: named by the table, a byte, and the key
    segment = 's',   ///< named by its number
    notes = 'n',     ///< its notes
    end = 'e',       ///< the checksum of all in front of it
};

/** 128 bits of XXH3. */
class Digest {
public:
    Digest();

    void add(std::string_view bytes);
    std::string bytes() const;

private:
    struct Free {
        void operator()(XXH3_state_s *state) const;
    };
    std::unique_ptr<XXH3_state_s, Free> state_;
};

/**
 * Writes entries:
 *
 *   letter  length of the name (32 bits)  length of the content (64 bits)  name  content
 *
 * behind the 14 bytes "zdbs-backup 1\n". Integers are little-endian. Throws what the consumer
 * throws.
 */
class BackupWriter {
public:
    /** The consumer must outlive it. */
    explicit BackupWriter(const ByteConsumer &consumer);

    void add(BackupEntry entry, std::string_view name, std::string_view content);

    /** An entry whose content comes in pieces, which must be of this length together. */
    void begin(BackupEntry entry, std::string_view name, std::uint64_t length);
    void write(std::string_view piece);

    /** The last entry. */
    void finish();

private:
    void flush();

    const ByteConsumer &consumer_;
    Digest digest_;
    std::string buffer_;
};

/** Reads them. Heeds the stop of its thread. */
class BackupReader {
public:
    /** Throws Failure(backupDamaged) when it is no backup. The source must outlive it. */
    explicit BackupReader(const ByteSource &source);

    /**
     * Goes to the next entry, whose letter was checked; false behind the last one, when the
     * checksum is right and nothing follows. Throws Failure(backupDamaged).
     */
    bool next();

    BackupEntry entry() const { return entry_; }
    const std::string &name() const { return name_; }

    /** The content of the entry, once. Throws Failure(backupDamaged), also when it is too long. */
    std::string content(std::uint64_t most);

    /** The content in pieces. */
    void content(const ByteConsumer &consumer);

private:
    bool finish();
    std::string take(std::size_t size);
    std::string_view some(std::uint64_t most);
    bool fill();

    const ByteSource &source_;
    Digest digest_;
    std::vector<char> buffer_;
    std::string_view rest_;  ///< of the buffer
    BackupEntry entry_ = BackupEntry::end;
    std::string name_;
    std::uint64_t length_ = 0;  ///< of the content that was not read
};

/** Throws Failure(backupDamaged). */
[[noreturn]] void failBackup(std::string_view why);

}  // namespace zdbs::embedded

#endif
