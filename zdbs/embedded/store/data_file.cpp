#include "zdbs/embedded/store/data_file.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/store/data_pages.h"

namespace zdbs::embedded {

namespace {

using namespace lmdb;

constexpr std::size_t metaOffset = sizeof(PageHeader);
constexpr std::uint32_t smallestPage = 512;
constexpr std::uint32_t largestPage = 65536;
constexpr std::uint16_t greatestDepth = 32;  // LMDB's own limit

/** The newest meta page of the file, or what is wrong with both of them. */
struct Start {
    std::optional<Meta> meta;
    std::uint32_t pageSize = 0;
    std::string fault;
};

std::string faultOf(std::string_view page, PageNumber number) {
    const auto header = readAt<PageHeader>(page, 0);
    const auto meta = readAt<Meta>(page, metaOffset);
    const std::string name = "meta page " + std::to_string(number);
    if (header.number != number || (header.flags & metaPage) == 0) return name + " is none";
    if (meta.magic != metaMagic) return name + ": the mark of the format";
    if (meta.version != dataVersion) return name + ": the version of the format";
    const std::uint32_t size = meta.free.pad;
    const bool isPower = (size & (size - 1)) == 0;
    if (size < smallestPage || size > largestPage || !isPower) return name + ": the size of pages";
    return {};
}

Start startOf(std::string_view file) {
    if (file.size() < 2 * std::size_t{smallestPage}) return {{}, 0, "the file is too short"};
    Start start;
    start.fault = faultOf(file, 0);
    if (!start.fault.empty()) return start;
    const auto first = readAt<Meta>(file, metaOffset);
    start.pageSize = first.free.pad;
    if (file.size() < 2 * std::size_t{start.pageSize}) {
        start.fault = "the file is too short";
        return start;
    }
    const auto second = readAt<Meta>(file, start.pageSize + metaOffset);
    start.fault = faultOf(file.substr(start.pageSize), 1);
    if (start.fault.empty() && second.free.pad != first.free.pad)
        start.fault = "the meta pages differ in the size of pages";
    if (start.fault.empty()) start.meta = first.transaction < second.transaction ? second : first;
    return start;
}

/** What is between two keys of the page above; none at the edges. */
struct KeyRange {
    std::optional<std::string_view> first;
    std::optional<std::string_view> behind;
};

struct Node {
    std::string_view key;
    PageNumber child = 0;     ///< of branches
    std::uint64_t size = 0;   ///< of the record
    std::string_view record;  ///< unless it is on overflow pages
    std::uint16_t flags = 0;
};

/** Follows the pages of one state. */
class Walk {
public:
    Walk(std::string_view file, const Start &start, std::size_t most)
        : file_(file),
          meta_(*start.meta),
          pageSize_(start.pageSize),
          seen_(file.size() / start.pageSize, false),
          most_(most) {}

    std::vector<std::string> run() {
        if (meta_.lastPage < 1) tell("meta page", "the number of the last page");
        check(meta_.free, "the list of free pages");
        if ((meta_.free.flags & integerKeys) == 0) tell("the list of free pages", "the flags");
        check(meta_.main, "the list of tables");
        for (const auto &[name, tree] : tables_)
            check(tree, "table " + name);
        for (const PageNumber page : freePages_)
            checkFree(page);
        return std::move(findings_);
    }

    std::uint64_t pages() const { return pages_; }

private:
    struct Place {
        PageNumber page;
        std::uint16_t level;  ///< of a tree: 1 are its leaves
        KeyRange range;
    };

    struct Counts {
        std::uint64_t branches = 0;
        std::uint64_t leaves = 0;
        std::uint64_t overflows = 0;
        std::uint64_t entries = 0;
    };

    void tell(std::string_view where, std::string_view what) {
        if (findings_.size() < most_)
            findings_.push_back(std::string(where) + ": " + std::string(what));
    }

    void tell(PageNumber page, std::string_view what) {
        tell(tree_ + ", page " + std::to_string(page), what);
    }

    void check(const Tree &tree, std::string name) {
        tree_ = std::move(name);
        isListOfTables_ = &tree == &meta_.main;
        isListOfFreePages_ = &tree == &meta_.free;
        counts_ = {};
        if (!isListOfFreePages_ && tree.flags != 0) return tell(tree_, "the flags");
        if (tree.depth > greatestDepth || (tree.root == noPage) != (tree.depth == 0))
            return tell(tree_, "the depth");
        if (tree.root != noPage) {
            places_.push_back({tree.root, tree.depth, {}});
            follow();
        }
        compare(tree);
    }

    void compare(const Tree &tree) {
        if (counts_.branches != tree.branchPages || counts_.leaves != tree.leafPages ||
            counts_.overflows != tree.overflowPages)
            tell(tree_, "the number of pages");
        if (counts_.entries != tree.entries) tell(tree_, "the number of records");
    }

