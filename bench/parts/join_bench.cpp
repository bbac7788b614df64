// Each axis between two sets of nodes: on node numbers, and by path, for whole paths and for parts.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/parts/site_database.h"
#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/joins/path_join.h"

namespace {

using zdbs::Axis;
using zdbs::embedded::NodeIds;
using zdbs::embedded::Step;

struct Case {
    Axis axis;
    const char *first;
    const char *second;
};

constexpr Case cases[] = {
    {Axis::child, "item", "name"},
    {Axis::attribute, "person", "@id"},
    {Axis::descendant, "listitem", "keyword"},
    {Axis::descendantOrSelf, "parlist", "parlist"},
    {Axis::parent, "bidder", "open-auction"},
    {Axis::ancestor, "keyword", "listitem"},
    {Axis::ancestorOrSelf, "parlist", "parlist"},
    {Axis::self, "text", "text"},
    {Axis::followingSibling, "bidder", "bidder"},
    {Axis::precedingSibling, "bidder", "bidder"},
    {Axis::following, "item", "keyword"},
    {Axis::preceding, "item", "keyword"},
};

/** Two thirds of the nodes are left out when only a part is to be joined. */
NodeIds nodesOf(const char *name, bool isPart) {
    return bench::nodesNamed(name, isPart ? 3 : 1);
}

void describe(benchmark::State &state, const Case &row, std::size_t rows, std::size_t found) {
    state.SetItemsProcessed(static_cast<std::int64_t>(rows) * state.iterations());
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["found"] = static_cast<double>(found);
    state.SetLabel(std::string(row.first) + ' ' + std::string(zdbs::nameOf(row.axis)) + ' ' +
                   row.second + (state.range(1) ? ", parts" : ""));
}

void JoinNodes(benchmark::State &state) {
    const Case &row = cases[state.range(0)];
    const NodeIds first = nodesOf(row.first, state.range(1));
    const NodeIds second = nodesOf(row.second, state.range(1));
    std::size_t found = 0;
    for (auto _ : state)
        found =
            zdbs::embedded::keepSecond(bench::site(), Step{row.axis}, {first, {}}, second).size();
    describe(state, row, first.size() + second.size(), found);
}

void JoinPaths(benchmark::State &state) {
    const Case &row = cases[state.range(0)];
    const zdbs::embedded::PathTable *table = bench::site().paths();
    if (!table) return state.SkipWithError("the store keeps no paths");
    const NodeIds firstIds = nodesOf(row.first, state.range(1));
    const NodeIds secondIds = nodesOf(row.second, state.range(1));
    const zdbs::embedded::PathNodes first = zdbs::embedded::byPath(*table, firstIds);
    const zdbs::embedded::PathNodes second = zdbs::embedded::byPath(*table, secondIds);
    std::size_t found = 0;
    for (auto _ : state) {
        const auto nodes =
            zdbs::embedded::keepSecond(bench::site(), *table, Step{row.axis}, {first, {}}, second);
        if (!nodes) return state.SkipWithError("not joined by path");
        found = zdbs::embedded::sizeOf(*nodes);
    }
    describe(state, row, firstIds.size() + secondIds.size(), found);
}

void everyCase(benchmark::internal::Benchmark *benchmark) {
    benchmark->ArgsProduct(
        {benchmark::CreateDenseRange(0, static_cast<int>(std::size(cases)) - 1, 1), {0, 1}});
}
BENCHMARK(JoinNodes)->Apply(everyCase)->Unit(benchmark::kMicrosecond);
BENCHMARK(JoinPaths)->Apply(everyCase)->Unit(benchmark::kMicrosecond);

}  // namespace
