// Cost of a recursive listing with FileListCreator::AddFiles against the least any listing
// can do: getdents64 per folder, each entry's type taken from d_type, its path built and
// kept, nothing stat'ed. Over a generated tree of 100,000 entries ten levels deep, files and
// folders mixed. Goals: at most 1.3 times that walk without IRIs, 1.6 times with them; a
// peak of at most 250 bytes per entry allocated while the creator lists without IRIs, 450
// with them. The same walk with a stat per entry is reported beside, for reference.
//
// Reading every folder of the tree through the `file` provider's cursor, as the listing
// service takes entries, is compared with the way the provider read a folder before it had
// one: readdir into a whole vector of entries, moved out. Goal: no slower; the two measure
// the same within a few per cent, so the goal allows 1.05 for the noise of one run.
//
// `bench_listing --make-tree FOLDER` makes the same tree in FOLDER and exits, for
// bench/compare_ls.sh, which times whole processes.

#include <vexa/io/filesystem/core/file_list_creator.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <host/Listing.hpp>

#include "ratio.hpp"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// --- memory the process allocates through operator new ---------------------------------
// Counting costs every allocation the same, and the listing makes more of them than the bare
// loop: the ratios are, if anything, on the safe side.

namespace {
std::atomic<std::size_t> liveBytes{0}, peakBytes{0};

void* allocate(std::size_t size) {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr)
        throw std::bad_alloc();
    const std::size_t live = liveBytes += ::malloc_usable_size(block);
    for (std::size_t peak = peakBytes; live > peak && !peakBytes.compare_exchange_weak(peak, live);)
        ;
    return block;
}

void release(void* block) noexcept {
    if (block == nullptr)
        return;
    liveBytes -= ::malloc_usable_size(block);
    std::free(block);
}
} // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* block) noexcept {
    release(block);
}
void operator delete[](void* block) noexcept {
    release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}

namespace {

namespace core = vexa::io::filesystem::core;

constexpr int levels = 10;
constexpr std::size_t entryCount = 100000;

void makeFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0 || ::close(fd) != 0)
        throw std::runtime_error("cannot make " + path);
}

// Ten folders at the first level, ten in each of those, then ten at the third level below
// each second-level folder and one more below each folder down to the tenth level: 8,110
// folders. The other 91,890 entries are files spread evenly over every folder, the root
// included.
void makeTree(const std::string& root) {
    std::filesystem::create_directories(root);
    std::vector<std::string> folders{root}, level{root};
    for (int depth = 1; depth <= levels; ++depth) {
        const int children = depth <= 3 ? 10 : 1;
        std::vector<std::string> next;
        for (const std::string& parent : level)
            for (int i = 0; i < children; ++i) {
                next.push_back(parent + "/dir_" + std::to_string(depth) + "_" + std::to_string(i));
                std::filesystem::create_directory(next.back());
            }
        folders.insert(folders.end(), next.begin(), next.end());
        level = std::move(next);
    }
    const std::size_t files = entryCount - (folders.size() - 1);
    for (std::size_t i = 0; i < files; ++i)
        makeFile(folders[i % folders.size()] + "/data_" + std::to_string(i) + ".csv");
}

struct Tree {
    Tree() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vexa-bench-XXXXXX");
        root = std::string(::mkdtemp(pattern.data())) + "/tree";
        makeTree(root);
    }
    ~Tree() { std::filesystem::remove_all(std::filesystem::path(root).parent_path()); }
    std::string root;
};

const Tree& tree() {
    static const Tree made;
    return made;
}

// The bare loop: the folder read in getdents64 batches, each entry's path built, kept and
// stat'ed, folders entered. With `typed`, the entry's d_type says whether it is a folder
// and nothing is stat'ed: the least any listing can do, for comparison.
void bareWalk(const std::string& folder, std::vector<std::string>& paths, bool typed) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    alignas(8) char buffer[32768];
    std::vector<std::pair<std::string, unsigned char>> names;
    for (;;) {
        const long got = ::syscall(SYS_getdents64, fd, buffer, sizeof buffer);
        if (got <= 0)
            break;
        for (long at = 0; at < got;) {
            const auto* entry = reinterpret_cast<const struct dirent64*>(buffer + at);
            const char* name = entry->d_name;
            if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
                names.emplace_back(name, entry->d_type);
            at += entry->d_reclen;
        }
    }
    ::close(fd);
    for (const auto& [name, type] : names) {
        std::string path = folder + "/" + name;
        struct stat st {};
        if (typed ? type == DT_DIR : ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            bareWalk(path, paths, typed);
        paths.push_back(std::move(path));
    }
}

std::size_t bare(bool typed = false) {
    std::vector<std::string> paths;
    bareWalk(tree().root, paths, typed);
    return paths.size();
}

// Counted where the creator keeps them: GetNameList's copy of every path is the caller's
// work, not the listing's, and the bare walk makes none.
std::size_t ours(bool makeIRIs) {
    core::FileListCreator creator;
    creator.AddFiles(fl::i18n::to_ustring(tree().root + "/*"), boost::none, makeIRIs, true, false);
    std::size_t count = 0;
    creator.VisitNames([&](fl::ustring_view, std::string_view) { ++count; });
    return count;
}

