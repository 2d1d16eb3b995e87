#pragma once

// Timing two ways of doing the same work back to back in one run, so that a ratio does not
// depend on the machine's load between two separate benchmarks.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
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

// Whether a figure is a time some work took: a side that made no call, or a clock gone
// wrong, gives none, and no goal is met by it.
inline bool isMeasured(double ns) {
    return std::isfinite(ns) && ns > 0;
}

// Sets the `goal` counter and `met`, which scripts/bench --check reads: 1 only when both
// figures were measured and ours is at most `allowedNs`, the most the goal allows.
inline void reportGoal(benchmark::State& state, double goal, double oursNs, double referenceNs,
                       double allowedNs) {
    state.counters["goal"] = goal;
    state.counters["met"] = isMeasured(oursNs) && isMeasured(referenceNs) &&
                            isMeasured(allowedNs) && oursNs <= allowedNs;
}

// The same for a figure with a limit of its own (bytes, say): met when it was measured and
// is at most `limit`.
inline void reportLimit(benchmark::State& state, double figure, double limit) {
    state.counters["goal"] = limit;
    state.counters["met"] = isMeasured(figure) && figure <= limit;
}

// Reports ours_ns, the reference's ns under `referenceName`, and their ratio. The two sides
// take turns over several rounds and each keeps its fastest round: another process busy on
// the machine slows a round, never speeds one up, so the fastest is the least disturbed.
// `calls` is spread over the rounds, at least one call per round. Returns the two figures
// for counters of the caller's own.
template <class Ours, class Reference>
std::pair<double, double> reportRatio(benchmark::State& state, Ours ours, Reference reference,
                                      const char* referenceName, int calls = 200000) {
    constexpr int rounds = 10;
    const int callsPerRound = std::max(1, calls / rounds);
    double oursNs = 0, referenceNs = 0;
    for (auto _ : state) {
        oursNs = referenceNs = std::numeric_limits<double>::infinity();
        for (int round = 0; round < rounds; ++round) {
            oursNs = std::min(oursNs, nsPerCall(ours, callsPerRound));
            referenceNs = std::min(referenceNs, nsPerCall(reference, callsPerRound));
        }
        state.counters["ours_ns"] = oursNs;
        state.counters[referenceName] = referenceNs;
        state.counters["ratio"] = oursNs / referenceNs;
    }
    return {oursNs, referenceNs};
}

} // namespace vexa::bench
