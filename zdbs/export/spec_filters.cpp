#include "zdbs/export/spec_filters.h"

#include <algorithm>
#include <string>
#include <utility>

namespace zdbs {
namespace {

using Kind = SpecPredicate::Kind;

/** Whether a node lies on the axis of one context only, or is all that a context finds there. */
bool hasOneContext(Axis axis) {
    const AxisTraits &traits = traitsOf(axis);
    return traits.isDirect || traits.region == Region::none;
}

/** Does the path count positions, in a step or what its steps are tried on? */
bool countsPositions(const SpecPath &path) {
    return std::any_of(path.steps.begin(), path.steps.end(),
                       [](const SpecStep &step) { return step.isPositional(); });
}

/** Does it count them where a node can have several contexts? */
bool countsPerContext(const SpecPath &path) {
    return std::any_of(path.steps.begin(), path.steps.end(), [](const SpecStep &step) {
        return step.isPositional() && !hasOneContext(step.axis);
    });
}

bool needsSets(const SpecPredicate &predicate) {
    return predicate.kind == Kind::path ||
           std::any_of(predicate.sides.begin(), predicate.sides.end(), needsSets);
}

bool needsSets(const SpecStep &step) {
    return std::any_of(step.predicates.begin(), step.predicates.end(),
                       [](const SpecPredicate &predicate) { return needsSets(predicate); });
}

FieldTerm typeTerm(const char *word, Relation relation = Relation::equal) {
    return {Field::type, relation, word};
}

/** Asks an engine for sets of nodes. */
class Sets {
public:
    explicit Sets(const OpenDatabase &database) : database_(database) {}

    /** The nodes that pass the test of a step and, where there is one, a condition on values. */
    ResultSetPtr members(const SpecStep &step, const std::optional<ValueCondition> &value) const {
        Conjunct terms;
        addTest(step, terms);
        if (value) add(FieldTerm{Field::value, value->relation, value->literal}, terms);
        if (terms.empty()) add(FieldTerm{Field::id, Relation::notEmpty, {}}, terms);
        return evaluate(std::move(terms));
    }

    /** direction: 1 answers nodes of `first`, 2 of `second`, which are on the axis of `first`. */
    ResultSetPtr joined(Axis axis, const ResultSetPtr &first, const ResultSetPtr &second,
                        int direction) const {
        return evaluate(AxisTerm{axis, {1, 0}, {2, 0}, direction}, {first, second});
    }

    ResultSetPtr atPosition(const ResultSetPtr &set, Relation relation, double place) const {
        return evaluate(PositionTerm{{1, 0}, relation, place}, {set});
    }

    ResultSetPtr common(const ResultSetPtr &a, const ResultSetPtr &b) const {
        Conjunct terms;
        add(SetReference{1, 0}, terms);
        add(SetReference{2, 0}, terms);
        return evaluate(std::move(terms), {a, b});
    }

    ResultSetPtr united(const std::vector<ResultSetPtr> &sets) const {
        if (sets.empty()) return evaluate(typeTerm("NONE"));
        Condition condition;
        for (std::size_t i = 1; i <= sets.size(); ++i)
            add(SetReference{static_cast<std::int32_t>(i), 0}, condition.conjuncts.emplace_back());
        return evaluate(condition, sets);
    }

    ResultSetPtr withValue(const ResultSetPtr &set, const ValueCondition &value) const {
        Conjunct terms;
        add(SetReference{1, 0}, terms);
        add(FieldTerm{Field::value, value.relation, value.literal}, terms);
        return evaluate(std::move(terms), {set});
    }

    ResultSetPtr of(RecordId record) const {
        return evaluate(FieldTerm{Field::id, Relation::equal, std::to_string(record)});
    }

    template <typename Visit>
    void forEach(const ResultSetPtr &set, Visit visit) const {
        const std::unique_ptr<RecordCursor> records = database_.records(*set);
        for (auto batch = records->next(); !batch.empty(); batch = records->next()) {
            for (const RecordId record : batch)
                visit(of(record));
        }
    }

private:
    static void add(Term term, Conjunct &terms) { terms.push_back({false, std::move(term)}); }

