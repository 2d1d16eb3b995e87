#include "transfer.hpp"

#include "arguments.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/IODevice.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <exception>
#include <iostream>
#include <thread>
#include <utility>
#include <vector>

namespace vexafs {
namespace vfs = foundation::storage::vfs;
namespace provider = foundation::storage::provider;

namespace {

std::string inUnits(double bytes) {
    const char* units[] = {"B", "kB", "MB", "GB", "TB"};
    int unit = 0;
    while (bytes >= 1000 && unit < 4) {
        bytes /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
    return text;
}

} // namespace

Progress::Progress(std::optional<std::uint64_t> total, bool shown) : total_(total), shown_(shown) {}

Progress::~Progress() {
    const std::lock_guard lock(mutex_);
    if (shown_ && (bytes_ > 0 || files_ > 0))
        show(true);
}

double Progress::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

std::uint64_t Progress::bytes() const {
    const std::lock_guard lock(mutex_);
    return bytes_;
}

std::uint64_t Progress::files() const {
    const std::lock_guard lock(mutex_);
    return files_;
}

void Progress::add(std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    bytes_ += bytes;
    // A few lines a second are enough to read, and cost nothing next to the copy.
    if (shown_ && std::chrono::steady_clock::now() - lastShown_ > std::chrono::milliseconds(200))
        show(false);
}

void Progress::addFile() {
    const std::lock_guard lock(mutex_);
    ++files_;
    // Many small files move few bytes each: the line follows them too.
    if (shown_ && std::chrono::steady_clock::now() - lastShown_ > std::chrono::milliseconds(200))
        show(false);
}

void Progress::show(bool last) {
    lastShown_ = std::chrono::steady_clock::now();
    const double elapsed = seconds();
    const double rate = elapsed > 0 ? static_cast<double>(bytes_) / elapsed : 0;
    std::string line(1, '\r');
    if (!total_)
        line += std::to_string(files_) + (files_ == 1 ? " file  " : " files  ");
    line += inUnits(static_cast<double>(bytes_));
    line += "  ";
    line += inUnits(rate);
    line += "/s";
    if (total_ && !last && rate > 0 && *total_ > bytes_) {
        const auto left = static_cast<long>(static_cast<double>(*total_ - bytes_) / rate);
        char text[32];
        std::snprintf(text, sizeof text, "  %ld:%02ld left", left / 60, left % 60);
        line += text;
    }
    line += last ? "\n" : "\x1b[K";
    std::cerr << line << std::flush;
}

Transfer transferOf(const std::string& sourceText, const std::string& destinationText) {
    auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
    auto source = locationOf(fl::i18n::to_ustring(sourceText));
    auto destination = locationOf(fl::i18n::to_ustring(destinationText));
    // A destination that cannot be looked at is taken as named: writing to it tells why.
    const bool intoFolder = virtualfileio::answeringFailures(
        [&] { return vfs::exists(destination, storage) == vfs::existence::folder; },
        [] {
            try {
                throw;
            } catch (const vfs::Exception&) {
                return false;
            }
        });
    if (intoFolder)
        destination =
            vfs::CanonicalAbsoluteIRI(vfs::CanonicalAbsoluteIRI(destination), source.getName());
    return {std::move(storage), std::move(source), std::move(destination)};
}

void copyFile(const vfs::File& from, const vfs::File& to, Progress& progress,
              Interruptions& interruptions) {
    // The source is opened before the target is touched: one that cannot be read leaves it
    // as it was.
    vfs::IODevice device(from);
    // The size where the source's stream knows it for sure: a share takes a body of known
    // length faster, and a source that grows or shrinks meanwhile fails the copy there.
    vfs::WriteStream stream = to.openForWriting(vfs::WriteMode::replace, device.stream().size());
    stream.writeFrom(device, [&](std::size_t moved) { progress.add(moved); });
    interruptions.holdingOff([&] { stream.close(); });
    progress.addFile();
}

namespace {

// The copies of a folder's files, made by worker threads while the walk of the folder goes
// on, or by the walk itself with one job. The first failure is kept and the copies not yet
// started are dropped.
class Copies {
public:
    Copies(unsigned jobs, const vfs::StorageSystemReference& storage, Progress& progress,
           Interruptions& interruptions)
        : storage_(storage), progress_(progress), interruptions_(interruptions),
          room_(2 * std::size_t{jobs}) {
        // No worker ends before the queue is closed or a copy fails, which only comes
        // after they are all counted.
        try {
            if (jobs > 1)
                for (unsigned job = 0; job < jobs; ++job)
                    workers_.emplace_back([this] { work(); });
        } catch (...) {
            count();
            close(); // the workers made end, and are joined as the member goes
            throw;
        }
        count();
    }
    Copies(const Copies&) = delete;
    Copies& operator=(const Copies&) = delete;
    ~Copies() { close(); } // then the workers are joined, as the last members

