#include "tests/exhaustive/share.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>

#include "tests/zdbs/embedded/joins/naive_axes.h"

namespace exhaustive {

namespace {

#if defined(NDEBUG)
constexpr int fewerNodes = 0;
#else
constexpr int fewerNodes = 1;
#endif

/** A database on disk takes some milliseconds to make, which memory does not. */
std::size_t mannersFor(const Share &share, std::size_t keepings) {
    if (share.nodes > 4) return 1;
    const auto smaller = static_cast<unsigned>(4 - share.nodes);
    if (share.way == Way::stored) return std::size_t{1} << smaller;
    return keepings << (2 * smaller);
}

}  // namespace

int largestForest(int usual) {
    const char *wanted = std::getenv("VEXA_EXHAUSTIVE_NODES");
    if (wanted != nullptr) return std::clamp(std::atoi(wanted), 1, 8);
    return usual - fewerNodes;
}

std::vector<Share> sharesOf(Way way, int largest, std::size_t parts) {
    std::vector<Share> shares;
    for (int nodes = 1; nodes < largest; ++nodes)
        shares.push_back({way, nodes, 0, 1});
    for (std::size_t part = 0; part < parts; ++part)
        shares.push_back({way, largest, part, parts});
    return shares;
}

std::string nameOf(const ::testing::TestParamInfo<Share> &share) {
    const Share &of = share.param;
    std::string name = std::to_string(of.nodes) + "Nodes";
    if (of.of > 1) name += "Part" + std::to_string(of.part + 1) + "Of" + std::to_string(of.of);
    return name;
}

void PrintTo(const Share &share, std::ostream *out) {
    *out << nameOf(share.way) << ", " << share.nodes << " nodes, part " << share.part + 1 << " of "
         << share.of;
}

void forEachForest(const Share &share, std::size_t keepings,
                   const std::function<void(const KeptForest &)> &visit) {
    const auto forests = zdbs::testing::forestsOf(share.nodes);
    const std::vector<Keeping> &all = everyKeeping();
    const std::size_t count = std::min(all.size(), mannersFor(share, keepings));
    for (std::size_t place = share.part; place < forests.size(); place += share.of) {
        if (share.way == Way::byNode) {
            visit(KeptForest(forests[place]));
            continue;
        }
        // A step that has no divisor in common with the number of manners comes to all of them.
        for (std::size_t i = place * count; i < (place + 1) * count; ++i)
            visit(KeptForest(forests[place], all[i * 37 % all.size()], share.way));
    }
}

}  // namespace exhaustive
