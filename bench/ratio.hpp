#pragma once

// Timing two ways of doing the same work back to back in one run, so that a ratio does not
// depend on the machine's load between two separate benchmarks.

#include <benchmark/benchmark.h>

#include <chrono>

namespace vexa::bench {

// ns per call of `work`, over enough calls to steady the figure.
template <class Work> double nsPerCall(Work work, int calls = 200000) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i)
        work();
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

// Reports ours_ns, the reference's ns under `referenceName`, and their ratio. The two run in
// alternating rounds, so that a drift of the machine's state during the run (the load of
// other processes, a file system's growing list of recently freed inodes) weighs on both
// alike. Returns the two figures for counters of the caller's own.
template <class Ours, class Reference>
std::pair<double, double> reportRatio(benchmark::State& state, Ours ours, Reference reference,
                                      const char* referenceName, int calls = 200000,
                                      int rounds = 10) {
    double oursNs = 0, referenceNs = 0;
    for (auto _ : state) {
        oursNs = referenceNs = 0;
        for (int round = 0; round < rounds; ++round) {
            oursNs += nsPerCall(ours, calls / rounds) / rounds;
            referenceNs += nsPerCall(reference, calls / rounds) / rounds;
        }
        state.counters["ours_ns"] = oursNs;
        state.counters[referenceName] = referenceNs;
        state.counters["ratio"] = oursNs / referenceNs;
    }
    return {oursNs, referenceNs};
}

} // namespace vexa::bench
