// Exports by path and node by node, of few fragments and of many; whole documents written.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

#include "bench/parts/site_database.h"
#include "tests/zdbs/support/without_paths.h"
#include "zdbs/embedded/fragments/serializer.h"
#include "zdbs/export/export_document.h"

namespace {

using zdbs::NodeTable;
using zdbs::testing::WithoutPaths;

struct Case {
    const char *matches;
    std::size_t most;
    const char *specs;
};

constexpr Case cases[] = {
    {"person", 1, "/name"},
    {"person", 1000, "/name"},
    {"bidder", 100000, "/increase /date /time /personref"},
    {"open-auction", 100000, "/bidder[1]"},
    {"personref", 100000, "/@person"},
    {"keyword", 100000, "/.."},
    {"site", 1, "/regions"},
    {"site", 1, "//text()"},
};

/** The site as a table, with its paths or without. */
std::shared_ptr<const NodeTable> tableOf(bool byPath) {
    if (!byPath) return std::make_shared<WithoutPaths>(bench::site());
    return {std::shared_ptr<void>(), &bench::site()};
}

void Export(benchmark::State &state) {
    const Case &row = cases[state.range(0)];
    zdbs::RequestAnswer answer{tableOf(state.range(1) != 0), bench::nodesNamed(row.matches), {}};
    answer.matches.resize(std::min(answer.matches.size(), row.most));
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes = zdbs::exportBlock(answer, {"//q", row.specs}, false).length;
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.counters["matches"] = static_cast<double>(answer.matches.size());
    state.SetLabel(std::string(row.matches) + ' ' + row.specs +
                   (state.range(1) != 0 ? ", by path" : ", by node"));
}
BENCHMARK(Export)
    ->ArgsProduct({benchmark::CreateDenseRange(0, std::size(cases) - 1, 1), {0, 1}})
    ->Unit(benchmark::kMicrosecond);

void Dump(benchmark::State &state) {
    const auto table = tableOf(state.range(0) != 0);
    std::size_t bytes = 0;
    for (auto _ : state) {
        zdbs::ChunkSink sink([&](std::string_view text) { bytes += text.size(); });
        for (const zdbs::DocumentRange &document : table->documents())
            zdbs::XmlSerializer(*table, sink).writeDocument(document);
        sink.flush();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.SetLabel(state.range(0) != 0 ? "by path" : "by node");
}
BENCHMARK(Dump)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
