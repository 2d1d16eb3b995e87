#pragma once

// Timing two ways of doing the same work back to back in one run, so that a ratio does not
// depend on the machine's load between two separate benchmarks.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

namespace vexa::bench {

// ns per call of `work`, over enough calls to steady the figure.
template <class Work> double nsPerCall(Work work, int calls = 200000) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i)
        work();
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

// Reports ours_ns, the reference's ns under `referenceName`, and their ratio. The two sides
// take turns over several rounds and each keeps its fastest round: another process busy on
// the machine slows a round, never speeds one up, so the fastest is the least disturbed.
// Returns the two figures for counters of the caller's own.
template <class Ours, class Reference>
std::pair<double, double> reportRatio(benchmark::State& state, Ours ours, Reference reference,
                                      const char* referenceName, int calls = 200000) {
    constexpr int rounds = 10;
    double oursNs = 0, referenceNs = 0;
    for (auto _ : state) {
        oursNs = referenceNs = std::numeric_limits<double>::infinity();
        for (int round = 0; round < rounds; ++round) {
            oursNs = std::min(oursNs, nsPerCall(ours, calls / rounds));
            referenceNs = std::min(referenceNs, nsPerCall(reference, calls / rounds));
        }
        state.counters["ours_ns"] = oursNs;
        state.counters[referenceName] = referenceNs;
        state.counters["ratio"] = oursNs / referenceNs;
    }
    return {oursNs, referenceNs};
}

} // namespace vexa::bench
