// What a load consists of: conversion, unpacking, and all of it with the store.
#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>
#include <zlib.h>
#include <zstd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/parts/site_database.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"
#include "zdbs/load/utf8_input.h"

namespace {

namespace fs = std::filesystem;

std::string declaredAs(const std::string &encoding) {
    const std::string &text = bench::siteText();
    return "<?xml version='1.0' encoding='" + encoding + "'?>" + text.substr(text.find('\n'));
}

std::string recoded(const std::string &text, const char *encoding) {
    std::string bytes(4 * text.size() + 16, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t size =
        ::ucnv_convert(encoding, "UTF-8", bytes.data(), static_cast<std::int32_t>(bytes.size()),
                       text.data(), static_cast<std::int32_t>(text.size()), &error);
    if (U_FAILURE(error)) throw std::runtime_error(u_errorName(error));
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

constexpr const char *encodings[] = {"UTF-8",     "ISO-8859-1", "UTF-16LE",    "UTF-32BE",
                                     "Shift_JIS", "GB18030",    "ISO-2022-JP", "IBM1047"};

void countBytes(benchmark::State &state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void LoadDecode(benchmark::State &state) {
    const char *encoding = encodings[state.range(0)];
    const std::string bytes = recoded(declaredAs(encoding), encoding);
    std::string buffer(256 * 1024, '\0');
    for (auto _ : state) {
        const auto source = zdbs::openText(bytes);
        zdbs::Utf8Input input(*source, "site.xml");
        while (input.read(buffer) > 0) {
        }
    }
    countBytes(state, bytes.size());
    state.SetLabel(encoding);
}
BENCHMARK(LoadDecode)
    ->DenseRange(0, static_cast<int>(std::size(encodings)) - 1)
    ->Unit(benchmark::kMillisecond);

/** A file that goes with the object. */
class PackedFile {
public:
    explicit PackedFile(bool isZstd)
        : path_(fs::temp_directory_path() / ("vexa-bench-" + std::to_string(::getpid()))) {
        std::ofstream(path_, std::ios::binary) << (isZstd ? zstd() : gzip());
    }
    ~PackedFile() { fs::remove(path_); }
    PackedFile(const PackedFile &) = delete;
    PackedFile &operator=(const PackedFile &) = delete;

    const fs::path &path() const { return path_; }

private:
    static std::string zstd() {
        const std::string &text = bench::siteText();
        std::string packed(::ZSTD_compressBound(text.size()), '\0');
        packed.resize(::ZSTD_compress(packed.data(), packed.size(), text.data(), text.size(), 3));
        return packed;
    }

    static std::string gzip() {
        std::string text = bench::siteText();
        std::string packed(text.size() + 1024, '\0');
        z_stream stream{};
        constexpr int gzipFormat = 16 + MAX_WBITS;
        ::deflateInit2(&stream, 6, Z_DEFLATED, gzipFormat, 8, Z_DEFAULT_STRATEGY);
        stream.next_in = reinterpret_cast<Bytef *>(text.data());
        stream.avail_in = static_cast<uInt>(text.size());
        stream.next_out = reinterpret_cast<Bytef *>(packed.data());
        stream.avail_out = static_cast<uInt>(packed.size());
        ::deflate(&stream, Z_FINISH);
        packed.resize(stream.total_out);
        ::deflateEnd(&stream);
        return packed;
    }

    fs::path path_;
};

void LoadUnpack(benchmark::State &state) {
    const bool isZstd = state.range(0) != 0;
    const PackedFile file(isZstd);
    std::string buffer(256 * 1024, '\0');
    for (auto _ : state) {
        const auto input = zdbs::openFile(file.path());
        while (input->read(buffer) > 0) {
        }
    }
    countBytes(state, bench::siteText().size());
    state.SetLabel(isZstd ? "zstd" : "gzip");
}
BENCHMARK(LoadUnpack)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

/** An empty database in a folder that goes with the object. */
class EmptyDatabase {
public:
    EmptyDatabase() {
        std::string form = fs::temp_directory_path() / "vexa-bench-XXXXXX";
        if (!::mkdtemp(form.data())) throw std::runtime_error("cannot make a folder");
        path_ = form;
        home_ = zdbs::embedded::Home::create(path_ / "home");
        home_->createDatabase("site");
    }
    ~EmptyDatabase() {
        home_.reset();
        fs::remove_all(path_);
    }
    EmptyDatabase(const EmptyDatabase &) = delete;
    EmptyDatabase &operator=(const EmptyDatabase &) = delete;

    zdbs::embedded::Home &home() { return *home_; }

private:
    fs::path path_;
    std::shared_ptr<zdbs::embedded::Home> home_;
};

void LoadWhole(benchmark::State &state) {
    const std::string &text = bench::siteText();
    for (auto _ : state) {
        state.PauseTiming();
        auto database = std::make_unique<EmptyDatabase>();
        state.ResumeTiming();
        auto writer = database->home().write("site");
        zdbs::Loader(*writer).load(*zdbs::openText(text), "site.xml", "site.xml");
        writer->commit();
        writer.reset();
        state.PauseTiming();
        database.reset();
        state.ResumeTiming();
    }
    countBytes(state, text.size());
}
BENCHMARK(LoadWhole)->Unit(benchmark::kMillisecond)->UseRealTime();

void LoadManySmall(benchmark::State &state) {
    constexpr int documents = 1000;
    const std::string text = "<record id='1'><title>a few words</title><year>1999</year></record>";
    for (auto _ : state) {
        state.PauseTiming();
        auto database = std::make_unique<EmptyDatabase>();
        state.ResumeTiming();
        auto writer = database->home().write("site");
        zdbs::Loader loader(*writer);
        for (int i = 0; i < documents; ++i)
            loader.load(*zdbs::openText(text), "r.xml", std::to_string(i));
        writer->commit();
        writer.reset();
        state.PauseTiming();
        database.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(documents * state.iterations());
}
BENCHMARK(LoadManySmall)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
