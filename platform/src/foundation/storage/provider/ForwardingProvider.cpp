#include <foundation/storage/provider/ForwardingProvider.hpp>

namespace foundation::storage::provider {

const StorageProvider& ForwardingProvider::inner() const {
    if (make_)
        std::call_once(made_, [this] { inner_ = make_(); });
    return *inner_;
}

std::vector<std::string> ForwardingProvider::schemes() const {
    return inner().schemes();
}

fl::ustring ForwardingProvider::describe(const vfs::AbsoluteIRI& location) const {
    return inner().describe(location);
}

ItemStatus ForwardingProvider::look(const vfs::AbsoluteIRI& location, Facts wanted) const {
    return inner().look(location, wanted);
}

std::unique_ptr<FolderCursor> ForwardingProvider::listPages(const vfs::AbsoluteIRI& folder,
                                                            const fl::ustring& filter) const {
    return inner().listPages(folder, filter);
}

std::unique_ptr<FolderCursor> ForwardingProvider::listTree(const vfs::AbsoluteIRI& folder) const {
    return inner().listTree(folder);
}

bool ForwardingProvider::readOnly() const {
    return inner().readOnly();
}

void ForwardingProvider::createFile(const vfs::AbsoluteIRI& location) const {
    inner().createFile(location);
}

void ForwardingProvider::removeFile(const vfs::AbsoluteIRI& location) const {
    inner().removeFile(location);
}

void ForwardingProvider::createFolder(const vfs::AbsoluteIRI& location) const {
    inner().createFolder(location);
}

std::unique_ptr<InputStream>
ForwardingProvider::openForReading(const vfs::AbsoluteIRI& location) const {
    return inner().openForReading(location);
}

std::unique_ptr<OutputStream>
ForwardingProvider::openForWriting(const vfs::AbsoluteIRI& location, vfs::WriteMode mode,
                                   std::optional<std::uint64_t> size) const {
    return inner().openForWriting(location, mode, size);
}

void ForwardingProvider::rename(const vfs::AbsoluteIRI& location,
                                const vfs::AbsoluteIRI& target) const {
    inner().rename(location, target);
}

void ForwardingProvider::removeFolder(const vfs::AbsoluteIRI& location) const {
    inner().removeFolder(location);
}

} // namespace foundation::storage::provider
