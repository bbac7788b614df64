#include "zdbs/embedded/backup/backup_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "zdbs/base/status.h"

namespace zdbs::embedded {
namespace {

std::string written() {
    std::string stream;
    const ByteConsumer consumer = [&](std::string_view bytes) { stream += bytes; };
    BackupWriter writer(consumer);
    writer.add(BackupEntry::users, "", "alice\n");
    writer.add(BackupEntry::database, "db", "");
    writer.add(BackupEntry::record, std::string("\1\0key", 5), std::string("\0\xff", 2));
    writer.begin(BackupEntry::segment, "7", 6);
    writer.write("abc");
    writer.write("def");
    writer.finish();
    return stream;
}

/** The entries as one text; the source tells so many bytes at a time. */
std::string entries(std::string_view stream, std::size_t atATime) {
    const ByteSource source = [&](std::span<char> buffer) {
        const std::size_t size = stream.copy(buffer.data(), std::min(atATime, buffer.size()));
        stream.remove_prefix(size);
        return size;
    };
    std::string text;
    BackupReader reader(source);
    while (reader.next())
        text +=
            static_cast<char>(reader.entry()) + reader.name() + '=' + reader.content(1000) + ';';
    return text;
}

bool isDamaged(std::string_view stream) {
    try {
        entries(stream, 1000);
        return false;
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::backupDamaged) << failure.what();
        return true;
    }
}

TEST(BackupStream, IsReadAsItWasWritten) {
    const std::string expected =
        std::string("u=alice\n;ddb=;t") + std::string("\1\0key=\0\xff;", 9) + "s7=abcdef;";
    for (const std::size_t atATime : {1U, 3U, 1000U})
        EXPECT_EQ(entries(written(), atATime), expected);
}

TEST(BackupStream, TakesPiecesOfAnySize) {
    std::string stream;
    const ByteConsumer consumer = [&](std::string_view bytes) { stream += bytes; };
    const std::string large(3000000, 'x');
    BackupWriter writer(consumer);
    writer.add(BackupEntry::segment, "1", large);
    writer.add(BackupEntry::segment, "2", "y");
    writer.finish();
    std::size_t size = 0;
    std::string_view rest = stream;
    const ByteSource source = [&](std::span<char> buffer) {
        const std::size_t count = rest.copy(buffer.data(), buffer.size());
        rest.remove_prefix(count);
        return count;
    };
    BackupReader reader(source);
    ASSERT_TRUE(reader.next());
    reader.content([&](std::string_view piece) { size += piece.size(); });
    EXPECT_EQ(size, large.size());
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.name(), "2");
    EXPECT_FALSE(reader.next());  // an entry may be passed over
}

TEST(BackupStream, IsDamagedWhereverItEndsTooEarly) {
    const std::string stream = written();
    for (std::size_t size = 0; size < stream.size(); ++size)
        EXPECT_TRUE(isDamaged(std::string_view(stream).substr(0, size))) << size;
    EXPECT_TRUE(isDamaged(stream + "x"));
    EXPECT_FALSE(isDamaged(stream));
}

TEST(BackupStream, IsDamagedByAnyBit) {
    std::string stream = written();
    for (std::size_t bit = 0; bit < 8 * stream.size(); ++bit) {
        const auto mask = static_cast<char>(1U << (bit % 8));
        stream[bit / 8] = static_cast<char>(stream[bit / 8] ^ mask);
        EXPECT_TRUE(isDamaged(stream)) << bit;
        stream[bit / 8] = static_cast<char>(stream[bit / 8] ^ mask);
    }
}

}  // namespace
}  // namespace zdbs::embedded
