// The scanner and the parser of requests.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "foundation/string_buffer.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace {

const char *const requests[] = {
    "/site",
    "/site/regions//item/name",
    "//person[address/country='Japan'][profile/@income>50000]",
    "//open-auction/bidder[position()=last()] | //item[contains(description,'gold')]/name",
};

std::string longRequest() {
    std::string request = "//a";
    for (int i = 0; i < 1000; ++i)
        request += "/step" + std::to_string(i) + "[@id='" + std::to_string(i) + "']";
    return request;
}

std::string requestOf(const benchmark::State &state) {
    const auto number = static_cast<std::size_t>(state.range(0));
    return number < std::size(requests) ? requests[number] : longRequest();
}

void countBytes(benchmark::State &state, const std::string &request) {
    state.SetBytesProcessed(static_cast<std::int64_t>(request.size()) * state.iterations());
    state.SetLabel(request.size() < 100 ? request : "1000 steps with predicates");
}

std::size_t scan(const std::string &request) {
    yyscan_t scanner = nullptr;
    if (xpath_lex_init_extra(nullptr, &scanner) != 0) return 0;
    xpath__scan_string(request.c_str(), scanner);
    std::size_t tokens = 0;
    XPATH_STYPE value{};
    for (int token = xpath_lex(&value, scanner); token != 0; token = xpath_lex(&value, scanner)) {
        ++tokens;
        // Without a driver the texts of tokens are the caller's.
        if (token == NCNAME || token == STRING_CONST) std::free(value.s);
    }
    xpath_lex_destroy(scanner);
    return tokens;
}

void Scan(benchmark::State &state) {
    const std::string request = requestOf(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(scan(request));
    countBytes(state, request);
}
BENCHMARK(Scan)->DenseRange(0, 4);

void Parse(benchmark::State &state) {
    const std::string request = requestOf(state);
    for (auto _ : state) {
        ZXParserMain parser;
        CStringBuffer error(256);
        const std::unique_ptr<XPathStatement> tree(parser.Parse(request.c_str(), &error));
        if (!tree) state.SkipWithError("not parsed");
    }
    countBytes(state, request);
}
BENCHMARK(Parse)->DenseRange(0, 4);

}  // namespace
