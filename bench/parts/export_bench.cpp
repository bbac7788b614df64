// Exports of few fragments and of many; whole documents written.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

#include "bench/parts/site_database.h"
#include "tests/zdbs/support/told.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/embedded/fragments/tree_teller.h"
#include "zdbs/export/export_document.h"
#include "zdbs/export/xml_writer.h"

namespace {

using zdbs::ResultSetPtr;
using zdbs::embedded::NodeId;
using zdbs::embedded::NodeTable;

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

std::shared_ptr<const zdbs::embedded::PartTables> tables() {
    static const zdbs::embedded::PartTables all{
        std::shared_ptr<const NodeTable>(std::shared_ptr<void>(), &bench::site())};
    return {std::shared_ptr<void>(), &all};
}

/** The first of the nodes of a name. */
ResultSetPtr firstOf(const zdbs::OpenDatabase &database, const Case &row) {
    const std::vector<NodeId> all = bench::nodesNamed(row.matches);
    const std::string last = std::to_string(all[std::min(all.size(), row.most) - 1]);
    return zdbs::testing::found(database,
                                std::string("N_NAME=\"") + row.matches + "\" AND N_ID<=" + last);
}

void Export(benchmark::State &state) {
    const Case &row = cases[state.range(0)];
    const auto database = zdbs::embedded::makeEmbeddedDatabase("site", tables);
    const zdbs::RequestAnswer answer{*database, firstOf(*database, row), {}};
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes = zdbs::exportBlock(answer, {"//q", row.specs}, false).length;
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.counters["matches"] = static_cast<double>(answer.matches->size());
    state.SetLabel(std::string(row.matches) + ' ' + row.specs);
}
BENCHMARK(Export)->DenseRange(0, std::size(cases) - 1)->Unit(benchmark::kMicrosecond);

void Dump(benchmark::State &state) {
    const NodeTable &nodes = bench::site();
    std::size_t bytes = 0;
    for (auto _ : state) {
        zdbs::ChunkSink sink([&](std::string_view text) { bytes += text.size(); });
        zdbs::XmlWriter writer(sink);
        zdbs::embedded::NodeReader reader(*nodes.paths());
        for (const zdbs::embedded::DocumentRange &document : nodes.documents())
            zdbs::embedded::TreeTeller(nodes, reader).tellDocument(document, writer);
        sink.flush();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(Dump)->Unit(benchmark::kMillisecond);

}  // namespace
