#pragma once

// Runs a body on several threads released together, so that first uses and shared state
// are really contended.

#include <barrier>
#include <thread>
#include <vector>

namespace vexa::testing {

// Runs `body(i)` for i in [0, count) on `count` threads; returns when all have finished.
template <class Body> void onThreads(int count, Body body) {
    std::barrier start(count);
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            body(i);
        });
}

} // namespace vexa::testing