    // Copies `from` to `to`, or hands the copy to a worker once one is nearly free: a large
    // tree is walked no faster than it is copied.
    void add(vfs::AbsoluteIRI from, vfs::AbsoluteIRI to) {
        if (workers_.empty()) {
            copy({std::move(from), std::move(to)});
            return;
        }
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return failure_ || waiting_.size() < room_; });
        if (failure_)
            return;
        waiting_.push_back({std::move(from), std::move(to)});
        changed_.notify_all();
    }

    void fail(std::exception_ptr failure) {
        const std::lock_guard lock(mutex_);
        if (!failure_)
            failure_ = std::move(failure);
        waiting_.clear();
        changed_.notify_all();
    }

    bool failed() const {
        const std::lock_guard lock(mutex_);
        return failure_ != nullptr;
    }

    // Waits for the copies handed on to end; the first failure passes on.
    void finish() {
        close();
        workers_.clear();
        if (failure_)
            std::rethrow_exception(failure_);
    }

private:
    struct Item {
        vfs::AbsoluteIRI from, to;
    };

    void copy(const Item& item) {
        copyFile(vfs::File(item.from, storage_), vfs::File(item.to, storage_), progress_,
                 interruptions_);
    }

    void work() {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [&] { return failure_ || closed_ || !waiting_.empty(); });
            if (failure_ || waiting_.empty())
                break;
            const Item item = std::move(waiting_.front());
            waiting_.pop_front();
            changed_.notify_all();
            lock.unlock();
            try {
                copy(item);
            } catch (...) {
                fail(std::current_exception());
            }
            lock.lock();
        }
        // The workers end together, once the last copy is done, and are joined at once: an
        // interruption ends the program with no thread that ended long before anyone
        // joined it, only threads still at work.
        --working_;
        changed_.notify_all();
        changed_.wait(lock, [&] { return working_ == 0; });
    }

    void count() {
        const std::lock_guard lock(mutex_);
        working_ = workers_.size();
    }

    void close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        changed_.notify_all();
    }

    const vfs::StorageSystemReference& storage_;
    Progress& progress_;
    Interruptions& interruptions_;
    const std::size_t room_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Item> waiting_;
    bool closed_ = false;
    std::size_t working_ = 0;
    std::exception_ptr failure_;
    std::vector<std::jthread> workers_;
};

// Whether the walk enters an entry: a link is copied as what it leads to, as its content is
// what a reader sees, and only a link or an entry the listing did not type costs a look.
bool entered(const provider::FolderEntry& entry, const vfs::AbsoluteIRI& item,
             const vfs::StorageSystemReference& storage) {
    if (entry.type == provider::ItemType::Link || entry.type == provider::ItemType::Nothing)
        return vfs::exists(item, storage) == vfs::existence::folder;
    return entry.type == provider::ItemType::Folder;
}

} // namespace

void copyFolder(const vfs::AbsoluteIRI& from, const vfs::AbsoluteIRI& to,
                const vfs::StorageSystemReference& storage, Progress& progress,
                Interruptions& interruptions, unsigned jobs) {
    Copies copies(jobs, storage, progress, interruptions);
    try {
        // The folders still to copy. A folder's subfolders wait for the end of its listing,
        // so that one listing is open at a time however deep the tree.
        std::vector<std::pair<vfs::AbsoluteIRI, vfs::AbsoluteIRI>> folders{{from, to}};
        while (!folders.empty() && !copies.failed()) {
            const auto [source, target] = std::move(folders.back());
            folders.pop_back();
            vfs::Folder(target, storage).createFolderRecursive();
            const vfs::CanonicalAbsoluteIRI sourceBase(source), targetBase(target);
            const auto cursor = vfs::Folder(source, storage).listPages(u"");
            for (auto page = cursor->next(); !page.empty() && !copies.failed();
                 page = cursor->next())
                for (const provider::FolderEntry& entry : page) {
                    vfs::AbsoluteIRI item = vfs::CanonicalAbsoluteIRI(sourceBase, entry.name);
                    vfs::AbsoluteIRI copy = vfs::CanonicalAbsoluteIRI(targetBase, entry.name);
                    if (entered(entry, item, storage))
                        folders.emplace_back(std::move(item), std::move(copy));
                    else
                        copies.add(std::move(item), std::move(copy));
                }
        }
    } catch (...) {
        copies.fail(std::current_exception());
    }
    copies.finish();
}

} // namespace vexafs
