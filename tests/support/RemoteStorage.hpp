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

// A real server and the host's storage system whose provider `make` (with the server's
// certificate trusted) serves its schemes, for one test.
template <class Server,
          std::shared_ptr<const provider::StorageProvider> (*make)(provider::HttpOptions)>
class Served {
public:
    template <class... Arguments>
    explicit Served(Arguments... arguments)
        : server_(arguments...), storage_({trusting(server_.caFile())}) {}

    const Server& server() const noexcept { return server_; }
    // The scheme's "//127.0.0.1:PORT" + path, or its secure scheme's.
    fl::ustring url(std::string_view path) const { return u(server_.url(path)); }
    fl::ustring secureUrl(std::string_view path) const { return u(server_.secureUrl(path)); }

private:
    static std::shared_ptr<const provider::StorageProvider> trusting(std::string caFile) {
        provider::HttpOptions options;
        options.caFile = std::move(caFile);
        return make(std::move(options));
    }

    Server server_;
    ScopedStorageSystem storage_;
};

// http and https from nginx.
using RemoteStorage = Served<HttpServer, provider::makeHttpProvider>;

// dav and davs from a WebDAV share on nginx.
class RemoteShare : public Served<DavServer, provider::makeDavProvider> {
public:
    RemoteShare() : Served(DavServer::Kind::Nginx) {}
};

} // namespace vexa::testing
