// What a remote storage said when a look failed, kept so that vexafs can tell the user
// without asking the storage a second time (see showingStorageFailure).

#include "arguments.hpp"

#include <foundation/storage/provider/ForwardingProvider.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <optional>
#include <utility>

namespace vexafs {
namespace {

namespace provider = foundation::storage::provider;
namespace vfs = foundation::storage::vfs;

// The failure of the last look on this thread, until it is told or forgotten.
thread_local std::optional<vfs::Exception> failedLook;

// Lets every call through to the provider it wraps, keeping the failure of a look.
class RememberingFailures final : public provider::ForwardingProvider {
public:
    using ForwardingProvider::ForwardingProvider;

    provider::ItemStatus look(const vfs::AbsoluteIRI& location,
                              provider::Facts wanted) const override {
        try {
            return inner().look(location, wanted);
        } catch (const vfs::Exception& failure) {
            failedLook = failure;
            throw;
        }
    }
};

} // namespace

std::shared_ptr<const provider::StorageProvider>
rememberingFailures(std::shared_ptr<const provider::StorageProvider> inner) {
    return std::make_shared<RememberingFailures>(std::move(inner));
}

void forgetStorageFailure() {
    failedLook.reset();
}

void raiseStorageFailure(const vfs::AbsoluteIRI& location) {
    if (location.getScheme() == u"file" || !failedLook)
        return;
    vfs::Exception failure = std::move(*failedLook);
    failedLook.reset();
    vfs::raise(std::move(failure));
}

} // namespace vexafs
