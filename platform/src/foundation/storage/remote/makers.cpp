// The remote storage library's entry point: its providers' makers, for the platform.

#include "makers.hpp"

#include "foundation/storage/provider/dav/DavProvider.hpp"
#include "foundation/storage/provider/http/HttpProvider.hpp"
#include "foundation/storage/provider/s3/S3Provider.hpp"

namespace foundation::storage::remote {
namespace {

std::shared_ptr<const provider::StorageProvider> makeHttp(const provider::HttpOptions& options) {
    return std::make_shared<provider::HttpProvider>(options);
}

std::shared_ptr<const provider::StorageProvider> makeDav(const provider::HttpOptions& options) {
    return std::make_shared<provider::DavProvider>(options);
}

std::shared_ptr<const provider::StorageProvider> makeS3(const provider::S3Options& options) {
    return std::make_shared<provider::S3Provider>(options);
}

} // namespace
} // namespace foundation::storage::remote

extern "C" const foundation::storage::remote::Makers* vexaRemoteMakers() {
    static const foundation::storage::remote::Makers makers{
        &foundation::storage::remote::makeHttp,
        &foundation::storage::remote::makeDav,
        &foundation::storage::remote::makeS3,
    };
    return &makers;
}
