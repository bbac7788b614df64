// Segments: columns with any bytes and checksums that fit do no harm to who opens, checks, reads,
// asks or writes.
#include <string>

#include "fuzz/fuzzing.h"
#include "tests/zdbs/embedded/check/damaged_use.h"
#include "zdbs/embedded/check/check.h"

namespace {

using namespace zdbs::embedded;

constexpr std::size_t fewItems = 12;

/** The uses that leave the database as it is; damage that is told is an answer, too. */
void use(const DamagedDatabase &database) {
    attempt([&] { checkDatabase(database.path()); });
    attempt([&] { readAll(database); });
    attempt([&] { query(database); });
}

}  // namespace

void fuzz(fuzzing::Bytes input) {
    static const DamagedDatabase database(fewItems);
    support::Choices choices(input);
    const std::size_t index = choices() % database.segmentCount();
    SegmentImage whole(database.segmentFile(index));
    database.change(index, [&](SegmentImage &image) { scramble(image, choices); });
    use(database);
    database.change(index, [&](SegmentImage &image) { image = whole; });
}