    void follow() {
        while (!places_.empty()) {
            const Place place = places_.back();
            places_.pop_back();
            if (take(place.page, 1)) checkPage(place);
        }
    }

    /** Are these pages in the file and in no other place? Marks them. */
    bool take(PageNumber first, std::uint64_t count) {
        const bool isInside = first >= 2 && first < seen_.size() && first <= meta_.lastPage &&
                              count <= seen_.size() - first && count <= meta_.lastPage - first + 1;
        if (!isInside) {
            tell(first, "it is not in the file");
            return false;
        }
        for (PageNumber page = first; page < first + count; ++page) {
            if (seen_[page]) {
                tell(page, "it is in use twice");
                return false;
            }
            seen_[page] = true;
        }
        pages_ += count;
        return true;
    }

    std::string_view bytesOf(PageNumber page) const {
        return file_.substr(page * pageSize_, pageSize_);
    }

    void checkPage(const Place &place) {
        const std::string_view bytes = bytesOf(place.page);
        const auto header = readAt<PageHeader>(bytes, 0);
        const std::uint16_t kind = place.level == 1 ? leafPage : branchPage;
        if (header.number != place.page) return tell(place.page, "the number in its header");
        if (header.flags != kind) return tell(place.page, "the kind of page");
        if (header.lower < sizeof header || header.lower > header.upper ||
            header.upper > pageSize_ || header.lower % 2 != 0)
            return tell(place.page, "the offsets of nodes");
        const std::size_t count = (header.lower - sizeof header) / 2;
        if (count < (kind == branchPage ? 2 : 1)) return tell(place.page, "the number of nodes");
        ++(kind == branchPage ? counts_.branches : counts_.leaves);
        checkNodes(place, header, count);
    }

    void checkNodes(const Place &place, const PageHeader &header, std::size_t count) {
        std::vector<Node> nodes;
        std::size_t used = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const auto node = nodeAt(place, header, i, used);
            if (!node) return tell(place.page, "node " + std::to_string(i));
            nodes.push_back(*node);
        }
        if (used != pageSize_ - header.upper) return tell(place.page, "the room of nodes");
        if (!checkKeys(place, nodes)) return tell(place.page, "the order of keys");
        for (std::size_t i = 0; i < count; ++i) {
            if (place.level == 1)
                checkRecord(place.page, nodes[i]);
            else
                places_.push_back({nodes[i].child, static_cast<std::uint16_t>(place.level - 1),
                                   rangeOf(place, nodes, i)});
        }
    }

    std::optional<Node> nodeAt(const Place &place, const PageHeader &header, std::size_t index,
                               std::size_t &used) const {
        const std::string_view bytes = bytesOf(place.page);
        const auto offset = readAt<std::uint16_t>(bytes, sizeof header + 2 * index);
        if (offset < header.upper || offset % 2 != 0 || offset + sizeof(NodeHeader) > pageSize_)
            return std::nullopt;
        const auto node = readAt<NodeHeader>(bytes, offset);
        const std::size_t keyBegin = offset + sizeof node;
        if (keyBegin + node.keySize > pageSize_) return std::nullopt;
        Node result{bytes.substr(keyBegin, node.keySize), 0, 0, {}, node.flags};
        const std::uint64_t number = node.low | std::uint64_t{node.high} << 16;
        std::size_t recordSize = 0;
        if (place.level == 1) {
            result.size = number;
            recordSize = (node.flags & bigData) != 0 ? sizeof(PageNumber) : number;
            if (recordSize > pageSize_ - keyBegin - node.keySize) return std::nullopt;
            result.record = bytes.substr(keyBegin + node.keySize, recordSize);
        } else {
            result.child = number | std::uint64_t{node.flags} << 32;
        }
        used += (sizeof node + node.keySize + recordSize + 1) & ~std::size_t{1};
        return result;
    }

    // The list of free pages has integers of this machine for keys.
    bool isLess(std::string_view a, std::string_view b) const {
        if (!isListOfFreePages_) return a < b;
        if (a.size() != sizeof(std::uint64_t) || b.size() != sizeof(std::uint64_t)) return false;
        return readAt<std::uint64_t>(a, 0) < readAt<std::uint64_t>(b, 0);
    }

    // The first key of a branch counts as less than every other one, whatever it is.
    bool checkKeys(const Place &place, const std::vector<Node> &nodes) const {
        const std::size_t first = place.level == 1 ? 0 : 1;
        for (std::size_t i = first; i < nodes.size(); ++i) {
            const std::string_view key = nodes[i].key;
            if (key.empty()) return false;
            if (isListOfFreePages_ && key.size() != sizeof(std::uint64_t)) return false;
            if (i > first && !isLess(nodes[i - 1].key, key)) return false;
            if (place.range.first && isLess(key, *place.range.first)) return false;
            if (place.range.behind && !isLess(key, *place.range.behind)) return false;
        }
        return true;
    }