    /** Attributes are on no axis but their own, and on those that hold the context itself. */
    static void addTest(const SpecStep &step, Conjunct &terms) {
        const AxisTraits &axis = traitsOf(step.axis);
        switch (step.test.kind) {
            case NodeTest::Kind::node:
                if (axis.toAttributes) add(typeTerm("ATTRIBUTE"), terms);
                if (!axis.toAttributes && !axis.withSelf)
                    add(typeTerm("ATTRIBUTE", Relation::notEqual), terms);
                return;
            case NodeTest::Kind::text:
                return add(typeTerm("TEXT"), terms);
            case NodeTest::Kind::comment:
                return add(typeTerm("COMMENT"), terms);
            case NodeTest::Kind::instruction:
                return add(typeTerm("PROCESSING_INSTRUCTION"), terms);
            case NodeTest::Kind::name:
                break;
        }
        add(typeTerm(axis.toAttributes ? "ATTRIBUTE" : "ELEMENT"), terms);
        if (!step.test.local.empty())
            add(FieldTerm{Field::name, Relation::equal, step.test.local}, terms);
        if (!step.test.space.empty())
            add(FieldTerm{Field::nameSpace, Relation::equal, step.test.space}, terms);
    }

    ResultSetPtr evaluate(Term term, const std::vector<ResultSetPtr> &sets = {}) const {
        Conjunct terms;
        add(std::move(term), terms);
        return evaluate(std::move(terms), sets);
    }

    ResultSetPtr evaluate(Conjunct terms, const std::vector<ResultSetPtr> &sets = {}) const {
        Condition condition;
        condition.conjuncts.push_back(std::move(terms));
        return evaluate(condition, sets);
    }

    ResultSetPtr evaluate(const Condition &condition, const std::vector<ResultSetPtr> &sets) const {
        return database_.evaluate(condition, [&sets](SetReference reference) {
            return sets[static_cast<std::size_t>(reference.number) - 1];
        });
    }

    const OpenDatabase &database_;
};

/** Evaluates predicates to sets. */
class PredicateSets {
public:
    explicit PredicateSets(const OpenDatabase &database) : sets_(database) {}

    /** What a step can find from these contexts, its predicates not regarded. */
    ResultSetPtr found(const SpecStep &step, const ResultSetPtr &contexts) const {
        return sets_.joined(step.axis, contexts, sets_.members(step, std::nullopt), 2);
    }

    /** Those of `nodes` that a path leads somewhere from. */
    ResultSetPtr withPath(const SpecPath &path, const ResultSetPtr &nodes) const {
        if (countsPerContext(path)) return withPathOneByOne(path, nodes);
        return countsPositions(path) ? withCountedPath(path, nodes) : withPlainPath(path, nodes);
    }

private:
    /** Back from the end: where nothing counts, all that could be on the way is. */
    ResultSetPtr withPlainPath(const SpecPath &path, const ResultSetPtr &nodes) const {
        ResultSetPtr reached;
        for (std::size_t k = path.steps.size(); k > 0; --k) {
            const SpecStep &step = path.steps[k - 1];
            const bool isLast = k == path.steps.size();
            ResultSetPtr members = sets_.members(step, isLast ? path.value : std::nullopt);
            members = filtered(step, members);
            if (!isLast) members = sets_.joined(path.steps[k].axis, members, reached, 1);
            reached = std::move(members);
        }
        return sets_.joined(path.steps.front().axis, nodes, reached, 1);
    }

    /** Forwards, so that positions are counted among what is there, and back. */
    ResultSetPtr withCountedPath(const SpecPath &path, const ResultSetPtr &nodes) const {
        std::vector<ResultSetPtr> levels{nodes};
        for (const SpecStep &step : path.steps)
            levels.push_back(filtered(step, found(step, levels.back())));
        ResultSetPtr reached = levels.back();
        if (path.value) reached = sets_.withValue(reached, *path.value);
        for (std::size_t k = path.steps.size(); k > 0; --k)
            reached = sets_.joined(path.steps[k - 1].axis, levels[k - 1], reached, 1);
        return reached;
    }

    ResultSetPtr withPathOneByOne(const SpecPath &path, const ResultSetPtr &nodes) const {
        std::vector<ResultSetPtr> found;
        sets_.forEach(nodes, [&](const ResultSetPtr &node) {
            ResultSetPtr reached = node;
            for (const SpecStep &step : path.steps)
                reached = followed(step, reached);
            if (path.value) reached = sets_.withValue(reached, *path.value);
            if (reached->size() > 0) found.push_back(node);
        });
        return sets_.united(found);
    }

