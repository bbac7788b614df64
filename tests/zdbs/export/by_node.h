/** Trees and fragments told node by node: what the ways by path are compared with. */
#ifndef TESTS_ZDBS_EXPORT_BY_NODE_H
#define TESTS_ZDBS_EXPORT_BY_NODE_H

#include <memory>
#include <string>

#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/embedded/fragments/fragment_evaluator.h"
#include "zdbs/embedded/tree/hit_ranges.h"
#include "zdbs/engine/engine.h"
#include "zdbs/session/nested_request.h"

namespace zdbs::testing {

using namespace embedded;

/** A node and what is below it; an element with these declarations in place of its own. */
void tellByNode(const NodeTable &nodes, NodeId top,
                const std::vector<NamespaceDeclaration> &declarations, const HitRanges *hits,
                NodeEvents &events);

/** A document as XML. */
std::string documentByNode(const NodeTable &nodes, const DocumentRange &document);

/** One node as it could stand in another document, told by path; hits are marked with "h". */
std::string fragmentText(const MemoryNodeTable &nodes, NodeId node,
                         const HitRanges *hits = nullptr);

/**
 * A database over a table, whatever ways it has. Conditions are evaluated as always, fragments
 * told node by node.
 */
class ByNodeDatabase final : public OpenDatabase {
public:
    /**
     * What is handed over must outlive it.
     * @param hits that are told where any are asked for
     */
    explicit ByNodeDatabase(const NodeTable &nodes, const HitRanges *hits = nullptr);

    const std::string &name() const override { return inner_->name(); }
    std::uint64_t state() const override { return inner_->state(); }
    void refresh(std::span<ResultSetPtr> sets) override { inner_->refresh(sets); }
    ResultSetPtr everything() const override { return inner_->everything(); }
    std::unique_ptr<NodeTree> tree() const override { return inner_->tree(); }
    ResultSetPtr evaluate(const Condition &condition, const SetLookup &sets) const override {
        return inner_->evaluate(condition, sets);
    }
    std::string plan(const ResultSet &set) const override { return inner_->plan(set); }
    RecordId record(const ResultSet &set, std::int64_t ordinal) const override {
        return inner_->record(set, ordinal);
    }
    std::unique_ptr<RecordCursor> records(const ResultSet &set) const override {
        return inner_->records(set);
    }
    std::unique_ptr<RecordDescriber> describer(FactsWanted wanted) const override {
        return inner_->describer(wanted);
    }
    std::vector<HitWord> hitWords(const ResultSet &set, RecordId record) const override {
        return inner_->hitWords(set, record);
    }
    void fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                   std::span<const ResultSetPtr> marked, FragmentVisitor &visitor) const override;

    /** What a specification selects from a node, told to nobody. */
    NodeIds select(const std::string &spec, NodeId from) const;

private:
    NodeIds nodesOf(const ResultSet &set) const;

    const NodeTable &nodes_;
    const HitRanges *hits_;
    std::unique_ptr<OpenDatabase> inner_;
};

/** The answer to a condition, and the database that it is of. */
class Answered {
public:
    /** @param marked a condition on values whose hits are marked; empty: none are */
    Answered(MemoryNodeTable nodes, const std::string &condition, const std::string &marked = {},
             const PathTableOptions &options = {});

    operator const RequestAnswer &() const { return answer_; }

private:
    std::unique_ptr<OpenDatabase> database_;
    RequestAnswer answer_;
};

/** A specification for the records of `matches`, and for any of them. */
std::vector<FragmentSpec> specsOf(const OpenDatabase &database, const ResultSetPtr &matches,
                                  const std::string &spec);

/** The records that it selects from those of `matches`. */
std::vector<RecordId> selected(const OpenDatabase &database, const ResultSetPtr &matches,
                               std::span<const FragmentSpec> specs);

}  // namespace zdbs::testing

#endif
