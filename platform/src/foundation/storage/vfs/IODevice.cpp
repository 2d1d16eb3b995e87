#include <foundation/storage/vfs/IODevice.hpp>

namespace foundation::storage::vfs {

IODevice::IODevice(File file)
    : file_(std::move(file)),
      stream_(file_.getStorage()->providerFor(file_.getLocation())->openForReading(
          file_.getLocation())) {}

std::size_t IODevice::read(std::span<char> buffer) {
    return stream_->read(buffer);
}

} // namespace foundation::storage::vfs
