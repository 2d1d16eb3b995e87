// The `file` provider listing a folder.

#include <foundation/storage/provider/LocalFileProvider.hpp>

#include "LocalFile.hpp"

#include <fl/i18n.hpp>
#include <fl/wildcard.hpp>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>

namespace foundation::storage::provider {
namespace {

bool isDotOrDotDot(const char* name) noexcept {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// The page of the cursor this thread closed last, for the next cursor to write over: a walk
// through many folders then allocates names only as they outgrow the ones before.
thread_local std::vector<FolderEntry> sparePage;

// A page is what one getdents64 call returns: the entries the kernel handed, typed by
// d_type, nothing stat'ed. The page's entries are written over by the next page, their
// names' storage reused where the caller left it: a caller that keeps the names moves them
// out, and the names it passes over cost no allocation.
class LocalCursor final : public FolderCursor {
public:
    LocalCursor(local::Descriptor folder, local::LocalPath path, fl::ustring filter)
        : folder_(std::move(folder)), path_(std::move(path)), filter_(std::move(filter)),
          everyName_(filter_.empty() || filter_ == u"*"), page_(std::move(sparePage)) {}
    ~LocalCursor() override {
        if (page_.size() > sparePage.size())
            sparePage = std::move(page_);
    }
    LocalCursor(const LocalCursor&) = delete;
    LocalCursor& operator=(const LocalCursor&) = delete;

    std::span<FolderEntry> next() override {
        std::size_t count = 0;
        // A batch of nothing but "." and ".." or names the filter refuses is not a page: an
        // empty page means the end.
        while (count == 0 && !ended_) {
            const long got = ::syscall(SYS_getdents64, folder_.get(), buffer_, sizeof buffer_);
            if (got < 0)
                local::fail("list", path_);
            ended_ = got == 0;
            for (long at = 0; at < got;) {
                const auto* entry = reinterpret_cast<const struct dirent64*>(buffer_ + at);
                at += entry->d_reclen;
                if (isDotOrDotDot(entry->d_name))
                    continue;
                if (count == page_.size())
                    page_.emplace_back();
                FolderEntry& into = page_[count];
                fl::i18n::to_ustring(std::string_view(entry->d_name), into.name);
                if (!everyName_ && !fl::matchesWildcard(into.name, filter_))
                    continue;
                into.type = local::typeOf(DTTOIF(entry->d_type));
                ++count;
            }
        }
        return {page_.data(), count};
    }

private:
    local::Descriptor folder_;
    local::LocalPath path_;
    fl::ustring filter_;
    bool everyName_;
    bool ended_ = false;
    std::vector<FolderEntry> page_;
    // As large a batch as readdir reads.
    alignas(struct dirent64) char buffer_[32 * 1024];
};

} // namespace

std::unique_ptr<FolderCursor> LocalFileProvider::listPages(const vfs::AbsoluteIRI& folder,
                                                           const fl::ustring& filter) const {
    auto path = local::localPath(folder, "list");
    local::Descriptor fd(::open(path.native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() < 0)
        local::fail("list", path);
    return std::make_unique<LocalCursor>(std::move(fd), std::move(path), filter);
}

} // namespace foundation::storage::provider
