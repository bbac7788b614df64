#include <cstdint>
#include <memory>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/progress.h"
#include "zdbs/admin/sizes.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::admin {

bool compact(const HomeChoice &home, const std::string &database) {
    const auto writer = home.open()->write(database, [&] { tellWaiting(database); });
    std::unique_ptr<Progress> progress;
    const Writer::Compaction sizes = writer->compact([&](std::uint64_t done, std::uint64_t total) {
        if (!progress) progress = std::make_unique<Progress>(total);
        progress->update(done);
    });
    progress.reset();
    writeOutput(sizeText(sizes.before) + " before, " + sizeText(sizes.after) + " after\n");
    return true;
}

}  // namespace zdbs::admin
