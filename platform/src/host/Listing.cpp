#include <host/Listing.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>
#include <fl/wildcard.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

namespace fs = fl::filesystem;
namespace vfs = foundation::storage::vfs;
using foundation::storage::provider::ItemType;
using Quarrow::current_working_folder::FailedToAbsolutizeException;
using Quarrow::current_working_folder::ICurrentWorkingFolder;

// The order of operator< on the texts, with one test per unit up to the first that differs:
// the names of one folder often share a prefix, and the sort compares little else.
bool codeUnitLess(fl::ustring_view a, fl::ustring_view b) noexcept {
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t i = 0;
    while (i < common && a[i] == b[i])
        ++i;
    return i < common ? a[i] < b[i] : a.size() < b.size();
}

// Entries written over those `out` holds, so that the names' storage of one listing serves
// the next: a walk that lists folder after folder into the same vector allocates little.
class Filling {
public:
    explicit Filling(std::vector<FileNameWithStat>& out) : out_(out) {}
    ~Filling() { out_.resize(count_); }
    Filling(const Filling&) = delete;
    Filling& operator=(const Filling&) = delete;

    void add(fl::ustring_view name, ItemType type) {
        if (count_ == out_.size())
            out_.emplace_back();
        out_[count_].name.assign(name);
        out_[count_].type = type;
        ++count_;
    }
    // Sorts the entries by name. The order is found over their indices, which move at a
    // fraction of an entry's cost, and each entry then moves once, to its place.
    void sort() {
        order_.resize(count_);
        for (std::uint32_t i = 0; i < count_; ++i)
            order_[i] = i;
        std::sort(order_.begin(), order_.end(), [this](std::uint32_t a, std::uint32_t b) {
            return codeUnitLess(out_[a].name, out_[b].name);
        });
        // Follows each cycle of the permutation: the entry for place `at` is at order_[at].
        for (std::uint32_t start = 0; start < count_; ++start) {
            if (order_[start] == start)
                continue;
            FileNameWithStat moving = std::move(out_[start]);
            std::uint32_t at = start;
            while (order_[at] != start) {
                const std::uint32_t from = order_[at];
                out_[at] = std::move(out_[from]);
                order_[at] = at;
                at = from;
            }
            out_[at] = std::move(moving);
            order_[at] = at;
        }
    }

private:
    std::vector<FileNameWithStat>& out_;
    std::size_t count_ = 0;
    std::vector<std::uint32_t> order_;
};

// The entry that a last component without wildcards names, if it is there. The system
// resolves the whole path, so "x/." and "x/.." are there whenever the folder x is.
void entryNamed(const fl::ustring& name, const vfs::AbsoluteIRI& location,
                const vfs::StorageSystemReference& storage, Filling& out) {
    const ItemType type = storage->providerFor(location)->probe(location).type;
    if (type != ItemType::Nothing)
        out.add(name, type);
}

// Read page by page: only the names that match are copied, each into storage the previous
// listing left. A page that fails after others came leaves no entries: a folder is listed
// whole or not at all.
void entriesMatching(const fl::ustring& filter, const vfs::AbsoluteIRI& folder,
                     const vfs::StorageSystemReference& storage, Filling& out) {
    // Read through the folder's provider, not a Folder made for it: the listing of a large
    // tree makes one per folder, and a Folder holds a copy of its location. The provider
    // filters where its store can.
    const auto cursor = storage->providerFor(folder)->listPages(folder, filter);
    // The storage leaves out the two names every folder has; they match like any other.
    for (const fl::ustring* own :
         {&fs::upath_constant::CURRENT_DIRECTORY, &fs::upath_constant::PARENT_DIRECTORY})
        if (fl::matchesWildcard(*own, filter))
            out.add(*own, ItemType::Folder);
    for (auto page = cursor->next(); !page.empty(); page = cursor->next())
        for (const auto& entry : page)
            out.add(entry.name, entry.type);
    out.sort();
}

void list(const fl::ustring& pattern, const ICurrentWorkingFolder& current,
          std::vector<FileNameWithStat>& out) {
    {
        Filling filling(out);
        const fl::ustring last = fs::detail::last_component(pattern);
        if (last.empty())
            return;
        // A listing answers for what it can see: a folder it cannot read has no entries, and
        // its failure is nobody's to report.
        const virtualfileio::PendingContextScope unreadableFoldersLeaveNoContext;
        try {
            const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
            if (!fl::hasWildcard(last))
                entryNamed(last, current.absolutize(pattern), storage, filling);
            else
                entriesMatching(last, current.absolutize(fs::detail::extract_parent_path(pattern)),
                                storage, filling);
            return;
        } catch (const vfs::Exception&) {
        } catch (const vfs::InvalidIRIException&) {
            // A name holding U+0000: no entry can have it.
        } catch (const FailedToAbsolutizeException&) {
            // The current folder is gone: a relative pattern names nothing.
        }
    }
    // A folder that failed partway leaves none of the entries it gave.
    out.clear();
}

} // namespace

char* ioGetDirList(const char* pattern, unsigned int,
                   boost::optional<const ICurrentWorkingFolder&> current) {
    if (pattern == nullptr)
        return nullptr;
    std::vector<FileNameWithStat> entries;
    list(fl::i18n::to_ustring(pattern),
         current ? *current : Quarrow::current_working_folder::GetCurrentWorkingFolder(), entries);
    if (entries.empty())
        return nullptr;
    std::string names;
    for (const auto& entry : entries) {
        names += fl::i18n::to_string(entry.name);
        names += '\0';
    }
    names += '\0';
    // Released with utFree, by code that may not know C++: malloc's block.
    char* block = static_cast<char*>(std::malloc(names.size()));
    if (block == nullptr)
        throw std::bad_alloc();
    std::memcpy(block, names.data(), names.size());
    return block;
}

void utFree(void* block) {
    std::free(block);
}

void ioGetDirList(const fl::ustring& pattern, std::vector<FileNameWithStat>& out, bool) {
    list(pattern, Quarrow::current_working_folder::GetCurrentWorkingFolder(), out);
}
