#pragma once

// The host's storage system serving http and https from a real nginx (HttpServer.hpp), or
// dav and davs from a real WebDAV share (DavServer.hpp), for one test, its provider trusting
// the server's certificate; the previous system comes back at the end.

#include "DavServer.hpp"
#include "HttpServer.hpp"
#include "Storage.hpp"
#include "Text.hpp"

#include <foundation/storage/provider/RemoteProviders.hpp>

#include <memory>
#include <string>

namespace vexa::testing {

class RemoteStorage {
public:
    RemoteStorage() : storage_({trusting(server_.caFile())}) {}

    const HttpServer& server() const noexcept { return server_; }
    // "http://127.0.0.1:PORT" + path, or over https.
    fl::ustring url(std::string_view path) const { return u(server_.url(path)); }
    fl::ustring secureUrl(std::string_view path) const { return u(server_.secureUrl(path)); }

private:
    static std::shared_ptr<const provider::StorageProvider> trusting(std::string caFile) {
        provider::HttpOptions options;
        options.caFile = std::move(caFile);
        return provider::makeHttpProvider(std::move(options));
    }

    HttpServer server_;
    ScopedStorageSystem storage_;
};

// The same for a WebDAV share on nginx.
class RemoteShare {
public:
    RemoteShare() : storage_({trusting(server_.caFile())}) {}

    const DavServer& server() const noexcept { return server_; }
    // "dav://127.0.0.1:PORT" + path, or "davs://".
    fl::ustring url(std::string_view path) const { return u(server_.url(path)); }
    fl::ustring secureUrl(std::string_view path) const { return u(server_.secureUrl(path)); }

private:
    static std::shared_ptr<const provider::StorageProvider> trusting(std::string caFile) {
        provider::HttpOptions options;
        options.caFile = std::move(caFile);
        return provider::makeDavProvider(std::move(options));
    }

    DavServer server_{DavServer::Kind::Nginx};
    ScopedStorageSystem storage_;
};

} // namespace vexa::testing
