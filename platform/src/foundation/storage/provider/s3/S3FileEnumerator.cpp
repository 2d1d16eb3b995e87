// The s3 provider listing a folder: ListObjectsV2 pages followed through their continuation
// tokens, one page handed out per request.

#include "S3Request.hpp"

#include <fl/i18n.hpp>
#include <fl/wildcard.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <unordered_set>

namespace foundation::storage::provider {
namespace {

// The entries below `prefix`, page by page. With the delimiter, objects are files and common
// prefixes folders; without it (a tree), every object below comes with its path below the
// folder as its name, and each folder on the way once, before anything in it.
class S3Cursor : public FolderCursor {
public:
    S3Cursor(const S3Provider& provider, vfs::AbsoluteIRI folder, bool tree, fl::ustring filter)
        : provider_(provider), folder_(std::move(folder)), tree_(tree), filter_(std::move(filter)) {
        const s3::Place place = s3::placeOf(folder_);
        bucket_ = place.bucket;
        prefix_ = s3::folderKey(place.key);
        // Opened now, so that a missing folder fails here: S3 lists an empty page for a
        // prefix that holds nothing, where a bucket's root is there when the bucket is.
        fetch();
        if (!prefix_.empty() && entries_.empty() && !anything_)
            http::raise({vfs::ResourceNotFound, "no key starts with " + prefix_}, "list", folder_);
    }

    std::span<FolderEntry> next() override {
        if (first_) {
            first_ = false;
            if (!entries_.empty())
                return entries_;
        }
        entries_.clear();
        while (entries_.empty() && !token_.empty())
            fetch();
        return entries_;
    }

private:
    void fetch() {
        const auto transfer =
            s3::askPage(provider_, bucket_, prefix_, !tree_, token_, provider_.options().maxKeys);
        s3::ListPage page = s3::readPage(*transfer, folder_);
        token_ = std::move(page.next);
        anything_ = anything_ || !page.items.empty();
        for (s3::Listed& item : page.items) {
            std::string_view name =
                std::string_view(item.key).substr(std::min(prefix_.size(), item.key.size()));
            const bool folder = item.folder || name.ends_with('/');
            if (folder)
                name.remove_suffix(1);
            if (name.empty())
                continue; // the folder's own marker
            if (tree_) {
                // The folders a key lies in, which need no marker of their own.
                for (auto slash = name.find('/'); slash != std::string_view::npos;
                     slash = name.find('/', slash + 1))
                    add(name.substr(0, slash), true, nullptr);
            }
            add(name, folder, item.folder ? nullptr : &item);
        }
    }

    // `item`: the object the entry is, whose size, time and tag it takes.
    void add(std::string_view name, bool folder, const s3::Listed* item) {
        // Servers repeat common prefixes on every page, and a tree meets its folders often;
        // the empty name between the slashes of "a//b" is no folder of its own.
        if (folder && (name.empty() || !seen_.emplace(name).second))
            return;
        FolderEntry entry;
        fl::i18n::to_ustring(name, entry.name);
        if (!filter_.empty() && filter_ != u"*" && !fl::matchesWildcard(entry.name, filter_))
            return;
        entry.type = folder ? ItemType::Folder : ItemType::File;
        if (item) {
            if (!folder)
                entry.size = item->size;
            entry.lastModified = item->lastModified;
            entry.tag = item->etag;
        }
        entries_.push_back(std::move(entry));
    }

    const S3Provider& provider_;
    vfs::AbsoluteIRI folder_;
    bool tree_;
    fl::ustring filter_;
    std::string bucket_, prefix_, token_;
    std::vector<FolderEntry> entries_;
    std::unordered_set<std::string> seen_;
    bool first_ = true;
    bool anything_ = false;
};

} // namespace

std::unique_ptr<FolderCursor> S3Provider::listPages(const vfs::AbsoluteIRI& folder,
                                                    const fl::ustring& filter) const {
    return std::make_unique<S3Cursor>(*this, folder, false, filter);
}

std::unique_ptr<FolderCursor> S3Provider::listTree(const vfs::AbsoluteIRI& folder) const {
    return std::make_unique<S3Cursor>(*this, folder, true, fl::ustring());
}

} // namespace foundation::storage::provider
