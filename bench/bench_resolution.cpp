// Cost of resolving a name and of reading a folder's attributes, against the bare system
// calls that do the same work in the same run:
// - resolvePath of an existing absolute path against realpath and lstat, with links shown
//   as themselves (follow:0: the library must also ask whether the path is a link) and
//   followed (follow:1, what realpath does). Goal: at most 2 times.
// - getAttributes of a folder of 10 entries against listing it (opendir, readdir, closedir),
//   making and removing a file in it (open with O_CREAT|O_EXCL, close, unlink) and reading
//   its time (stat). Goal: at most 1.5 times.
// The items are made under the temporary folder: TMPDIR chooses the file system.

#include <vexa/io/filesystem/core/attributes.hpp>
#include <vexa/io/filesystem/core/path_resolution.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "ratio.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = foundation::storage::vfs;

// A folder holding "results.csv" and a folder "ten" of 10 files, made once for the run.
struct Items {
    Items() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vexa-bench-XXXXXX");
        folder = ::mkdtemp(pattern.data());
        std::ofstream(folder + "/results.csv") << "x";
        std::filesystem::create_directory(folder + "/ten");
        for (int i = 0; i < 10; ++i)
            std::ofstream(folder + "/ten/entry" + std::to_string(i) + ".csv") << "x";
    }
    ~Items() { std::filesystem::remove_all(folder); }
    std::string folder;
};

const Items& items() {
    static const Items made;
    return made;
}

void BM_RatioResolveExistingPath(benchmark::State& state) {
    const std::string path = items().folder + "/results.csv";
    const fl::ustring text = fl::i18n::to_ustring(path);
    const core::ResolvePathOptions options{state.range(0) != 0, false, false};
    const auto [ours, reference] = vexa::bench::reportRatio(
        state, [&] { benchmark::DoNotOptimize(core::resolvePath(text, options)); },
        [&] {
            char* resolved = ::realpath(path.c_str(), nullptr);
            struct stat st {};
            benchmark::DoNotOptimize(::lstat(resolved, &st));
            std::free(resolved);
        },
        "syscalls_ns", 50000);
    vexa::bench::reportGoal(state, 2, ours, reference, 2 * reference);
}
BENCHMARK(BM_RatioResolveExistingPath)
    ->ArgName("follow")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

void BM_RatioFolderAttributes(benchmark::State& state) {
    const std::string path = items().folder + "/ten";
    const std::string probe = path + "/probe";
    const vfs::Folder folder(vfs::AbsoluteIRI(fl::i18n::to_ustring(path)),
                             Quarrow::VexaStorageSystem::GetStorageSystemReference());
    const auto [ours, reference] = vexa::bench::reportRatio(
        state, [&] { benchmark::DoNotOptimize(core::getAttributes(folder, {})); },
        [&] {
            DIR* listing = ::opendir(path.c_str());
            while (const dirent* entry = ::readdir(listing))
                benchmark::DoNotOptimize(entry);
            ::closedir(listing);
            ::close(::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            ::unlink(probe.c_str());
            struct stat st {};
            benchmark::DoNotOptimize(::stat(path.c_str(), &st));
        },
        "syscalls_ns", 20000);
    vexa::bench::reportGoal(state, 1.5, ours, reference, 1.5 * reference);
}
BENCHMARK(BM_RatioFolderAttributes)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