    ResultSetPtr followed(const SpecStep &step, const ResultSetPtr &contexts) const {
        if (!step.isPositional() || hasOneContext(step.axis))
            return filtered(step, found(step, contexts));
        std::vector<ResultSetPtr> results;
        sets_.forEach(contexts, [&](const ResultSetPtr &context) {
            results.push_back(filtered(step, found(step, context)));
        });
        return sets_.united(results);
    }

    /**
     * Those that satisfy the predicates of a step. As in requests, each is tried on all
     * candidates and the answers are intersected; positions count in what was made last.
     */
    ResultSetPtr filtered(const SpecStep &step, const ResultSetPtr &candidates) const {
        ResultSetPtr last = candidates;
        ResultSetPtr held = candidates;
        for (const SpecPredicate &predicate : step.predicates) {
            const bool isFirst = &predicate == &step.predicates.front();
            satisfy(predicate, candidates, last);
            held = isFirst ? last : sets_.common(held, last);
            last = held;
        }
        return held;
    }

    void satisfy(const SpecPredicate &predicate, const ResultSetPtr &candidates,
                 ResultSetPtr &last) const {
        switch (predicate.kind) {
            case Kind::path:
                last = withPath(predicate.path, predicate.ofLast ? last : candidates);
                return;
            case Kind::position:
                last = sets_.atPosition(last, predicate.relation, predicate.place);
                return;
            case Kind::unchanged:
                return;
            case Kind::both:
            case Kind::either:
                break;
        }
        satisfy(predicate.sides[0], candidates, last);
        const ResultSetPtr left = last;
        satisfy(predicate.sides[1], candidates, last);
        last = predicate.kind == Kind::both ? sets_.common(left, last) : sets_.united({left, last});
    }

    Sets sets_;
};

FragmentFilter filterOf(const SpecPredicate &predicate, const PredicateSets &sets,
                        const ResultSetPtr &candidates) {
    FragmentFilter filter;
    filter.ofLast = predicate.ofLast;
    filter.relation = predicate.relation;
    filter.place = predicate.place;
    switch (predicate.kind) {
        case Kind::path:
            filter.kind = FragmentFilter::Kind::among;
            filter.among = sets.withPath(predicate.path, candidates);
            break;
        case Kind::position:
            filter.kind = FragmentFilter::Kind::position;
            break;
        case Kind::unchanged:
            filter.kind = FragmentFilter::Kind::unchanged;
            break;
        case Kind::both:
            filter.kind = FragmentFilter::Kind::both;
            break;
        case Kind::either:
            filter.kind = FragmentFilter::Kind::either;
            break;
    }
    for (const SpecPredicate &side : predicate.sides)
        filter.sides.push_back(filterOf(side, sets, candidates));
    return filter;
}

FragmentPath fragmentPath(const SpecPath &path, const PredicateSets &sets,
                          const ResultSetPtr &matches) {
    const auto lastWithSets = std::find_if(path.steps.rbegin(), path.steps.rend(),
                                           [](const SpecStep &step) { return needsSets(step); });
    auto left = std::distance(lastWithSets, path.steps.rend());  // steps that sets are needed for
    ResultSetPtr candidates = matches;
    FragmentPath result;
    for (const SpecStep &step : path.steps) {
        if (left-- > 0) candidates = sets.found(step, candidates);
        FragmentStep &asked = result.emplace_back(FragmentStep{step.axis, step.test, {}});
        for (const SpecPredicate &predicate : step.predicates)
            asked.filters.push_back(filterOf(predicate, sets, candidates));
    }
    return result;
}

}  // namespace

std::vector<FragmentSpec> fragmentSpecs(const OpenDatabase &database, const ResultSetPtr &matches,
                                        std::span<const SpecPlan> plans) {
    const PredicateSets sets(database);
    std::vector<FragmentSpec> specs;
    for (const SpecPlan &plan : plans) {
        FragmentSpec &spec = specs.emplace_back();
        for (const SpecPath &path : plan)
            spec.push_back(fragmentPath(path, sets, matches));
    }
    return specs;
}

}  // namespace zdbs
