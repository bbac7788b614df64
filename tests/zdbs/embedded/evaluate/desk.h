/** Conditions evaluated over XML text, for tables of facts. */
#ifndef TESTS_ZDBS_EMBEDDED_EVALUATE_DESK_H
#define TESTS_ZDBS_EMBEDDED_EVALUATE_DESK_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/zdbs/support/memory_node_table.h"
#include "zdbs/engine/engine.h"

namespace zdbs::testing {

/**
 * A database of XML texts with the sets that were found in it, from S1 on. Everything is
 * evaluated on the same nodes by path too, in short segments, and once more with most of
 * them irregular; that all say the same is expected without being asked for.
 */
class Desk {
public:
    explicit Desk(std::string_view xml);
    explicit Desk(const std::vector<XmlSource> &documents);

    /** Evaluates conditions one after another; each makes the next set. */
    Desk &find(const std::vector<std::string> &conditions);

    /** The numbers of a condition's nodes: "1 2 5". Makes no set. */
    std::string ids(const std::string &condition) const;

    /** The nodes of a condition by name or value, in order: "a b @x 'text' !comment ?pi". */
    std::string shown(const std::string &condition) const;

    ResultSetPtr evaluate(const std::string &condition) const;
    const ResultSetPtr &set(std::int32_t number) const;
    OpenDatabase &database() const { return *editions_.front().database; }

    /** The same by path. */
    OpenDatabase &databaseByPath() const { return *editions_[1].database; }
    ResultSetPtr evaluateByPath(const std::string &condition) const;
    const ResultSetPtr &setByPath(std::int32_t number) const;

private:
    /** The nodes, kept in one way or another. */
    struct Edition {
        std::string name;
        std::shared_ptr<const NodeTable> table;
        std::unique_ptr<OpenDatabase> database;
        std::vector<ResultSetPtr> sets;

        ResultSetPtr evaluate(const std::string &condition) const;
        const ResultSetPtr &set(std::int32_t number) const;
    };

    void add(std::string name, std::shared_ptr<const NodeTable> table);
    void expectTheSame(const std::string &condition, const ResultSetPtr &set) const;

    std::shared_ptr<const MemoryNodeTable> table_;
    std::vector<Edition> editions_;  ///< the plain one first
};

}  // namespace zdbs::testing

#endif
