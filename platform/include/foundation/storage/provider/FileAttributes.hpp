#pragma once

#include <boost/date_time/posix_time/ptime.hpp>

#include <cstdint>

namespace foundation::storage::provider {

// A file's attributes as its provider reports them at the moment of the query.
class FileAttributes {
public:
    FileAttributes(bool writable, boost::posix_time::ptime lastModified, std::uint64_t size)
        : writable_(writable), lastModified_(lastModified), size_(size) {}

    bool isWritable() const noexcept { return writable_; }
    // UTC, to the microsecond where the storage keeps it.
    boost::posix_time::ptime getLastModified() const noexcept { return lastModified_; }
    std::uint64_t getSize() const noexcept { return size_; }

private:
    bool writable_;
    boost::posix_time::ptime lastModified_;
    std::uint64_t size_;
};

} // namespace foundation::storage::provider
