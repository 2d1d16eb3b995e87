#pragma once

// The host's search path: an ordered list of folders whose package ("+name"), class
// ("@name") and "private" subfolders the host knows about. When a folder changes, the
// entries at or above it are marked out of date until the next refresh rescans them.

#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <fl/ustring.hpp>

#include <cstddef>
#include <mutex>
#include <vector>

namespace Quarrow::PathManagement {

struct PathEntry {
    fl::ustring folder;                         // as it was put on the path, made absolute
    bool outOfDate = true;                      // until the first scan
    std::size_t notifications = 0;              // changes reported at or below the entry
    std::size_t scans = 0;                      // rescans so far
    std::vector<fl::ustring> specialSubfolders; // names found by the last scan, sorted
};

class PathManager {
public:
    PathManager() = default;
    // Folders relative to the current folder are made absolute when the path is set;
    // FailedToAbsolutizeException for a text that cannot be, or that names no local folder
    // (the path is then left as it was).
    explicit PathManager(const std::vector<fl::ustring>& folders);

    void SetSearchPath(const std::vector<fl::ustring>& folders);
    std::vector<fl::ustring> GetSearchPath() const;
    std::vector<PathEntry> GetEntries() const;
    // Every notification received, whether or not it touched an entry.
    std::size_t GetNotificationCount() const;

    // Special subfolders at or below `folder` may have appeared or gone: marks every entry
    // that is `folder` or one of its ancestors.
    void NotifyUpstreamPathEntriesOfPossibleSpecialSubfolderChanges(
        const foundation::storage::vfs::AbsoluteIRI& folder);

    // Rescans the special subfolders: every entry with 0, only the out-of-date ones
    // otherwise. An entry whose folder is missing or unreadable has none.
    void Refresh(int scope);

private:
    struct Entry {
        PathEntry state;
        fl::ustring iriText; // compared with notified folders
    };

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
    std::size_t notifications_ = 0;
};

} // namespace Quarrow::PathManagement
