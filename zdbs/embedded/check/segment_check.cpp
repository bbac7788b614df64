#include "zdbs/embedded/check/segment_check.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <utility>

#include "zdbs/base/document_name.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/column_words.h"
#include "zdbs/embedded/columns/word_index.h"

namespace zdbs::embedded {

namespace {

constexpr std::array<const char *, segmentColumnCount> columnNames = {
    "nodes", "parents", "below", "names", "parentDistances", "values"};

constexpr const char *indexOfValues = "index of values";
constexpr const char *indexOfWords = "index of words";

std::vector<ValueKey> keysOf(const ValueColumn &values) {
    std::vector<ValueKey> keys;
    keys.reserve(values.size());
    for (std::uint32_t row = 0; row < values.size(); ++row)
        keys.push_back(valueKeyOf(values.at(row)));
    return keys;
}

std::optional<ColumnWords> wordsIn(const ValueColumn &values) {
    std::string bytes;
    std::vector<std::uint32_t> ends;
    for (std::uint32_t row = 0; row < values.size(); ++row) {
        bytes.append(values.at(row));
        ends.push_back(static_cast<std::uint32_t>(bytes.size()));
    }
    return wordsOf({bytes, ends});
}

}  // namespace

CheckedSegment SegmentCheck::run(const StoredSegment &stored, std::shared_ptr<const Segment> file) {
    segment_ = {};
    segment_.file = std::move(file);
    const std::filesystem::path &path = segment_.file->file();
    segment_.place = (path.parent_path().filename() / path.filename()).native();
    segment_.runs.resize(segment_.file->directory().size());
    compareWithRecord(stored);
    checkBlocks();
    segment_.hasNodes = segment_.file->isSound(segment_.file->commonBytes());
    if (segment_.hasNodes) {
        checkCommon();
        checkDeclarations();
    }
    for (std::uint32_t local = 0; local < segment_.runs.size(); ++local) {
        if (isPathSound(local)) checkPath(local);
    }
    if (segment_.file->isSound(segment_.file->valuePathsBytes())) checkValuePaths();
    if (segment_.file->isSound(segment_.file->wordsBytes())) checkWords();
    return std::move(segment_);
}

void SegmentCheck::compareWithRecord(const StoredSegment &stored) {
    const SegmentHeader &header = segment_.file->header();
    const auto compare = [&](const char *what, std::uint64_t inFile, std::uint64_t inTable) {
        if (inFile != inTable)
            tell("header",
                 std::string(what) + " " + differs(inFile, inTable) + " in the table segments");
    };
    compare("first node", header.firstNode, nodeOf(stored.first));
    compare("last node", header.lastNode, stored.record.last);
    compare("number of nodes", header.nodeCount, stored.record.nodes);
    compare("length", header.fileBytes, stored.record.bytes);
    compare("checksum", header.frontChecksum, stored.record.checksum);
}

// What is in a block that is not sound is left out afterwards.
void SegmentCheck::checkBlocks() {
    for (std::uint32_t number = 0; number < segment_.file->blockCount(); ++number) {
        const SegmentPart block = segment_.file->block(number);
        if (!segment_.file->isSound(block.bytes))
            tell("checksum of " + block.name,
                 "the bytes from " + std::to_string(block.offset) + ": " + partsIn(block));
        report_(block.bytes.size());
    }
}

/** "common", "path 3 to path 17" */
std::string SegmentCheck::partsIn(const SegmentPart &block) const {
    std::string first;
    std::string last;
    for (const SegmentPart &part : segment_.file->parts()) {
        const bool isIn = part.offset < block.offset + block.bytes.size() &&
                          block.offset < part.offset + part.bytes.size();
        if (!isIn) continue;
        if (first.empty()) first = part.name;
        last = part.name;
    }
    return first == last ? first : first + " to " + last;
}

bool SegmentCheck::isPathSound(std::uint32_t local) const {
    for (std::size_t column = 0; column < segmentColumnCount; ++column) {
        const auto which = static_cast<SegmentColumn>(column);
        if (!segment_.file->isSound(segment_.file->columnBytes(local, which))) return false;
    }
    return true;
}

void SegmentCheck::checkCommon() {
    const SegmentHeader &header = segment_.file->header();
    std::string_view common = segment_.file->commonBytes();
    const auto take = [&](std::uint32_t size, const char *name) {
        const std::string_view bytes = common.substr(0, size);
        common.remove_prefix(bytes.size());
        if (!bytes.empty() && !PackedColumn::isSound(bytes)) tell(name, "the frames of the column");
    };
    take(header.pathOfNodeBytes, "paths of nodes");
    take(header.declarationElementsBytes, "namespace declarations");
    take(header.declarationNamesBytes, "namespace declarations");
}

// That their elements are elements, the tree tells.
void SegmentCheck::checkDeclarations() {
    const PackedColumn &elements = segment_.file->declarationElements();
    const PackedColumn &names = segment_.file->declarationNames();
    std::uint32_t before = 0;
    for (std::uint32_t i = 0; i < elements.size(); ++i) {
        const std::uint32_t element = elements.at(i);
        if (element < before) tell("namespace declarations", "the order of " + std::to_string(i));
        before = element;
        const std::uint32_t name = names.at(i);
        const bool isKnown = name < tables_.names.size() && tables_.names[name];
        if (!isKnown || !tables_.names[name]->local.empty())
            tell("namespace declarations",
                 "number " + std::to_string(i) + " has the name " + std::to_string(name));
    }
}

void SegmentCheck::checkPath(std::uint32_t local) {
    const PathId id = segment_.file->directory()[local].path;
    if (id >= tables_.paths.size() || !tables_.paths[id])
        return tell("directory", "path " + std::to_string(id) + " is not in the table paths");
    const std::string path = tables_.pathText(id);
    for (std::size_t column = 0; column + 1 < segmentColumnCount; ++column)
        checkNumbers(local, static_cast<SegmentColumn>(column),
                     std::string(columnNames[column]) + " of " + path);
    try {
        segment_.runs[local] = segment_.file->run(local, *tables_.paths[id]);
    } catch (const Failure &failure) {
        return tell("columns of " + path, failure.what());
    }
    const PathRun &run = *segment_.runs[local];
    checkNames(run, path);
    checkValues(run, path);
    std::uint64_t bytes = 0;
    for (const std::uint32_t size : segment_.file->directory()[local].sizes)
        bytes += size;
    report_(bytes);
}

void SegmentCheck::checkNumbers(std::uint32_t local, SegmentColumn column,
                                const std::string &name) {
    const std::string_view bytes = segment_.file->columnBytes(local, column);
    if (!bytes.empty() && !PackedColumn::isSound(bytes)) tell(name, "the frames of the column");
}

void SegmentCheck::checkNames(const PathRun &run, const std::string &path) {
    for (std::uint32_t row = 0; row < run.names.size(); ++row) {
        const std::uint32_t name = run.names.at(row);
        const bool isKnown = name < tables_.names.size() && tables_.names[name];
        if (!isKnown || tables_.names[name]->local.empty())
            tell("names of " + path,
                 "row " + std::to_string(row) + " has the name " + std::to_string(name));
    }
}

void SegmentCheck::checkValues(const PathRun &run, const std::string &path) {
    const std::string structure = "values of " + path;
    for (std::string &fault : run.values.check())
        tell(structure, std::move(fault));
    for (std::uint32_t row = 0; row < run.values.size(); ++row) {
        if (!isXmlText(run.values.at(row)))
            tell(structure, "row " + std::to_string(row) + " is no UTF-8");
    }
}

// Written anew from the columns, in the same shape, it must come out the same.
void SegmentCheck::checkValuePaths() {
    std::vector<std::vector<ValueKey>> keys;
    std::vector<PathKeys> paths;
    for (const auto &run : segment_.runs) {
        if (!run) return;  // a finding already
        const auto local = static_cast<std::uint32_t>(keys.size());
        keys.push_back(keysOf(run->values));
        if (!keys.back().empty()) paths.push_back({local, keys.back()});
    }
    const std::string_view stored = segment_.file->valuePathsBytes();
    if (paths.empty() || stored.empty()) {
        if (!paths.empty()) tell(indexOfValues, "it is missing");
        if (!stored.empty()) tell(indexOfValues, "there are no values");
        return;
    }
    const ValuePaths::Shape shape = segment_.file->valuePaths().shape();
    if (std::uint64_t{paths.back().path} >> shape.pathBits != 0)
        return tell(indexOfValues, "the numbers of paths are cut off");
    std::string expected;
    packValuePaths(paths, shape, expected);
    if (stored != expected) compareEntries(expected);
}

// The same.
void SegmentCheck::checkWords() {
    std::vector<std::optional<ColumnWords>> words;
    for (const auto &run : segment_.runs) {
        if (!run) return;  // a finding already
        const bool hasWords = run->values.size() > 0 && run->values.hasWords();
        words.push_back(hasWords ? wordsIn(run->values) : std::nullopt);
        if (hasWords && !words.back())
            tell(indexOfWords, "path " + std::to_string(words.size() - 1) + " is not to be in it");
    }
    std::vector<WordIndex::Column> columns;
    for (std::uint32_t local = 0; local < words.size(); ++local)
        if (words[local]) columns.push_back({local, &*words[local]});
    std::string expected;
    packWords(columns, expected);
    const std::string_view stored = segment_.file->wordsBytes();
    const auto [right, differing] =
        std::mismatch(expected.begin(), expected.end(), stored.begin(), stored.end());
    if (right == expected.end() && differing == stored.end()) return;
    tell(indexOfWords, "it is not that of the values, from byte " +
                           std::to_string(differing - stored.begin()) + " on");
}

void SegmentCheck::compareEntries(std::string_view expected) {
    std::vector<ValuePaths::Entry> right = ValuePaths(expected).entries();
    std::vector<ValuePaths::Entry> stored = segment_.file->valuePaths().entries();
    if (right == stored) return tell(indexOfValues, "the packing");
    std::sort(stored.begin(), stored.end());
    std::vector<ValuePaths::Entry> differing;
    std::set_difference(right.begin(), right.end(), stored.begin(), stored.end(),
                        std::back_inserter(differing));
    for (const ValuePaths::Entry &entry : differing)
        tellEntry(entry, "is missing");
    differing.clear();
    std::set_difference(stored.begin(), stored.end(), right.begin(), right.end(),
                        std::back_inserter(differing));
    for (const ValuePaths::Entry &entry : differing)
        tellEntry(entry, "is of no value, or not in its place");
    if (right == stored) tell(indexOfValues, "the order of entries");
}

void SegmentCheck::tellEntry(const ValuePaths::Entry &entry, const char *what) {
    const auto &directory = segment_.file->directory();
    const std::string path = entry.path < directory.size()
                                 ? tables_.pathText(directory[entry.path].path)
                                 : "path " + std::to_string(entry.path);
    tell(indexOfValues,
         "in bucket " + std::to_string(entry.bucket) + " an entry of " + path + " " + what);
}

}  // namespace zdbs::embedded
