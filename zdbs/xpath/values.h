/** The values that an expression has for many contexts at once. */
#ifndef ZDBS_XPATH_VALUES_H
#define ZDBS_XPATH_VALUES_H

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "zdbs/xpath/collection.h"

namespace zdbs::xpath {

/** String-values of all nodes of some groups, by place in Groups::nodes(). */
class NodeTexts {
public:
    NodeTexts(const Collection &collection, const Groups &groups);

    std::string_view operator[](std::size_t place) const {
        return strings_.texts[places_.empty() ? place : places_[place]];
    }

private:
    StringValues strings_;
    std::vector<std::size_t> places_;  ///< empty: as they stand
};

/** The numbers of a group, NaN aside; both NaN when there are none. */
struct NumberRange {
    double least;
    double greatest;
};

using TextSet = std::unordered_set<std::string_view>;

/** Sets of nodes: one as the engine has it, or many. What is made of them is made once. */
class NodeColumn {
public:
    /** The collection must outlive it. */
    NodeColumn(const Collection &collection, NodeSet set);
    NodeColumn(const Collection &collection, Groups groups);

    std::size_t size() const { return set_ ? 1 : groups_->size(); }
    std::uint64_t count(std::size_t entry) const;

    /** The one that there is, as the engine has it; null when there are groups. */
    const NodeSet *set() const { return set_ ? &*set_ : nullptr; }

    /** The one entry as a set. REQUIRES size() is 1. */
    NodeSet whole() const { return set_ ? *set_ : collection_.setOf((*groups_)[0]); }

    const Collection &collection() const { return collection_; }
    const Groups &groups() const;
    const NodeTexts &texts() const;
    NumberRange range(std::size_t entry) const;
    const TextSet &textSet(std::size_t entry) const;

private:
    const Collection &collection_;
    std::optional<NodeSet> set_;
    mutable std::optional<Groups> groups_;
    mutable std::optional<NodeTexts> texts_;
    mutable std::vector<std::unique_ptr<const TextSet>> textSets_;
    mutable std::vector<std::optional<NumberRange>> ranges_;
};

/**
 * The records of a set that is an answer. Throws Failure(requestFailed) where there are roots of
 * documents among them, which are nodes and no records.
 */
const ResultSetPtr &recordsOf(const NodeSet &set);

/** Of each entry the first node in document order, where there is one. */
Groups firstsOf(const NodeColumn &nodes);

using NodeColumnPtr = std::shared_ptr<const NodeColumn>;

/** Texts, and what keeps them. */
struct TextColumn {
    std::vector<std::string_view> texts;
    std::shared_ptr<const void> owner;
    std::shared_ptr<std::deque<std::string>> made;  ///< those that were added, many in one

    /** A copy of it. */
    void add(std::string_view text);
};

/** Which of its entries a column has for a context. */
struct Mapping {
    bool isConstant = false;           ///< one entry for all
    std::vector<std::uint32_t> which;  ///< by context; empty: each its own

    std::size_t operator()(std::size_t context) const {
        if (isConstant) return 0;
        return which.empty() ? context : which[context];
    }
};

/** A column of one type, and how contexts find their value in it. Copies share the column. */
class Value {
public:
    using Numbers = std::vector<double>;
    using Truths = std::vector<char>;

    Value(Numbers numbers, Mapping mapping);
    Value(TextColumn texts, Mapping mapping);
    Value(Truths truths, Mapping mapping);
    Value(NodeColumnPtr nodes, Mapping mapping);

    /** The same for every context. */
    static Value constant(double number);
    static Value constant(std::string_view text);
    static Value constant(bool truth);

    ValueType type() const { return type_; }
    std::size_t entries() const;
    const Mapping &mapping() const { return mapping_; }
    Value mapped(Mapping mapping) const;

    // By entry. REQUIRES the type.
    const Numbers &numbers() const { return *numbers_; }
    const std::vector<std::string_view> &texts() const { return texts_->texts; }
    const Truths &truths() const { return *truths_; }
    const NodeColumn &nodes() const { return *nodes_; }
    const NodeColumnPtr &sharedNodes() const { return nodes_; }

    // By context. REQUIRES the type.
    double number(std::size_t context) const { return (*numbers_)[mapping_(context)]; }
    std::string_view text(std::size_t context) const { return texts_->texts[mapping_(context)]; }
    bool truth(std::size_t context) const { return (*truths_)[mapping_(context)] != 0; }

    // What the conversion rules make of it.
    Value asNumbers() const;
    Value asTexts() const;
    Value asTruths() const;
    Value as(ValueType type) const;

private:
    ValueType type_;
    Mapping mapping_;
    std::shared_ptr<const Numbers> numbers_;
    std::shared_ptr<const TextColumn> texts_;
    std::shared_ptr<const Truths> truths_;
    NodeColumnPtr nodes_;
};

/** The contexts or entries over which values are taken together. */
class Joined {
public:
    /** @param contexts how many there are */
    Joined(std::vector<Value> values, std::size_t contexts);

    const std::vector<Value> &values() const { return values_; }
    std::size_t size() const { return size_; }

    /** The entry of a value at a place below size(). */
    std::size_t entry(const Value &value, std::size_t place) const {
        if (value.mapping().isConstant) return 0;
        return byEntry_ ? place : value.mapping()(place);
    }

    /** How contexts find what is made for all places. */
    const Mapping &mapping() const { return mapping_; }

private:
    std::vector<Value> values_;
    std::size_t size_;
    bool byEntry_ = false;  ///< one of them alone is no constant: its entries are the places
    Mapping mapping_;
};

}  // namespace zdbs::xpath

#endif