    static KeyRange rangeOf(const Place &place, const std::vector<Node> &nodes, std::size_t i) {
        KeyRange range = place.range;
        if (i > 0) range.first = nodes[i].key;
        if (i + 1 < nodes.size()) range.behind = nodes[i + 1].key;
        return range;
    }

    void checkRecord(PageNumber page, const Node &node) {
        ++counts_.entries;
        if (node.flags != 0 && node.flags != bigData && node.flags != subTree)
            return tell(page, "the kind of a record");
        if ((node.flags == subTree) != isListOfTables_) return tell(page, "the kind of a record");
        if (isListOfTables_ && node.size != sizeof(Tree)) return tell(page, "a table");
        if (isListOfTables_)
            tables_.emplace_back(std::string(node.key), readAt<Tree>(node.record, 0));
        const auto record = node.flags == bigData ? overflowRecord(node) : node.record;
        if (isListOfFreePages_ && record) readFreePages(page, *record);
    }

    std::optional<std::string_view> overflowRecord(const Node &node) {
        const auto first = readAt<PageNumber>(node.record, 0);
        const std::uint64_t count = (sizeof(PageHeader) + node.size + pageSize_ - 1) / pageSize_;
        if (!take(first, count)) return std::nullopt;
        counts_.overflows += count;
        const auto header = readAt<PageHeader>(bytesOf(first), 0);
        const std::uint64_t stored = header.lower | std::uint64_t{header.upper} << 16;
        if (header.number != first || header.flags != overflowPage || stored != count) {
            tell(first, "the header of an overflow page");
            return std::nullopt;
        }
        return file_.substr(first * pageSize_ + sizeof header, node.size);
    }

    void readFreePages(PageNumber page, std::string_view record) {
        constexpr std::size_t width = sizeof(PageNumber);
        const std::uint64_t count = record.size() < width ? 0 : readAt<PageNumber>(record, 0);
        if (record.size() % width != 0 || record.size() < width ||
            count > record.size() / width - 1)
            return tell(page, "a list of free pages");
        for (std::uint64_t i = 1; i <= count; ++i)
            freePages_.push_back(readAt<PageNumber>(record, i * width));
    }

    // They may lie behind the end of the file: such a page was never written.
    void checkFree(PageNumber page) {
        tree_ = "the list of free pages";
        if (page < 2 || page > meta_.lastPage)
            tell(page, "it is none");
        else if (page < seen_.size() && seen_[page])
            tell(page, "it is in use");
        else if (page < seen_.size())
            seen_[page] = true;
    }

    std::string_view file_;
    Meta meta_;
    std::uint32_t pageSize_;
    std::vector<bool> seen_;
    std::size_t most_;
    std::vector<std::string> findings_;
    std::vector<std::pair<std::string, Tree>> tables_;
    std::vector<PageNumber> freePages_;
    std::vector<Place> places_;
    Counts counts_;
    std::string tree_;
    bool isListOfTables_ = false;
    bool isListOfFreePages_ = false;
    std::uint64_t pages_ = 2;
};

// The pages of a state stay as they are until the commit after the next one has begun, so what
// was found counts if the state is the same at the end. All of its meta page is compared: it may
// have been read while it was written, with the new number in front of the old trees. Nothing when
// it is another one.
std::optional<DataFileReport> checkOneState(const std::filesystem::path &path, std::size_t most) {
    const MappedFile file(path);
    const Start start = startOf(file.bytes());
    DataFileReport report;
    if (start.meta) {
        Walk walk(file.bytes(), start, most);
        report = {walk.run(), walk.pages()};
    } else {
        report = {{start.fault}, 0};
    }
    if (report.findings.empty()) return report;
    // A commit between the look at the length and the look at the state has pages behind it.
    std::error_code ignored;
    const bool isWhole = std::filesystem::file_size(path, ignored) == file.bytes().size();
    if (isWhole && start.meta == startOf(file.bytes()).meta) return report;
    return std::nullopt;
}

}  // namespace

// Where commits come faster than the file is read, the writers' lock keeps the next one away. Who
// has it for long commits seldom, so that it is not waited for.
DataFileReport checkDataFile(const std::filesystem::path &path, std::size_t most) {
    constexpr int turnsWithoutLock = 20;
    constexpr int mostTurns = 2000;
    constexpr std::chrono::milliseconds pause{5};
    for (int turn = 0; turn < mostTurns; ++turn) {
        std::optional<FileLock> writers;
        if (turn >= turnsWithoutLock) {
            writers = FileLock::tryTake(path.parent_path() / writerLockName);
            if (!writers) std::this_thread::sleep_for(pause);
        }
        if (const auto report = checkOneState(path, most)) return *report;
    }
    throw Failure(Status::storeFailed,
                  {path.native() + ": it changes all the time and cannot be verified"});
}

}  // namespace zdbs::embedded
