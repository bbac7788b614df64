/** What a database tells, gathered for comparisons. */
#ifndef TESTS_ZDBS_SUPPORT_TOLD_H
#define TESTS_ZDBS_SUPPORT_TOLD_H

#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "zdbs/engine/engine.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::testing {

/** All records of a set. */
inline std::vector<RecordId> recordsOf(const OpenDatabase &database, const ResultSet &set) {
    std::vector<RecordId> all;
    const auto cursor = database.records(set);
    for (auto batch = cursor->next(); !batch.empty(); batch = cursor->next())
        all.insert(all.end(), batch.begin(), batch.end());
    return all;
}

/** The nodes of a condition that names no sets. */
inline ResultSetPtr found(const OpenDatabase &database, const std::string &condition) {
    const Command command = parseCommand("FIND " + condition);
    return database.evaluate(std::get<FindCommand>(command).condition,
                             [](SetReference) { return ResultSetPtr(); });
}

/** These nodes, not too many of them. */
inline ResultSetPtr setOf(const OpenDatabase &database, std::span<const std::uint32_t> nodes) {
    std::string condition = "N_ID=0";
    for (const std::uint32_t node : nodes)
        condition += " OR N_ID=" + std::to_string(node);
    return found(database, condition);
}

/** Where values are hit: "offset+length " for each hit, by record. */
class ToldHits final : public FragmentVisitor, private NodeEvents {
public:
    /** In all values of the database that sets with value conditions hit. */
    static std::map<RecordId, std::string> of(const OpenDatabase &database,
                                              std::span<const ResultSetPtr> marked) {
        ToldHits told;
        const std::vector<FragmentSpec> node{FragmentSpec(1)};
        database.fragments(*database.everything(), node, marked, told);
        return told.hits_;
    }

private:
    NodeEvents &beginFragment(RecordId record, std::string_view, std::string_view) override {
        record_ = record;
        depth_ = 0;
        return *this;
    }
    void endFragment() override {}
    void startElement(const NumberedName &) override { ++depth_; }
    void namespaceDeclaration(std::string_view, std::string_view) override {}
    void attribute(const NumberedName &, std::string_view,
                   std::span<const HitRange> hits) override {
        add(hits);
    }
    void text(std::string_view, std::span<const HitRange> hits) override { add(hits); }
    void comment(std::string_view) override {}
    void processingInstruction(std::string_view, std::string_view) override {}
    void endElement() override { --depth_; }

    void add(std::span<const HitRange> hits) {
        if (depth_ > 0) return;
        for (const HitRange &hit : hits)
            hits_[record_] += std::to_string(hit.offset) + "+" + std::to_string(hit.length) + " ";
    }

    std::map<RecordId, std::string> hits_;
    RecordId record_ = 0;
    int depth_ = 0;
};

}  // namespace zdbs::testing

#endif
