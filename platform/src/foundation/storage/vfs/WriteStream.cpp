#include <foundation/storage/vfs/WriteStream.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/IODevice.hpp>

#include "boundary.hpp"

#include <utility>

namespace foundation::storage::vfs {

WriteStream::WriteStream(std::unique_ptr<provider::OutputStream> stream, fl::ustring location)
    : stream_(std::move(stream)), location_(std::move(location)) {}

WriteStream::WriteStream(WriteStream&&) noexcept = default;

WriteStream& WriteStream::operator=(WriteStream&& other) noexcept {
    if (this != &other) {
        abort();
        stream_ = std::move(other.stream_);
        location_ = std::move(other.location_);
    }
    return *this;
}

WriteStream::~WriteStream() {
    abort();
}

provider::OutputStream& WriteStream::open(const char* operation) const {
    if (!stream_)
        raise(InternalError, operation, location_);
    return *stream_;
}

namespace {

// Runs `work` on an open stream; a failure aborts it, and a storage failure is recorded as
// the failure of `operation`.
template <class Work>
decltype(auto) failureAborts(WriteStream& stream, const char* operation,
                             const fl::ustring& location, Work work) {
    try {
        return work();
    } catch (Exception& failure) {
        recordFailure(failure, operation, location);
        stream.abort();
        throw;
    } catch (...) {
        stream.abort();
        throw;
    }
}

} // namespace

void WriteStream::write(const char* data, std::size_t size) {
    provider::OutputStream& stream = open("write");
    failureAborts(*this, "write", location_, [&] { stream.write({data, size}); });
}

std::uint64_t WriteStream::writeFrom(IODevice& device,
                                     const std::function<void(std::size_t)>& moved) {
    provider::OutputStream& stream = open("write");
    return failureAborts(*this, "write", location_,
                         [&] { return stream.writeFrom(device.stream(), moved); });
}

void WriteStream::close() {
    provider::OutputStream& stream = open("close");
    // The item changes here, or in part if the commit fails.
    forgetLooks();
    failureAborts(*this, "close", location_, [&] { stream.commit(); });
    stream_.reset();
}

void WriteStream::abort() noexcept {
    if (auto stream = std::move(stream_))
        stream->abort();
}

} // namespace foundation::storage::vfs
