#include "zdbs/embedded/backup/backup_stream.h"

#include <xxhash.h>

#include <algorithm>
#include <array>
#include <new>

#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"

namespace zdbs::embedded {
namespace {

constexpr std::string_view heading = "zdbs-backup 1\n";
constexpr std::size_t bufferSize = std::size_t{1} << 18U;
constexpr std::size_t longestName = 1024;

std::string littleEndian(std::uint64_t number, std::size_t bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes; ++i)
        text += static_cast<char>(number >> (8 * i) & 0xff);
    return text;
}

std::uint64_t readLittleEndian(std::string_view text) {
    std::uint64_t number = 0;
    for (std::size_t i = text.size(); i > 0; --i)
        number = number << 8U | static_cast<unsigned char>(text[i - 1]);
    return number;
}

BackupEntry entryOf(char letter) {
    for (const BackupEntry entry : {BackupEntry::users, BackupEntry::database, BackupEntry::record,
                                    BackupEntry::segment, BackupEntry::notes, BackupEntry::end}) {
        if (static_cast<char>(entry) == letter) return entry;
    }
    failBackup("there is an entry of an unknown kind");
}

}  // namespace

void failBackup(std::string_view why) {
    throw Failure(Status::backupDamaged, {why});
}

void Digest::Free::operator()(XXH3_state_s *state) const {
    ::XXH3_freeState(state);
}

Digest::Digest() : state_(::XXH3_createState()) {
    if (!state_) throw std::bad_alloc();
    ::XXH3_128bits_reset(state_.get());
}

void Digest::add(std::string_view bytes) {
    ::XXH3_128bits_update(state_.get(), bytes.data(), bytes.size());
}

std::string Digest::bytes() const {
    XXH128_canonical_t canonical;
    ::XXH128_canonicalFromHash(&canonical, ::XXH3_128bits_digest(state_.get()));
    return {std::begin(canonical.digest), std::end(canonical.digest)};
}

BackupWriter::BackupWriter(const ByteConsumer &consumer) : consumer_(consumer) {
    write(heading);
}

void BackupWriter::add(BackupEntry entry, std::string_view name, std::string_view content) {
    begin(entry, name, content.size());
    write(content);
}

void BackupWriter::begin(BackupEntry entry, std::string_view name, std::uint64_t length) {
    write(static_cast<char>(entry) + littleEndian(name.size(), 4) + littleEndian(length, 8));
    write(name);
}

void BackupWriter::write(std::string_view piece) {
    if (buffer_.size() + piece.size() > bufferSize) flush();
    if (piece.size() <= bufferSize) {
        buffer_.append(piece);
        return;
    }
    heedStop();
    digest_.add(piece);
    consumer_(piece);
}

void BackupWriter::flush() {
    heedStop();
    digest_.add(buffer_);
    consumer_(buffer_);
    buffer_.clear();
}

void BackupWriter::finish() {
    flush();
    add(BackupEntry::end, "", digest_.bytes());
    flush();
}

BackupReader::BackupReader(const ByteSource &source) : source_(source), buffer_(bufferSize) {
    while (rest_.size() < heading.size() && fill()) {
    }
    if (!rest_.starts_with(heading)) failBackup("it is none, or one of another version");
    take(heading.size());
}

bool BackupReader::next() {
    if (length_ > 0) content([](std::string_view) {});
    const std::string before = digest_.bytes();
    entry_ = entryOf(take(1).front());
    const std::uint64_t nameLength = readLittleEndian(take(4));
    if (nameLength > longestName) failBackup("a name is too long");
    length_ = readLittleEndian(take(8));
    name_ = take(static_cast<std::size_t>(nameLength));
    if (entry_ != BackupEntry::end) return true;
    if (content(before.size()) != before) failBackup("its checksum is wrong");
    if (!rest_.empty() || fill()) failBackup("it goes on behind its end");
    return false;
}

std::string BackupReader::content(std::uint64_t most) {
    if (length_ > most) failBackup("an entry is too long");
    std::string text;
    content([&](std::string_view piece) { text += piece; });
    return text;
}

void BackupReader::content(const ByteConsumer &consumer) {
    while (length_ > 0) {
        const std::string_view piece = some(length_);
        length_ -= piece.size();
        consumer(piece);
    }
}

std::string BackupReader::take(std::size_t size) {
    std::string text;
    while (text.size() < size)
        text += some(size - text.size());
    return text;
}

std::string_view BackupReader::some(std::uint64_t most) {
    if (rest_.empty() && !fill()) failBackup("it ends too early");
    const std::string_view piece =
        rest_.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(most, rest_.size())));
    rest_.remove_prefix(piece.size());
    digest_.add(piece);
    return piece;
}

/** Behind what is left. */
bool BackupReader::fill() {
    heedStop();
    std::copy(rest_.begin(), rest_.end(), buffer_.begin());
    const std::size_t size = source_(std::span(buffer_).subspan(rest_.size()));
    rest_ = {buffer_.data(), rest_.size() + size};
    return size > 0;
}

}  // namespace zdbs::embedded
