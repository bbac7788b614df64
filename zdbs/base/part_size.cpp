#include "zdbs/base/part_size.h"

#include <charconv>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "zdbs/base/status.h"

namespace zdbs {
namespace {

constexpr const char *partVariable = "ZDBS_PART_NODES";
constexpr std::uint32_t mostOfPart = std::numeric_limits<std::int32_t>::max();

}  // namespace

std::uint32_t nodesOfPart(std::uint32_t otherwise) {
    const char *setting = std::getenv(partVariable);
    if (setting == nullptr) return otherwise;
    const std::string_view text(setting);
    std::uint32_t nodes = 0;
    const auto read = std::from_chars(text.begin(), text.end(), nodes);
    if (read.ec != std::errc() || read.ptr != text.end() || nodes == 0 || nodes > mostOfPart)
        throw Failure(Status::badSetting, {partVariable, text});
    return nodes;
}

}  // namespace zdbs
