// UTF-8 <-> UTF-16 conversion throughput on path-like text, beside the standard
// library's codecvt in the same run. Bytes processed are counted on the UTF-8 side.

#include <fl/i18n.hpp>

#include <benchmark/benchmark.h>

#include <codecvt>
#include <locale>
#include <string>

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
using Codecvt = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;
#pragma GCC diagnostic pop

// Roughly 4 KiB of text made of paths, so each call does real work.
std::string corpus(bool mixed) {
    const std::string ascii = "/home/analyst/projects/model/data/run-0042/results.csv:";
    const std::string other = "/donn\xC3\xA9" "es/\xE6\x97\xA5\xE6\x9C\xAC/r\xC3\xA9sultats-"
                              "\xD0\xB4\xD0\xB0\xD0\xBD\xD0\xBD\xD1\x8B\xD0\xB5.csv:";
    std::string text;
    while (text.size() < 4096)
        text += mixed ? ascii + other : ascii;
    return text;
}

void BM_Utf8ToUtf16(benchmark::State& state) {
    const std::string text = corpus(state.range(0) != 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(fl::i18n::to_ustring(text));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Utf8ToUtf16)->ArgName("mixed")->Arg(0)->Arg(1);

void BM_Utf16ToUtf8(benchmark::State& state) {
    const std::string text = corpus(state.range(0) != 0);
    const std::u16string wide = fl::i18n::to_ustring(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(fl::i18n::to_string(wide));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Utf16ToUtf8)->ArgName("mixed")->Arg(0)->Arg(1);

void BM_CodecvtUtf8ToUtf16(benchmark::State& state) {
    const std::string text = corpus(state.range(0) != 0);
    Codecvt convert;
    for (auto _ : state)
        benchmark::DoNotOptimize(convert.from_bytes(text));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_CodecvtUtf8ToUtf16)->ArgName("mixed")->Arg(0)->Arg(1);

void BM_CodecvtUtf16ToUtf8(benchmark::State& state) {
    const std::string text = corpus(state.range(0) != 0);
    Codecvt convert;
    const std::u16string wide = convert.from_bytes(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(convert.to_bytes(wide));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_CodecvtUtf16ToUtf8)->ArgName("mixed")->Arg(0)->Arg(1);

// A single typical path: the per-call overhead a path operation pays.
void BM_Utf16ToUtf8OnePath(benchmark::State& state) {
    const std::u16string path = u"/home/analyst/projects/model/data/run-0042/results.csv";
    for (auto _ : state)
        benchmark::DoNotOptimize(fl::i18n::to_string(path));
}
BENCHMARK(BM_Utf16ToUtf8OnePath);

} // namespace
