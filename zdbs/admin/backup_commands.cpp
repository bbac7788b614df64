#include <zstd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/output_file.h"
#include "zdbs/admin/progress.h"
#include "zdbs/answers/sizes.h"
#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/engine/registry.h"
#include "zdbs/load/input.h"

namespace zdbs::admin {

namespace {

namespace fs = std::filesystem;

/** Packs bytes as one frame of zstd, with its checksum. */
class ZstdPacker {
public:
    explicit ZstdPacker(ByteConsumer consumer)
        : consumer_(std::move(consumer)),
          context_(::ZSTD_createCCtx()),
          out_(::ZSTD_CStreamOutSize()) {
        if (!context_) throw std::bad_alloc();
        ::ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_checksumFlag, 1);
    }

    void write(std::string_view bytes) { pack(bytes, ZSTD_e_continue); }
    void finish() { pack({}, ZSTD_e_end); }

private:
    struct Free {
        void operator()(ZSTD_CCtx *context) const { ::ZSTD_freeCCtx(context); }
    };

    void pack(std::string_view bytes, ZSTD_EndDirective directive) {
        ZSTD_inBuffer in{bytes.data(), bytes.size(), 0};
        for (std::size_t left = 1; left > 0;) {
            ZSTD_outBuffer out{out_.data(), out_.size(), 0};
            left = ::ZSTD_compressStream2(context_.get(), &out, &in, directive);
            // Of what it is given and how it is asked nothing is wrong.
            if (::ZSTD_isError(left)) throw std::bad_alloc();
            consumer_({out_.data(), out.pos});
            if (directive == ZSTD_e_continue) left = in.size - in.pos;
        }
    }

    ByteConsumer consumer_;
    std::unique_ptr<ZSTD_CCtx, Free> context_;
    std::vector<char> out_;
};

std::uint64_t diskBytes(const Administration &home, std::vector<std::string> databases) {
    if (databases.empty()) databases = home.databases();
    std::uint64_t bytes = 0;
    for (const std::string &database : databases)
        bytes += home.summary(database).diskBytes;
    return bytes;
}

void writeBackup(const Administration &home, const BackupRequest &request,
                 const ByteConsumer &consumer) {
    Progress progress(diskBytes(home, request.databases));
    std::uint64_t done = 0;
    ZstdPacker packer(consumer);
    home.backUp(request.databases, [&](std::string_view bytes) {
        packer.write(bytes);
        progress.update(done += bytes.size());
    });
    packer.finish();
}

/** The answer of a command that Ctrl-C may end. */
bool endedBy(const char *interruption, const std::function<void()> &work) {
    const Interruption interruptible;
    try {
        work();
    } catch (const Failure &failure) {
        if (failure.status() == Status::stopped) throw Interrupted(interruption);
        throw;
    }
    return true;
}

}  // namespace

bool backUp(const HomeChoice &home, const BackupRequest &request) {
    return endedBy("Interrupted. There is no backup.", [&] {
        const auto opened = home.open();
        if (request.output == "-") return writeBackup(*opened, request, writeOutput);
        const fs::path path = request.output;
        OutputFile file(path.parent_path(), path.filename(), OutputFile::Kind::lasting);
        writeBackup(*opened, request, [&](std::string_view bytes) { file.write(bytes); });
        file.finish();
    });
}

bool restore(const HomeChoice &home, const std::string &file) {
    return endedBy("Interrupted. Nothing was restored.", [&] {
        const std::string location = home.location();
        const auto input = file == "-" ? openStandardInput() : openFile(file);
        std::error_code ignored;
        const std::uintmax_t size = file == "-" ? 0 : fs::file_size(file, ignored);
        Progress progress(ignored ? 0 : size);
        restoreLocation(location, [&](std::span<char> buffer) {
            progress.update(input->consumed());
            return input->read(buffer);
        });
        progress.clear();
        writeOutput("The home is in " + location + ".\n");
    });
}

}  // namespace zdbs::admin
