// Backups: a stream of any bytes, with a checksum that fits, is refused or makes a home whose
// databases can be opened and checked; refused, it leaves nothing behind.
#include <algorithm>
#include <filesystem>
#include <string>

#include "fuzz/fuzzing.h"
#include "tests/support/temporary_directory.h"
#include "zdbs/embedded/backup/backup.h"
#include "zdbs/embedded/backup/backup_stream.h"
#include "zdbs/embedded/check/check.h"
#include "zdbs/embedded/home/home.h"

namespace {

using namespace zdbs::embedded;
namespace fs = std::filesystem;

/** The input with the last entry of a backup behind it. */
std::string ended(std::string_view entries) {
    Digest digest;
    digest.add(entries);
    std::string stream(entries);
    stream += static_cast<char>(BackupEntry::end);
    stream += std::string("\0\0\0\0\x10\0\0\0\0\0\0\0", 12);
    return stream + digest.bytes();
}

zdbs::ByteSource sourceOf(std::string_view &stream) {
    return [&stream](std::span<char> buffer) {
        const std::size_t size = stream.copy(buffer.data(), buffer.size());
        stream.remove_prefix(size);
        return size;
    };
}

void useHome(const fs::path &path) {
    const auto home = Home::open(path);
    for (const std::string &database : home->databases()) {
        home->state(database);
        fuzzing::isRefused([&] { checkDatabase(home->databasePath(database)); });
    }
}

}  // namespace

void fuzz(fuzzing::Bytes input) {
    static const support::TemporaryDirectory directory;
    const fs::path home = directory.path() / "home";
    const std::string stream = ended(fuzzing::textOf(input));
    std::string_view rest = stream;
    const bool refused = fuzzing::isRefused([&] { restoreBackup(home, sourceOf(rest)); });
    if (!refused) useHome(home);
    fs::remove_all(home);
    fuzzing::require(fs::is_empty(directory.path()), "A restoration leaves something behind.");
}
