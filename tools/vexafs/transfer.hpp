#pragma once

// What cp and mv share: content copied from any storage that reads to any that writes,
// streamed, each target replaced only once all of its content arrived.

#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/File.hpp>
#include <foundation/storage/vfs/StorageSystem.hpp>

#include "interruptions.hpp"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace vexafs {

// Bytes and files copied so far, shown on standard error as they go, on one line however
// many threads copy: bytes, rate and, when the total is known, the time left; when it is
// not (a folder's copy), the files done.
class Progress {
public:
    // Shown only when `shown` (cp shows it on a terminal).
    Progress(std::optional<std::uint64_t> total, bool shown);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Each may be called from several threads at once.
    void add(std::uint64_t bytes);
    void addFile();
    std::uint64_t bytes() const;
    std::uint64_t files() const;
    double seconds() const;

private:
    void show(bool last);

    mutable std::mutex mutex_;
    std::optional<std::uint64_t> total_;
    std::uint64_t bytes_ = 0;
    std::uint64_t files_ = 0;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point lastShown_ = start_;
    bool shown_;
};

// What a copy or a move goes from and to, in the host's storage: the user's texts as
// locations, a destination folder taking the item under the source's own name.
struct Transfer {
    foundation::storage::vfs::StorageSystemReference storage;
    foundation::storage::vfs::AbsoluteIRI source;
    foundation::storage::vfs::AbsoluteIRI target;
};
Transfer transferOf(const std::string& source, const std::string& destination);

// The file's content into `to`, which holds the old content or all of the new.
// An interruption ends the program either before the commit or after it.
void copyFile(const foundation::storage::vfs::File& from, const foundation::storage::vfs::File& to,
              Progress& progress, Interruptions& interruptions);

// A folder's items, folders within it included, into `to`, made where it is missing; each
// folder is made before anything is copied into it. `jobs` files are copied at once, by
// threads of their own when more than one. The first failure ends the copy: no file's copy
// starts after it, those under way end (each replaces its target or leaves it as it was),
// and it passes on.
void copyFolder(const foundation::storage::vfs::AbsoluteIRI& from,
                const foundation::storage::vfs::AbsoluteIRI& to,
                const foundation::storage::vfs::StorageSystemReference& storage, Progress& progress,
                Interruptions& interruptions, unsigned jobs);

} // namespace vexafs
