// Packed columns of numbers, and columns of values with each of their indexes.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bench/generate/random.h"
#include "bench/generate/vocabulary.h"
#include "zdbs/embedded/columns/packed_column.h"
#include "zdbs/embedded/columns/value_column.h"
#include "zdbs/embedded/values/value_test.h"

namespace {

using zdbs::Relation;
using zdbs::embedded::PackedColumn;
using zdbs::embedded::ValueColumn;
using zdbs::embedded::ValueTest;

constexpr std::uint32_t rowCount = 1000000;

/** Ascending, with gaps up to this. */
std::string ascendingColumn(std::uint32_t gap) {
    bench::Random random(gap);
    std::vector<std::uint32_t> numbers(rowCount);
    std::uint32_t last = 0;
    for (std::uint32_t &number : numbers)
        number = last += 1 + random.below(gap);
    std::string bytes;
    zdbs::embedded::pack(numbers, bytes);
    return bytes;
}

std::uint32_t gapOf(const benchmark::State &state) {
    return static_cast<std::uint32_t>(state.range(0));
}

void countRows(benchmark::State &state, std::uint64_t rows, std::size_t bytes) {
    state.SetItemsProcessed(static_cast<std::int64_t>(rows) * state.iterations());
    state.counters["bits/row"] = static_cast<double>(bytes) * 8 / rowCount;
}

void PackedPack(benchmark::State &state) {
    bench::Random random(1);
    std::vector<std::uint32_t> numbers(rowCount);
    for (std::uint32_t &number : numbers)
        number = random.below(gapOf(state));
    std::string bytes;
    for (auto _ : state) {
        bytes.clear();
        zdbs::embedded::pack(numbers, bytes);
    }
    countRows(state, rowCount, bytes.size());
}
BENCHMARK(PackedPack)->Arg(1)->Arg(16)->Arg(1000)->Arg(1 << 30);

void PackedRead(benchmark::State &state) {
    const std::string bytes = ascendingColumn(gapOf(state));
    const PackedColumn column(bytes);
    std::vector<std::uint32_t> out(rowCount);
    for (auto _ : state) {
        column.read(0, out);
        benchmark::ClobberMemory();
    }
    countRows(state, rowCount, bytes.size());
}
BENCHMARK(PackedRead)->Arg(1)->Arg(16)->Arg(1000);

void PackedAt(benchmark::State &state) {
    const std::string bytes = ascendingColumn(gapOf(state));
    const PackedColumn column(bytes);
    bench::Random random(2);
    for (auto _ : state)
        benchmark::DoNotOptimize(column.at(random.below(rowCount)));
    countRows(state, 1, bytes.size());
}
BENCHMARK(PackedAt)->Arg(16)->Arg(1000);

void PackedLowerBound(benchmark::State &state) {
    const std::string bytes = ascendingColumn(16);
    const PackedColumn column(bytes);
    const std::uint32_t last = column.at(rowCount - 1);
    bench::Random random(3);
    for (auto _ : state)
        benchmark::DoNotOptimize(column.lowerBound(random.below(last)));
    countRows(state, 1, bytes.size());
}
BENCHMARK(PackedLowerBound);

/** What the values of a column are like. */
enum Values : std::int64_t { ids, amounts, few, sentences };

const char *nameOf(Values values) {
    switch (values) {
        case ids:
            return "ids";
        case amounts:
            return "amounts";
        case few:
            return "few distinct";
        case sentences:
            break;
    }
    return "sentences";
}

std::string valueAt(Values values, std::uint32_t row, bench::Random &random,
                    const bench::Vocabulary &vocabulary) {
    switch (values) {
        case ids:
            return "person" + std::to_string(row);
        case amounts:
            return std::to_string(random.below(60000)) + "." +
                   std::to_string(random.between(10, 99));
        case few:
            return std::string(vocabulary.word(random.below(20)));
        case sentences:
            break;
    }
    std::string text;
    for (int words = 0; words < 12; ++words)
        text += std::string(words ? " " : "") + std::string(vocabulary.draw(random));
    return text;
}

constexpr std::uint32_t valueCount = 200000;

const std::vector<std::string> &valuesOf(Values values) {
    static std::vector<std::string> all[4];
    std::vector<std::string> &texts = all[values];
    if (!texts.empty()) return texts;
    bench::Random random(4);
    const bench::Vocabulary vocabulary(2);
    for (std::uint32_t row = 0; row < valueCount; ++row)
        texts.push_back(valueAt(values, row, random, vocabulary));
    return texts;
}

std::uint64_t bytesOf(const std::vector<std::string> &texts) {
    std::uint64_t bytes = 0;
    for (const std::string &text : texts)
        bytes += text.size();
    return bytes;
}

std::string packed(const std::vector<std::string> &texts) {
    zdbs::embedded::ValueColumnBuilder builder;
    for (const std::string &text : texts)
        builder.add(text);
    std::string bytes;
    builder.finish(bytes);
    return bytes;
}

const std::string &columnOf(Values values) {
    static std::string all[4];
    std::string &bytes = all[values];
    if (bytes.empty()) bytes = packed(valuesOf(values));
    return bytes;
}

void ValuesFinish(benchmark::State &state) {
    const auto values = static_cast<Values>(state.range(0));
    const std::vector<std::string> &texts = valuesOf(values);
    std::size_t size = 0;
    for (auto _ : state)
        size = packed(texts).size();
    const auto bytes = bytesOf(texts);
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.counters["of values"] = static_cast<double>(size) / static_cast<double>(bytes);
    state.SetLabel(nameOf(values));
}
BENCHMARK(ValuesFinish)->DenseRange(ids, sentences)->Unit(benchmark::kMillisecond);

struct Condition {
    Values values;
    Relation relation;
    const char *literal;
};

constexpr Condition conditions[] = {
    {ids, Relation::equal, "person144"},
    {ids, Relation::notEqual, "person144"},
    {ids, Relation::contains, "99"},
    {ids, Relation::contains, "person1444"},
    {amounts, Relation::equal, "500.50"},
    {amounts, Relation::less, "10"},
    {amounts, Relation::lessEqual, "30000"},
    {amounts, Relation::greater, "59990"},
    {amounts, Relation::greaterEqual, "30000"},
    {few, Relation::equal, "cai"},
    {few, Relation::notEqual, "cai"},
    {few, Relation::less, "m"},
    {few, Relation::contains, "a"},
    {sentences, Relation::equal, "cai"},
    {sentences, Relation::contains, "e"},
    {sentences, Relation::contains, "ai"},
    {sentences, Relation::contains, "thi"},
    {sentences, Relation::contains, "thiheal"},
    {sentences, Relation::contains, "brourclougru"},
    {sentences, Relation::contains, "nowhere to be found"},
    {sentences, Relation::notEmpty, ""},
};

const char *nameOf(Relation relation) {
    switch (relation) {
        case Relation::equal:
            return " = ";
        case Relation::notEqual:
            return " <> ";
        case Relation::less:
            return " < ";
        case Relation::lessEqual:
            return " <= ";
        case Relation::greater:
            return " > ";
        case Relation::greaterEqual:
            return " >= ";
        case Relation::contains:
            return " contain ";
        case Relation::notEmpty:
        case Relation::any:
            break;
    }
    return " are not empty";
}

std::string labelOf(const Condition &condition) {
    return std::string(nameOf(condition.values)) + nameOf(condition.relation) + condition.literal;
}

/** The rows, in the form in which they are found, and the hits in them. */
void ValuesFind(benchmark::State &state) {
    const Condition &condition = conditions[state.range(0)];
    const ValueColumn column(columnOf(condition.values));
    const ValueTest test(condition.relation, condition.literal,
                         zdbs::embedded::Comparing::asNumbers);
    zdbs::embedded::FoundCount found;
    for (auto _ : state)
        found = column.find(test).counts();
    state.SetItemsProcessed(std::int64_t{valueCount} * state.iterations());
    state.counters["found"] = static_cast<double>(found.rows);
    state.counters["hits"] = static_cast<double>(found.hits);
    state.SetLabel(labelOf(condition));
}
BENCHMARK(ValuesFind)->DenseRange(0, static_cast<int>(std::size(conditions)) - 1);

/** The number of rows alone, where an index tells it. */
void ValuesCount(benchmark::State &state) {
    const Condition &condition = conditions[state.range(0)];
    const ValueColumn column(columnOf(condition.values));
    const ValueTest test(condition.relation, condition.literal,
                         zdbs::embedded::Comparing::asNumbers);
    for (auto _ : state)
        benchmark::DoNotOptimize(column.count(test));
    state.SetLabel(labelOf(condition) + (column.count(test) ? "" : ": not without a search"));
}
BENCHMARK(ValuesCount)->DenseRange(0, static_cast<int>(std::size(conditions)) - 1);

void ValuesSelect(benchmark::State &state) {
    const Condition &condition = conditions[state.range(0)];
    const ValueColumn column(columnOf(condition.values));
    const ValueTest test(condition.relation, condition.literal,
                         zdbs::embedded::Comparing::asNumbers);
    std::vector<std::uint32_t> rows;
    for (auto _ : state) {
        rows.clear();
        column.select(test, 0, rows);
    }
    state.SetItemsProcessed(std::int64_t{valueCount} * state.iterations());
    state.counters["found"] = static_cast<double>(rows.size());
    state.SetLabel(labelOf(condition));
}
BENCHMARK(ValuesSelect)->DenseRange(0, static_cast<int>(std::size(conditions)) - 1);

}  // namespace
