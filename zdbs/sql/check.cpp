#include "zdbs/sql/check.h"

#include <map>
#include <vector>

#include "zdbs/base/number.h"
#include "zdbs/base/stop.h"

namespace zdbs::sql {
namespace {

constexpr int rowsAtOnce = 20000;
constexpr std::size_t mostFindings = 20;

/** Goes through the rows of each document in order, with the elements above open. */
class Check {
public:
    Check(const SqlDocuments &documents, const ProgressReport &progress)
        : documents_(documents), state_(documents.taken()), progress_(progress) {
        for (PathNumber path = 0; path < state_.summary.size(); ++path)
            levels_ = std::max(levels_, state_.summary[path].level - 2);
    }

    CheckReport report() {
        report_.documents = state_.documents.size();
        report_.segments = 1;
        for (const Document &each : state_.documents)
            checkDocument(each);
        for (PathNumber path = rootPath + 1; path < state_.summary.size(); ++path) {
            if (counts_[path] != state_.summary[path].nodes)
                find("table path", "count of path " + std::to_string(path),
                     std::to_string(state_.summary[path].nodes) + " instead of " +
                         std::to_string(counts_[path]));
        }
        return std::move(report_);
    }

private:
    struct Open {
        int id;
        int last;
        PathNumber path;
    };

    void find(const std::string &place, const std::string &structure, const std::string &text) {
        ++report_.found;
        if (report_.findings.size() < mostFindings)
            report_.findings.push_back({place, structure, text});
    }

    void checkDocument(const Document &document) {
        open_.clear();
        for (int first = document.root; first <= document.last;) {
            const int last =
                document.last - first < rowsAtOnce ? document.last : first + rowsAtOnce - 1;
            checkRows(document, first, last);
            if (last == document.last) break;
            first = last + 1;
        }
        report_.nodes += document.nodes();
        if (progress_) progress_(report_.nodes, state_.nodes());
    }

    void checkRows(const Document &document, int first, int last) {
        heedStop();
        std::string levels;
        std::string types;
        for (int level = 1; level <= levels_; ++level) {
            levels += ", a" + std::to_string(level);
            types += ", a" + std::to_string(level) + " int";
        }
        const Rows rows = documents_.connection().ask(
            {"select id, doc, path, parent, last, num, value" + levels +
             " from node where part = " + std::to_string(document.part) + " and id between " +
             std::to_string(first) + " and " + std::to_string(last) + " order by id"},
            "id int, doc int, path int, parent int, last int, num double precision, value text" +
                types);
        if (rows.size() != last - first + 1)
            find("table node", "rows of " + document.name,
                 std::to_string(rows.size()) + " instead of " + std::to_string(last - first + 1));
        for (int row = 0; row < rows.size(); ++row)
            checkRow(document, rows, row);
    }

    void checkRow(const Document &document, const Rows &rows, int row) {
        const int id = static_cast<int>(rows.number(row, 0));
        const auto path = static_cast<PathNumber>(rows.number(row, 2));
        const int last = static_cast<int>(rows.number(row, 4));
        const std::string place = "row " + std::to_string(id);
        while (!open_.empty() && open_.back().last < id)
            open_.pop_back();
        if (rows.number(row, 1) != document.root) find("table node", "documents", place);
        if (path < 0 || path >= state_.summary.size())
            return find("table node", "paths", place + ": no such path");
        if (path == rootPath) {
            if (id != document.root || last != document.last)
                find("table node", "documents", place + ": another end than the document");
        } else {
            ++counts_[path];
            if (open_.empty() || rows.number(row, 3) != open_.back().id)
                return find("table node", "parents", place);
            if (state_.summary[path].key.parent != open_.back().path)
                find("table node", "paths", place);
            checkLevels(rows, row, place);
            checkNumber(rows, row, path, place);
        }
        open_.push_back({id, last, path});
    }

    void checkLevels(const Rows &rows, int row, const std::string &place) {
        // Of what is above, the document's root and the parent have columns of their own.
        const int known = static_cast<int>(open_.size()) - 2;
        for (int level = 1; level <= levels_; ++level) {
            const bool isRight = level > known ? rows.isNull(row, 6 + level)
                                               : rows.number(row, 6 + level) ==
                                                     open_[static_cast<std::size_t>(level)].id;
            if (!isRight) find("table node", "level " + std::to_string(level), place);
        }
    }

    void checkNumber(const Rows &rows, int row, PathNumber path, const std::string &place) {
        if (state_.summary[path].is(NodeKind::element)) return;
        const bool isNumber = numberOf(rows.text(row, 6)).has_value();
        if (isNumber == rows.isNull(row, 5)) find("table node", "numbers", place);
    }

    const SqlDocuments &documents_;
    const State &state_;
    const ProgressReport &progress_;
    int levels_ = 0;
    CheckReport report_;
    std::vector<Open> open_;
    std::map<PathNumber, std::uint64_t> counts_;
};

}  // namespace

CheckReport checkCollection(const SqlDocuments &documents, const ProgressReport &progress) {
    return Check(documents, progress).report();
}

}  // namespace zdbs::sql
