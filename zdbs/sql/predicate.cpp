#include "zdbs/sql/predicate.h"

#include <algorithm>
#include <tuple>

namespace zdbs::sql {
namespace {

template <typename... Operations>
struct Overloaded : Operations... {
    using Operations::operator()...;
};
template <typename... Operations>
Overloaded(Operations...) -> Overloaded<Operations...>;

bool allLocal(const std::vector<PredicatePtr> &sides) {
    return std::all_of(sides.begin(), sides.end(),
                       [](const PredicatePtr &each) { return each->isLocal; });
}

bool isLocal(const Test &test) {
    return std::visit(Overloaded{
                          [](const ValueTest &) { return true; },
                          [](const RowTest &) { return true; },
                          [](const OrdinalTest &) { return true; },
                          [](const MeetsTest &) { return false; },
                          [](const BoundTest &) { return false; },
                          [](const PlaceTest &) { return false; },
                          [](const KeptTest &) { return false; },
                          [](const Both &all) { return allLocal(all.sides); },
                          [](const Either &any) { return allLocal(any.sides); },
                          [](const Neither &none) { return none.side->isLocal; },
                      },
                      test);
}

bool hasLevel(const Test &test) {
    const auto anyOf = [](const std::vector<PredicatePtr> &sides) {
        return std::any_of(sides.begin(), sides.end(),
                           [](const PredicatePtr &each) { return each->hasLevel; });
    };
    if (const auto *all = std::get_if<Both>(&test)) return anyOf(all->sides);
    if (const auto *any = std::get_if<Either>(&test)) return anyOf(any->sides);
    if (const auto *none = std::get_if<Neither>(&test)) return none->side->hasLevel;
    return std::holds_alternative<MeetsTest>(test);
}

/** The sides of one operation, those of the same operation below it among them, each once. */
template <typename Operation>
PredicatePtr joined(const PredicatePtr &a, const PredicatePtr &b) {
    std::vector<PredicatePtr> sides;
    for (const PredicatePtr &each : {a, b}) {
        const auto *same = std::get_if<Operation>(&each->test);
        const std::vector<PredicatePtr> more = same ? same->sides : std::vector{each};
        for (const PredicatePtr &one : more) {
            if (std::find(sides.begin(), sides.end(), one) == sides.end()) sides.push_back(one);
        }
    }
    if (sides.size() == 1) return sides.front();
    // One side that had all of the other's is that side, and stays the same predicate.
    for (const PredicatePtr &each : {a, b}) {
        const auto *same = std::get_if<Operation>(&each->test);
        if (same && same->sides.size() == sides.size()) return each;
    }
    return predicate(Operation{std::move(sides)});
}

/** Makes the same of the same two, so that paths stay together. */
class Memory {
public:
    using Operation = PredicatePtr (*)(const PredicatePtr &, const PredicatePtr &);

    explicit Memory(Operation operation) : operation_(operation) {}

    const PredicatePtr &of(const PredicatePtr &a, const PredicatePtr &b) {
        const auto [found, isNew] = made_.try_emplace({a, b});
        if (isNew) found->second = operation_(a, b);
        return found->second;
    }

private:
    Operation operation_;
    std::map<std::pair<PredicatePtr, PredicatePtr>, PredicatePtr> made_;
};

}  // namespace

Predicate::Predicate(Test test_)
    : test(std::move(test_)), isLocal(sql::isLocal(test)), hasLevel(sql::hasLevel(test)) {}

PredicatePtr predicate(Test test) {
    return std::make_shared<const Predicate>(std::move(test));
}

PredicatePtr both(const PredicatePtr &a, const PredicatePtr &b) {
    if (!a || !b) return a ? a : b;
    return joined<Both>(a, b);
}

PredicatePtr either(const PredicatePtr &a, const PredicatePtr &b) {
    if (!a || !b) return nullptr;
    return joined<Either>(a, b);
}

PredicatePtr neither(const PredicatePtr &a) {
    return predicate(Neither{a});
}

PathSet intersection(const PathSet &a, const PathSet &b) {
    Memory memory(both);
    PathSet result;
    for (const auto &[path, predicate] : a) {
        const auto other = b.find(path);
        if (other != b.end()) result.emplace(path, memory.of(predicate, other->second));
    }
    return result;
}

PathSet unionOf(const PathSet &a, const PathSet &b) {
    Memory memory(either);
    PathSet result = a;
    for (const auto &[path, predicate] : b) {
        const auto [found, isNew] = result.try_emplace(path, predicate);
        if (!isNew) found->second = memory.of(found->second, predicate);
    }
    return result;
}

PathSet difference(const PathSet &a, const PathSet &b) {
    Memory memory([](const PredicatePtr &one, const PredicatePtr &other) {
        return both(one, neither(other));
    });
    PathSet result;
    for (const auto &[path, predicate] : a) {
        const auto other = b.find(path);
        if (other == b.end())
            result.emplace(path, predicate);
        else if (other->second && other->second != predicate)
            result.emplace(path, memory.of(predicate, other->second));
    }
    return result;
}

std::vector<PathGroup> groupsOf(const PathSet &set, const Summary &summary, Levels levels) {
    std::map<std::tuple<PredicatePtr, bool, int>, std::size_t> places;
    std::vector<PathGroup> groups;
    for (const auto &[path, predicate] : set) {
        const Path &facts = summary[path];
        const bool isTogether =
            levels == Levels::whereNeeded && (!predicate || !predicate->hasLevel);
        const auto key =
            std::make_tuple(predicate, facts.isAttribute(), isTogether ? 0 : facts.level);
        const auto [found, isNew] = places.try_emplace(key, groups.size());
        if (isNew) groups.push_back({predicate, {}, facts.level, facts.isAttribute()});
        groups[found->second].paths.push_back(path);
    }
    return groups;
}

}  // namespace zdbs::sql
