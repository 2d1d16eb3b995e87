#include <foundation/storage/provider/RemoteProviders.hpp>

#include <foundation/storage/provider/ForwardingProvider.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <fl/i18n.hpp>

#include "foundation/storage/remote/makers.hpp"

#include <string>
#include <vector>

#include <dlfcn.h>

namespace foundation::storage::provider {
namespace {

// The library's file: beside the one that holds this code, wherever that was found (the
// build tree, or the folder a package installed both into).
std::string remoteLibraryPath() {
    Dl_info self{};
    std::string folder;
    if (::dladdr(reinterpret_cast<const void*>(&remoteLibraryPath), &self) != 0 &&
        self.dli_fname != nullptr) {
        folder = self.dli_fname;
        folder.erase(folder.rfind('/') == std::string::npos ? 0 : folder.rfind('/') + 1);
    }
    return folder + VEXA_REMOTE_STORAGE_FILE;
}

// Loaded once per process and never unloaded: the providers it made live until the end.
// A load that fails is tried again at the next use.
const remote::Makers& makers() {
    static const remote::Makers* const loaded = [] {
        const std::string path = remoteLibraryPath();
        void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        const char* reason = library ? nullptr : ::dlerror();
        const auto entry = library ? reinterpret_cast<const remote::Makers* (*)()>(
                                         ::dlsym(library, "vexaRemoteMakers"))
                                   : nullptr;
        if (!entry)
            vfs::raise(vfs::UnsupportedOperation, "load", fl::i18n::to_ustring(path),
                       reason ? reason : "no vexaRemoteMakers");
        return entry();
    }();
    return *loaded;
}

// A provider whose code is in the remote storage library, loaded at the first call that
// needs it; its schemes are known before.
class LoadedAtFirstUse final : public ForwardingProvider {
public:
    template <class Schemes>
    LoadedAtFirstUse(const Schemes& schemes,
                     std::function<std::shared_ptr<const StorageProvider>()> make)
        : ForwardingProvider(std::move(make)), schemes_(schemes.begin(), schemes.end()) {}

    std::vector<std::string> schemes() const override { return schemes_; }

private:
    std::vector<std::string> schemes_;
};

} // namespace

std::shared_ptr<const StorageProvider> makeHttpProvider(HttpOptions options) {
    return std::make_shared<LoadedAtFirstUse>(
        remote::httpSchemes, [options = std::move(options)] { return makers().http(options); });
}

std::shared_ptr<const StorageProvider> makeDavProvider(HttpOptions options) {
    return std::make_shared<LoadedAtFirstUse>(
        remote::davSchemes, [options = std::move(options)] { return makers().dav(options); });
}

std::shared_ptr<const StorageProvider> makeS3Provider(S3Options options) {
    return std::make_shared<LoadedAtFirstUse>(
        remote::s3Schemes, [options = std::move(options)] { return makers().s3(options); });
}

} // namespace foundation::storage::provider
