// The remote storage library's entry point: its providers' makers, for the platform.

#include "makers.hpp"

#include "foundation/storage/provider/http/HttpProvider.hpp"

namespace foundation::storage::remote {
namespace {

std::shared_ptr<const provider::StorageProvider> makeHttp(const provider::HttpOptions& options) {
    return std::make_shared<provider::HttpProvider>(options);
}

} // namespace
} // namespace foundation::storage::remote

extern "C" const foundation::storage::remote::Makers* vexaRemoteMakers() {
    static const foundation::storage::remote::Makers makers{
        &foundation::storage::remote::makeHttp,
    };
    return &makers;
}
