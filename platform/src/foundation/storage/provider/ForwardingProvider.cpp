#include <foundation/storage/provider/ForwardingProvider.hpp>

namespace foundation::storage::provider {

std::vector<std::string> ForwardingProvider::schemes() const {
    return inner_->schemes();
}

fl::ustring ForwardingProvider::describe(const vfs::AbsoluteIRI& location) const {
    return inner_->describe(location);
}

ItemStatus ForwardingProvider::look(const vfs::AbsoluteIRI& location, Facts wanted) const {
    return inner_->look(location, wanted);
}

std::unique_ptr<FolderCursor> ForwardingProvider::listPages(const vfs::AbsoluteIRI& folder,
                                                            const fl::ustring& filter) const {
    return inner_->listPages(folder, filter);
}

std::unique_ptr<FolderCursor> ForwardingProvider::listTree(const vfs::AbsoluteIRI& folder) const {
    return inner_->listTree(folder);
}

bool ForwardingProvider::readOnly() const {
    return inner_->readOnly();
}

void ForwardingProvider::createFile(const vfs::AbsoluteIRI& location) const {
    inner_->createFile(location);
}

void ForwardingProvider::removeFile(const vfs::AbsoluteIRI& location) const {
    inner_->removeFile(location);
}

void ForwardingProvider::createFolder(const vfs::AbsoluteIRI& location) const {
    inner_->createFolder(location);
}

std::unique_ptr<InputStream>
ForwardingProvider::openForReading(const vfs::AbsoluteIRI& location) const {
    return inner_->openForReading(location);
}

std::unique_ptr<OutputStream> ForwardingProvider::openForWriting(const vfs::AbsoluteIRI& location,
                                                                 vfs::WriteMode mode) const {
    return inner_->openForWriting(location, mode);
}

void ForwardingProvider::rename(const vfs::AbsoluteIRI& location,
                                const vfs::AbsoluteIRI& target) const {
    inner_->rename(location, target);
}

void ForwardingProvider::removeFolder(const vfs::AbsoluteIRI& location) const {
    inner_->removeFolder(location);
}

} // namespace foundation::storage::provider
