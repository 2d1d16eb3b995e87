#include <foundation/storage/vfs/IODevice.hpp>

#include "boundary.hpp"

namespace foundation::storage::vfs {
namespace {

std::unique_ptr<provider::InputStream> opened(const File& file) {
    const auto provider = file.getStorage()->providerFor(file.getLocation());
    return atBoundary(*provider, file.getLocation(), "open",
                      [&] { return provider->openForReading(file.getLocation()); });
}

} // namespace

IODevice::IODevice(File file) : file_(std::move(file)), stream_(opened(file_)) {}

std::size_t IODevice::read(std::span<char> buffer) {
    try {
        return stream_->read(buffer);
    } catch (Exception& failure) {
        recordFailure(
            failure, "read",
            file_.getStorage()->providerFor(file_.getLocation())->describe(file_.getLocation()));
        throw;
    }
}

} // namespace foundation::storage::vfs
