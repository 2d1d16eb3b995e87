// Cost of getExtendedExistenceType against the bare system calls it needs: lstat for a file
// and a missing item, lstat and stat for a link. Goal: at most 1.5 times their cost plus
// 150 ns.

#include <vexa/io/filesystem/core/existence.hpp>

#include <fl/i18n.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "ratio.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace core = vexa::io::filesystem::core;

// A folder with a file, a link to it, and no "missing", made once for the whole run.
struct Items {
    Items() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vexa-bench-XXXXXX");
        folder = ::mkdtemp(pattern.data());
        std::ofstream(folder + "/results.csv") << "x";
        std::filesystem::create_symlink("results.csv", folder + "/latest.csv");
    }
    ~Items() { std::filesystem::remove_all(folder); }
    std::string path(const char* name) const { return folder + "/" + name; }
    foundation::storage::vfs::AbsoluteIRI iri(const char* name) const {
        return foundation::storage::vfs::AbsoluteIRI(fl::i18n::to_ustring(path(name)));
    }
    std::string folder;
};

const Items& items() {
    static const Items made;
    return made;
}

void bare(const std::string& path, bool link) {
    struct stat st {};
    benchmark::DoNotOptimize(::lstat(path.c_str(), &st));
    if (link)
        benchmark::DoNotOptimize(::stat(path.c_str(), &st));
}

void compare(benchmark::State& state, const char* name, bool link) {
    const auto iri = items().iri(name);
    const std::string path = items().path(name);
    const auto [ours, reference] = vexa::bench::reportRatio(
        state, [&] { benchmark::DoNotOptimize(core::getExtendedExistenceType(iri, false)); },
        [&] { bare(path, link); }, "syscalls_ns", 100000);
    vexa::bench::reportGoal(state, 1.5, ours, reference, 1.5 * reference + 150);
    state.counters["goal_ns"] = 1.5 * reference + 150;
}

void BM_RatioExistenceFile(benchmark::State& state) {
    compare(state, "results.csv", false);
}
BENCHMARK(BM_RatioExistenceFile)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_RatioExistenceLink(benchmark::State& state) {
    compare(state, "latest.csv", true);
}
BENCHMARK(BM_RatioExistenceLink)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_RatioExistenceMissing(benchmark::State& state) {
    compare(state, "missing.csv", false);
}
BENCHMARK(BM_RatioExistenceMissing)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
