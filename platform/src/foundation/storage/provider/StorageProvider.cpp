#include <foundation/storage/provider/StorageProvider.hpp>

#include <foundation/storage/vfs/Exception.hpp>

#include <fl/wildcard.hpp>

#include <algorithm>
#include <vector>

namespace foundation::storage::provider {
namespace {

class OnePage final : public FolderCursor {
public:
    explicit OnePage(std::vector<FolderEntry> entries) : entries_(std::move(entries)) {}
    std::span<FolderEntry> next() override {
        if (given_)
            return {};
        given_ = true;
        return entries_;
    }

private:
    std::vector<FolderEntry> entries_;
    bool given_ = false;
};

} // namespace

FolderCursor::~FolderCursor() = default;

std::unique_ptr<FolderCursor> onePage(std::vector<FolderEntry> entries, const fl::ustring& filter) {
    if (!filter.empty() && filter != u"*")
        std::erase_if(entries, [&](const FolderEntry& entry) {
            return !fl::matchesWildcard(entry.name, filter);
        });
    return std::make_unique<OnePage>(std::move(entries));
}

InputStream::~InputStream() = default;

OutputStream::~OutputStream() = default;

std::uint64_t OutputStream::writeFrom(InputStream& input,
                                      const std::function<void(std::size_t)>& moved) {
    std::vector<char> buffer(1 << 20);
    std::uint64_t total = 0;
    while (const std::size_t got = input.read(buffer)) {
        write({buffer.data(), got});
        total += got;
        moved(got);
    }
    return total;
}

StorageProvider::~StorageProvider() = default;

fl::ustring StorageProvider::describe(const vfs::AbsoluteIRI& location) const {
    return location.toString();
}

void StorageProvider::unsupported(const char* operation, const vfs::AbsoluteIRI& location) const {
    vfs::raise(vfs::UnsupportedOperation, operation, describe(location));
}

void StorageProvider::cannotChange(const char* operation, const vfs::AbsoluteIRI& location) const {
    if (readOnly())
        vfs::raise(vfs::ReadOnlyProvider, operation, describe(location));
    unsupported(operation, location);
}

std::unique_ptr<FolderCursor> StorageProvider::listPages(const vfs::AbsoluteIRI& folder,
                                                         const fl::ustring&) const {
    unsupported("list", folder);
}

std::unique_ptr<FolderCursor> StorageProvider::listTree(const vfs::AbsoluteIRI&) const {
    return nullptr;
}

void StorageProvider::createFile(const vfs::AbsoluteIRI& location) const {
    cannotChange("createFile", location);
}

void StorageProvider::removeFile(const vfs::AbsoluteIRI& location) const {
    cannotChange("removeFile", location);
}

void StorageProvider::createFolder(const vfs::AbsoluteIRI& location) const {
    cannotChange("createFolder", location);
}

std::unique_ptr<InputStream>
StorageProvider::openForReading(const vfs::AbsoluteIRI& location) const {
    unsupported("openForReading", location);
}

std::unique_ptr<OutputStream> StorageProvider::openForWriting(const vfs::AbsoluteIRI& location,
                                                              vfs::WriteMode,
                                                              std::optional<std::uint64_t>) const {
    cannotChange("openForWriting", location);
}

void StorageProvider::rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI&) const {
    cannotChange("rename", location);
}

void StorageProvider::removeFolder(const vfs::AbsoluteIRI& location) const {
    cannotChange("removeFolder", location);
}

} // namespace foundation::storage::provider
