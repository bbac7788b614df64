/** Where XML comes from: files, standard input, memory; compressed or not. */
#ifndef ZDBS_LOAD_INPUT_H
#define ZDBS_LOAD_INPUT_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace zdbs {

/** A stream of bytes, read once from front to end. One thread. */
class Input {
public:
    virtual ~Input() = default;

    /**
     * Fills `buffer` from the front; fewer bytes than asked for are no sign of the
     * end, 0 is. Throws Failure: fileUnreadable, compressedDamaged, stopped.
     */
    virtual std::size_t read(std::span<char> buffer) = 0;

    /** Bytes taken from the disk so far (compressed ones); what progress is measured by. */
    virtual std::uint64_t consumed() const = 0;
};

/** A file, unpacked when its content is packed: by gzip, zstd, bzip2, xz, lzip
 * or lz4. Throws Failure: fileUnreadable. */
std::unique_ptr<Input> openFile(const std::filesystem::path &path);

/** Standard input, unpacked likewise. */
std::unique_ptr<Input> openStandardInput();

/** Text in memory, never unpacked; `text` must outlive the input. */
std::unique_ptr<Input> openText(std::string_view text);

}  // namespace zdbs

#endif
