#include "tests/support/temporary_directory.h"
#include "tests/zdbs/embedded/check/damage_list.h"

namespace zdbs::embedded {

namespace fs = std::filesystem;

namespace {

void cut(const fs::path &file, std::uintmax_t bytes) {
    fs::resize_file(file, bytes);
}

/** A place in a part of a segment. */
std::size_t commonOffset(const fs::path &file) {
    const SegmentImage image(file);
    return sizeof(SegmentHeader) + image.stretches.size() * sizeof(SegmentStretch) +
           image.directory.size() * sizeof(SegmentPath) +
           image.header.blockCount * sizeof(std::uint32_t);
}

std::size_t indexOffset(const fs::path &file) {
    const SegmentImage image(file);
    return commonOffset(file) + image.pathOfNode.size() + image.declarationElements.size() +
           image.declarationNames.size();
}

std::size_t columnsOffset(const fs::path &file) {
    const SegmentImage image(file);
    return indexOffset(file) + image.valuePaths.size() + image.words.size();
}

}  // namespace

std::vector<Damage> fileDamages() {
    using Db = const DamagedDatabase &;
    const auto first = [](Db db) { return db.segmentFile(0); };
    const auto data = [](Db db) { return db.path() / "data.mdb"; };
    return {
        {"SegmentIsMissing", [=](Db db) { fs::remove(first(db)); },
         "segments/00000001.seg: file: it is missing"},
        {"SegmentIsAFolder",
         [=](Db db) {
             const fs::path file = first(db);
             fs::remove(file);
             fs::create_directory(file);
         },
         "segments/00000001.seg: file: "},
        {"SegmentLacksAByte", [=](Db db) { cut(first(db), fs::file_size(first(db)) - 1); },
         "segments/00000001.seg: file: "},
        {"SegmentHasAByteMore",
         [=](Db db) {
             DamagedDatabase::write(first(db), support::readFile(first(db).native()) + "x");
         },
         "segments/00000001.seg: file: "},
        {"SegmentIsCutInTheHeader", [=](Db db) { cut(first(db), 20); },
         "segments/00000001.seg: file: "},
        {"SegmentIsEmpty", [=](Db db) { cut(first(db), 0); }, "segments/00000001.seg: file: "},
        {"SegmentsAreSwapped",
         [=](Db db) {
             const fs::path kept = db.path() / "kept";
             const fs::path second = db.segmentFile(1);
             fs::rename(first(db), kept);
             fs::rename(second, db.segmentFile(0));
             fs::rename(kept, second);
         },
         "segments/00000001.seg: header: first node"},
        {"ByteOfTheMark", [=](Db db) { DamagedDatabase::spoil(first(db), 1); },
         "segments/00000001.seg: file: "},
        {"ByteOfTheVersion", [=](Db db) { DamagedDatabase::spoil(first(db), 8); },
         "segments/00000001.seg: file: "},
        {"ByteOfTheFrontChecksum", [=](Db db) { DamagedDatabase::spoil(first(db), 12); },
         "segments/00000001.seg: file: "},
        {"ByteOfTheHeader", [=](Db db) { DamagedDatabase::spoil(first(db), 32); },
         "segments/00000001.seg: file: "},
        {"ByteOfTheStretches",
         [=](Db db) { DamagedDatabase::spoil(first(db), sizeof(SegmentHeader)); },
         "segments/00000001.seg: file: "},
        {"ByteOfTheDirectory",
         [=](Db db) { DamagedDatabase::spoil(first(db), commonOffset(first(db)) - 1); },
         "segments/00000001.seg: file: "},
        {"ByteOfThePathsOfNodes",
         [=](Db db) { DamagedDatabase::spoil(first(db), indexOffset(first(db)) - 200); },
         "segments/00000001.seg: checksum of block 0: "},
        {"ByteOfTheIndexOfValues",
         [=](Db db) { DamagedDatabase::spoil(first(db), columnsOffset(first(db)) - 100); },
         "segments/00000001.seg: checksum of block 0: "},
        {"FirstByteOfTheColumns",
         [=](Db db) { DamagedDatabase::spoil(first(db), columnsOffset(first(db))); },
         "segments/00000001.seg: checksum of block 0: "},
        {"ByteOfTheValues",
         [=](Db db) { DamagedDatabase::spoil(first(db), fs::file_size(first(db)) - 2000); },
         "segments/00000001.seg: checksum of block "},
        {"LastByte",
         [=](Db db) { DamagedDatabase::spoil(first(db), fs::file_size(first(db)) - 1); },
         "segments/00000001.seg: checksum of block "},
        {"CatalogueIsCut", [=](Db db) { cut(data(db), 3 * 4096); }, "data.mdb: pages: "},
        {"CatalogueIsEmpty", [=](Db db) { cut(data(db), 0); }, "data.mdb: pages: "},
        {"CatalogueIsText",
         [=](Db db) { DamagedDatabase::write(data(db), std::string(40000, 'x')); },
         "data.mdb: pages: meta page 0"},
        {"MetaPage", [=](Db db) { DamagedDatabase::spoil(data(db), 4096 + 16); },
         "data.mdb: pages: meta page 1"},
        {"NumbersOfAllPages",
         [=](Db db) {
             for (std::size_t page = 2; page < fs::file_size(data(db)) / 4096; ++page)
                 DamagedDatabase::spoil(data(db), page * 4096);
         },
         "data.mdb: pages: "},
        {"OffsetsOfAllPages",
         [=](Db db) {
             for (std::size_t page = 2; page < fs::file_size(data(db)) / 4096; ++page)
                 DamagedDatabase::spoil(data(db), page * 4096 + 17);
         },
         "data.mdb: pages: "},
    };
}

}  // namespace zdbs::embedded
