#include "zdbs/sql/sql_load.h"

#include <limits>
#include <optional>
#include <utility>

#include "zdbs/base/document_name.h"
#include "zdbs/base/status.h"
#include "zdbs/sql/collections.h"
#include "zdbs/sql/declarations.h"
#include "zdbs/sql/open_elements.h"
#include "zdbs/sql/part_writers.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/state.h"

namespace zdbs::sql {
namespace {

constexpr int mostRows = std::numeric_limits<int>::max() - 1;  ///< of a part
constexpr std::size_t longestValue = 1000000000;  ///< in bytes; a field of the server's has 2^30
constexpr std::size_t together = 500;             ///< paths that one statement changes

/**
 * One transaction of the server. Rows are in the table before the commit, under documents that are
 * in no state yet, so that whatever ends it leaves nothing that counts.
 */
class SqlLoad final : public Load {
public:
    SqlLoad(const Location &location, std::string_view database, const WaitingReport &waiting)
        : connection_(location), database_(database) {
        const std::int64_t collection = beginChange(connection_, database, waiting);
        enterCollection(connection_, collection);
        before_ = readState(connection_, collection);
        summary_ = before_->summary;
        levels_ = static_cast<int>(connection_.run("select levels from state").number(0, 0));
        number_ = connection_.run("select nextval('zdbs.numbers')").number(0, 0);
        writers_.emplace(connection_, before_->spread);
    }

    std::uint64_t maxNodes() const override { return mostRows; }

    void beginDocument(std::string_view document) override {
        if (!isValidDocumentName(document)) throw Failure(Status::badDocumentName, {document});
        const Rows same = connection_.run(
            Statement::of("select 1 from document where name = $1 and removed is null", document));
        if (same.size() > 0) throw Failure(Status::documentExists, {document, database_});
        name_ = document;
        part_ = &writers_->emptiest();
        root_ = part_->next;
        counts_.clear();
        open_.begin(takeRow());
    }

    void endDocument(std::uint64_t xmlBytes) override {
        const int last = part_->next - 1;
        const int part = part_->number;
        writers_->of(part).add({part, root_, root_, rootPath, -1, last}, {}, {});
        connection_.run(Statement::of(
            "insert into document (number, part, root, last, base, bytes, name, added) values "
            "(nextval('zdbs.numbers'), $1, $2, $3, $4, $5, $6, $7)",
            std::int64_t{part}, std::int64_t{root_}, std::int64_t{last},
            std::int64_t{part} << baseBits, static_cast<std::int64_t>(xmlBytes),
            std::string_view(name_), number_));
        part_->isChanged = true;
        for (const auto &[path, count] : counts_)
            changes_[path] += count;
        added_ += last - root_;
    }

    void abandonDocument() override {
        writers_->of(part_->number).drop(part_->number, root_);
        part_->next = root_;
    }

    void removeDocument(std::string_view document) override {
        const Rows removed = connection_.run(
            Statement::of("update document set removed = $2 where name = $1 and removed is null "
                          "returning part, root, last",
                          document, number_));
        if (removed.size() == 0) throw Failure(Status::unknownDocument, {document, database_});
        const int part = static_cast<int>(removed.number(0, 0));
        writers_->of(part).send();
        const Rows paths = writers_->connectionOf(part).run(
            Statement::of("select path, count(*) from node where part = $1 and id between $2 and "
                          "$3 group by path",
                          removed.number(0, 0), removed.number(0, 1), removed.number(0, 2)));
        for (int row = 0; row < paths.size(); ++row)
            changes_[static_cast<PathNumber>(paths.number(row, 0))] -= paths.number(row, 1);
    }

    void commit() override {
        writers_->finish(number_);
        addPaths();
        countPaths();
        connection_.run(Statement::of("update state set number = $1, levels = $2", number_,
                                      std::int64_t{levels_}));
        writers_->commit();
        connection_.run("commit");
        if (static_cast<std::uint64_t>(added_) > before_->nodes() / 10) writers_->tidy();
    }

    void startElement(const NumberedName &name) override {
        const PathNumber path = take(NodeKind::element, name.number, name.name);
        const int ordinal = open_.nextOrdinal(path);
        open_.push(takeRow(), path, ordinal);
    }

    void namespaceDeclaration(std::string_view prefix, std::string_view uri) override {
        addDeclaration(open_.top().declarations, prefix, uri);
    }

