/** A segment taken apart, to be put together again with good checksums and something wrong. */
#ifndef TESTS_ZDBS_EMBEDDED_CHECK_SEGMENT_IMAGE_H
#define TESTS_ZDBS_EMBEDDED_CHECK_SEGMENT_IMAGE_H

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "zdbs/embedded/columns/packed_column.h"
#include "zdbs/embedded/store/segment.h"

namespace zdbs::embedded {

struct SegmentImage {
    explicit SegmentImage(const std::filesystem::path &file);

    /** The bytes of a file with these parts; sizes and checksums are made to fit. */
    std::string bytes();

    std::string &column(std::uint32_t local, SegmentColumn which) {
        return columns[local][static_cast<std::size_t>(which)];
    }

    SegmentHeader header{};
    std::vector<SegmentStretch> stretches;
    std::vector<SegmentPath> directory;
    std::string pathOfNode;
    std::string declarationElements;
    std::string declarationNames;
    std::string valuePaths;
    std::string words;
    std::vector<std::array<std::string, segmentColumnCount>> columns;
};

std::vector<std::uint32_t> unpacked(const std::string &column);
std::string packed(const std::vector<std::uint32_t> &numbers);

/** Changes the numbers of a packed column. */
void edit(std::string &column, const std::function<void(std::vector<std::uint32_t> &)> &change);

/** The parts of a column of values of the plain or the dictionary encoding. */
struct ValueParts {
    explicit ValueParts(const std::string &column);
    std::string bytes() const;

    std::string head;  ///< in front of the sizes
    std::array<std::string, 5> parts;
};

}  // namespace zdbs::embedded

#endif
