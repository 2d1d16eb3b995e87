#pragma once

#include <boost/date_time/posix_time/ptime.hpp>

namespace foundation::storage::provider {

// A folder's attributes as its provider reports them at the moment of the query.
class FolderAttributes {
public:
    explicit FolderAttributes(boost::posix_time::ptime lastModified)
        : lastModified_(lastModified) {}

    // UTC, to the microsecond where the storage keeps it.
    boost::posix_time::ptime getLastModified() const noexcept { return lastModified_; }

private:
    boost::posix_time::ptime lastModified_;
};

} // namespace foundation::storage::provider
