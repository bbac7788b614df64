#include <cstdint>
#include <memory>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/progress.h"
#include "zdbs/answers/sizes.h"

namespace zdbs::admin {

bool compact(const HomeChoice &home, const std::string &database) {
    std::unique_ptr<Progress> progress;
    const auto report = [&](std::uint64_t done, std::uint64_t total) {
        if (!progress) progress = std::make_unique<Progress>(total);
        progress->update(done);
    };
    const Compaction sizes = home.open()->compact(
        database, [&] { tellWaiting(database); }, report);
    progress.reset();
    writeOutput(sizeText(sizes.before) + " before, " + sizeText(sizes.after) + " after\n");
    return true;
}

}  // namespace zdbs::admin