    void attribute(const NumberedName &name, std::string_view value,
                   std::span<const HitRange>) override {
        add(take(NodeKind::attribute, name.number, name.name), value);
    }

    void text(std::string_view value, std::span<const HitRange>) override {
        add(take(NodeKind::text, 0, {}), value);
    }

    void comment(std::string_view value) override { add(take(NodeKind::comment, 0, {}), value); }

    void processingInstruction(std::string_view target, std::string_view value) override {
        add(take(NodeKind::processingInstruction, 0, {target, {}, {}}), value);
    }

    /** The row of an element has its last row in it. */
    void endElement() override {
        OpenElement element = std::move(open_.top());
        open_.pop();
        const std::string &declared = element.declarations;
        put({part_->number, element.id, root_, element.path, open_.top().id, part_->next - 1,
             element.ordinal, !declared.empty(), false},
            declared);
    }

private:
    int takeRow() {
        if (part_->next >= mostRows)
            throw Failure(Status::tooManyNodes, {database_, std::to_string(mostRows)});
        return part_->next++;
    }

    PathNumber take(NodeKind kind, std::uint32_t number, const NodeName &name) {
        const PathNumber path = open_.pathOf(kind, number, name);
        if (summary_[path].level > mostLevels)
            throw Failure(Status::tooDeep, {name_, std::to_string(mostLevels)});
        ++counts_[path];
        return path;
    }

    void add(PathNumber path, std::string_view value) {
        if (value.size() > longestValue)
            throw Failure(Status::valueTooLong, {name_, std::to_string(longestValue)});
        const int ordinal = open_.nextOrdinal(path);
        const int id = takeRow();
        put({part_->number, id, root_, path, open_.top().id, id, ordinal, true, true}, value);
    }

    void put(const LoadedRow &row, std::string_view value) {
        const std::vector<int> above = open_.above();
        if (static_cast<int>(above.size()) > levels_) addLevels(static_cast<int>(above.size()));
        writers_->of(row.part).add(row, value, above);
    }

    void addLevels(int levels) {
        writers_->addLevels(levels_, levels);
        levels_ = levels;
    }

    void addPaths() {
        for (PathNumber first = before_->summary.size(); first < summary_.size();
             first += static_cast<PathNumber>(together)) {
            Statement statement;
            for (PathNumber path = first;
                 path < summary_.size() && path < first + static_cast<PathNumber>(together); ++path)
                addPath(statement, path);
            statement.text =
                "insert into path (path, parent, kind, prefix, local, uri, level, nodes) values " +
                statement.text;
            connection_.run(statement);
        }
    }

    void addPath(Statement &statement, PathNumber path) {
        const Path &one = summary_[path];
        statement.text +=
            (statement.text.empty() ? "(" : ", (") + std::to_string(path) + ", " +
            std::to_string(one.key.parent) + ", " + std::to_string(static_cast<int>(one.key.kind)) +
            ", " + statement.bind(one.key.prefix) + ", " + statement.bind(one.key.local) + ", " +
            statement.bind(one.key.uri) + ", " + std::to_string(one.level) + ", 0)";
    }

    void countPaths() {
        std::string values;
        std::size_t count = 0;
        for (const auto &[path, change] : changes_) {
            values += (values.empty() ? "(" : ", (") + std::to_string(path) + ", " +
                      std::to_string(change) + ")";
            if (++count % together == 0) countSome(values);
        }
        countSome(values);
    }

    void countSome(std::string &values) {
        if (values.empty()) return;
        connection_.run("update path set nodes = nodes + v.n from (values " + values +
                        ") v (p, n) where path.path = v.p");
        values.clear();
    }

    Connection connection_;
    std::string database_;
    StatePtr before_;
    Summary summary_;
    OpenElements open_{summary_};
    std::optional<PartWriters> writers_;
    int levels_ = 0;
    std::int64_t number_ = 0;  ///< of the state that it makes
    std::int64_t added_ = 0;
    std::map<PathNumber, std::int64_t> changes_;  ///< in the counts of paths
    // The document that is being told.
    std::string name_;
    ChangedPart *part_ = nullptr;
    int root_ = 0;
    std::map<PathNumber, std::int64_t> counts_;
};

}  // namespace

std::unique_ptr<Load> beginLoad(const Location &location, std::string_view database,
                                const WaitingReport &waiting) {
    return std::make_unique<SqlLoad>(location, database, waiting);
}

}  // namespace zdbs::sql
