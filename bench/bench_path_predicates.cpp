// Cost of one call of each path predicate on paths a host sees every day.

#include <vexa/io/filesystem/core/path_predicates.hpp>

#include <benchmark/benchmark.h>

namespace {

namespace core = vexa::io::filesystem::core;

const fl::ustring unixPath = u"/home/analyst/projects/model/data/run-0042/results.csv";
const fl::ustring windowsPath = u"C:\\Users\\analyst\\Documents\\model\\results.csv";
const fl::ustring url = u"https://data.example.org/series/2026/results.csv";

void BM_GetIsAbsoluteUnix(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(core::getIsAbsolute(unixPath, false, core::FileSystemType::Unix));
}
BENCHMARK(BM_GetIsAbsoluteUnix);

void BM_GetIsAbsoluteWindows(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            core::getIsAbsolute(windowsPath, false, core::FileSystemType::Windows));
}
BENCHMARK(BM_GetIsAbsoluteWindows);

void BM_IsUNCPath(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(core::isUNCPath(windowsPath));
}
BENCHMARK(BM_IsUNCPath);

void BM_HasHttpPrefix(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(core::hasHttpPrefix(url));
}
BENCHMARK(BM_HasHttpPrefix);

void BM_GetExtension(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(core::getExtension(unixPath));
}
BENCHMARK(BM_GetExtension);

void BM_GetPathTypeFile(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            core::getPathType(windowsPath, false, core::FileSystemType::Windows));
}
BENCHMARK(BM_GetPathTypeFile);

void BM_MakeLowerCase(benchmark::State& state) {
    for (auto _ : state) {
        fl::ustring text = windowsPath;
        core::makeLowerCase(text);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_MakeLowerCase);

} // namespace