void compare(benchmark::State& state, bool makeIRIs, double goal) {
    if (ours(makeIRIs) != entryCount || bare() != entryCount) {
        state.SkipWithError("the listing did not find every entry");
        return;
    }
    const auto [oursNs, referenceNs] = vexa::bench::reportRatio(
        state, [&] { benchmark::DoNotOptimize(ours(makeIRIs)); },
        [&] { benchmark::DoNotOptimize(bare(true)); }, "getdents_typed_ns", 10);
    vexa::bench::reportGoal(state, goal, oursNs, referenceNs, goal * referenceNs);
    const double statNs = vexa::bench::nsPerCall([] { benchmark::DoNotOptimize(bare()); }, 3);
    state.counters["with_stat_ns"] = statNs;
    state.counters["ratio_with_stat"] = oursNs / statNs;
}

void BM_RatioListingRecursive(benchmark::State& state) {
    compare(state, false, 1.3);
}
BENCHMARK(BM_RatioListingRecursive)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_RatioListingRecursiveWithIRIs(benchmark::State& state) {
    compare(state, true, 1.6);
}
BENCHMARK(BM_RatioListingRecursiveWithIRIs)->Iterations(1)->Unit(benchmark::kMillisecond);

// The most the creator's lists and the listing's work hold at once, and what the lists keep.
void memory(benchmark::State& state, bool makeIRIs, double limit) {
    for (auto _ : state) {
        const std::size_t before = liveBytes;
        peakBytes = before;
        core::FileListCreator creator;
        creator.AddFiles(fl::i18n::to_ustring(tree().root + "/*"), boost::none, makeIRIs, true,
                         false);
        const std::size_t peak = peakBytes - before, held = liveBytes - before;
        state.counters["peak_MB"] = static_cast<double>(peak) / 1e6;
        state.counters["held_MB"] = static_cast<double>(held) / 1e6;
        const double perEntry = static_cast<double>(peak) / static_cast<double>(entryCount);
        state.counters["peak_bytes_per_entry"] = perEntry;
        vexa::bench::reportLimit(state, perEntry, limit);
        // Asked last: the copy it returns is the caller's, not the listing's.
        const std::size_t entries = creator.GetNameList().size();
        state.counters["entries"] = static_cast<double>(entries);
        if (entries != entryCount)
            state.SkipWithError("the listing did not find every entry");
    }
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    state.counters["process_max_rss_MB"] = static_cast<double>(usage.ru_maxrss) / 1e3;
}

void BM_MemoryListingRecursive(benchmark::State& state) {
    memory(state, false, 250);
}
BENCHMARK(BM_MemoryListingRecursive)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_MemoryListingRecursiveWithIRIs(benchmark::State& state) {
    memory(state, true, 450);
}
BENCHMARK(BM_MemoryListingRecursiveWithIRIs)->Iterations(1)->Unit(benchmark::kMillisecond);

// Every folder of the tree, the root first.
std::vector<std::string> treeFolders() {
    std::vector<std::string> folders{tree().root};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(tree().root))
        if (entry.is_directory())
            folders.push_back(entry.path().string());
    return folders;
}

namespace provider = foundation::storage::provider;

// The listing service's copy of what the cursor hands, page by page.
std::size_t throughCursor(const provider::StorageProvider& files,
                          const std::vector<foundation::storage::vfs::AbsoluteIRI>& folders) {
    std::size_t count = 0;
    for (const auto& folder : folders) {
        const auto cursor = files.listPages(folder, u"*");
        auto page = cursor->next();
        std::vector<FileNameWithStat> entries;
        entries.reserve(page.size() + 2);
        for (; !page.empty(); page = cursor->next())
            for (auto& entry : page)
                entries.push_back({std::move(entry.name), entry.type});
        count += entries.size();
    }
    return count;
}

// How a folder was read before: readdir into a whole vector of entries, each name converted
// on its own, then moved into the listing service's entries.
std::size_t wholeVectors(const std::vector<std::string>& folders) {
    std::size_t count = 0;
    for (const auto& folder : folders) {
        // The entry as it was then: a name and a type.
        struct Entry {
            fl::ustring name;
            provider::ItemType type;
        };
        std::vector<Entry> listed;
        DIR* stream = ::opendir(folder.c_str());
        if (stream == nullptr)
            continue;
        while (const dirent* entry = ::readdir(stream))
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                listed.push_back({fl::i18n::to_ustring(entry->d_name),
                                  entry->d_type == DT_DIR ? provider::ItemType::Folder
                                                          : provider::ItemType::File});
        ::closedir(stream);
        std::vector<FileNameWithStat> entries;
        entries.reserve(listed.size() + 2);
        for (auto& entry : listed)
            entries.push_back({std::move(entry.name), entry.type});
        count += entries.size();
    }
    return count;
}

void BM_RatioFolderCursor(benchmark::State& state) {
    const std::vector<std::string> paths = treeFolders();
    std::vector<foundation::storage::vfs::AbsoluteIRI> folders;
    for (const std::string& path : paths)
        folders.emplace_back(fl::i18n::to_ustring("file://" + path));
    const auto files =
        Quarrow::VexaStorageSystem::GetStorageSystemReference()->findProvider("file");
    if (throughCursor(*files, folders) != entryCount || wholeVectors(paths) != entryCount) {
        state.SkipWithError("the listing did not find every entry");
        return;
    }
    const auto [oursNs, referenceNs] = vexa::bench::reportRatio(
        state, [&] { benchmark::DoNotOptimize(throughCursor(*files, folders)); },
        [&] { benchmark::DoNotOptimize(wholeVectors(paths)); }, "whole_vectors_ns", 10);
    vexa::bench::reportGoal(state, 1.05, oursNs, referenceNs, 1.05 * referenceNs);
}
BENCHMARK(BM_RatioFolderCursor)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--make-tree") {
        makeTree(argv[2]);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
