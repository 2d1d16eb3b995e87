// The dav(s) provider: construction, its requests, the changes (MKCOL, PUT, DELETE, MOVE)
// and the streams (GET, and a PUT to a hidden name MOVEd over the item at commit).

#include "Dav.hpp"
#include "foundation/storage/remote/makers.hpp"

#include "foundation/network/iri_text.hpp"
#include "temporary_names.hpp"

#include <fl/i18n.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <boost/url/url.hpp>

#include <array>
#include <chrono>
#include <span>
#include <thread>
#include <utility>

namespace foundation::storage::provider {
namespace dav {
namespace {

// The properties every look and listing reads, asked for by name: a share need not work
// out the others (allprop may include costly live properties).
constexpr std::string_view propfindBody =
    R"(<?xml version="1.0" encoding="utf-8"?>)"
    R"(<D:propfind xmlns:D="DAV:"><D:prop><D:resourcetype/><D:getcontentlength/>)"
    R"(<D:getlastmodified/><D:getcontenttype/><D:getetag/></D:prop></D:propfind>)";

boost::urls::url httpUrl(const vfs::AbsoluteIRI& location) {
    boost::urls::url url = location.toIRI().url();
    url.set_scheme(location.toIRI().uriText().starts_with("davs:") ? "https" : "http");
    // Who asks travels as credentials, never in the URL (which curl may log or resend).
    url.remove_userinfo();
    url.remove_fragment();
    return url;
}

} // namespace

std::string urlOf(const vfs::AbsoluteIRI& location) {
    return std::string(httpUrl(location).buffer());
}

std::string folderUrlOf(const vfs::AbsoluteIRI& location) {
    boost::urls::url url = httpUrl(location);
    if (!url.encoded_path().ends_with('/'))
        url.set_encoded_path(std::string(url.encoded_path()) + "/");
    return std::string(url.buffer());
}

http::Request requestFor(const vfs::AbsoluteIRI& location, std::string method) {
    http::Request request;
    request.method = std::move(method);
    request.url = urlOf(location);
    const boost::urls::url& url = location.toIRI().url();
    if (url.has_userinfo()) {
        request.credentials.user = url.user();
        request.credentials.password = url.password();
    }
    request.credentials.netrc = true;
    return request;
}

bool propfind(const HttpOptions& options, const vfs::AbsoluteIRI& location, std::string url,
              const char* depth, const char* operation,
              const std::function<void(Resource&&)>& found) {
    http::Request request = requestFor(location, "PROPFIND");
    request.url = std::move(url);
    request.headers = {std::string("Depth: ") + depth,
                       "Content-Type: application/xml; charset=utf-8"};
    request.body = propfindBody;
    const auto transfer = http::Transfer::answered(options, request);
    if (const auto failure = transfer->failure()) {
        const long status = transfer->status();
        if (status == 405 || status == 501)
            http::raise({vfs::UnsupportedOperation, "HTTP " + std::to_string(status) +
                                                        ": the server does not list (PROPFIND)"},
                        operation, location);
        if (failure->code == vfs::ResourceNotFound)
            return false;
        http::raise(*failure, operation, location);
    }
    if (transfer->status() != 207)
        http::raise({vfs::IOError,
                     "HTTP " + std::to_string(transfer->status()) + " to PROPFIND: no multistatus"},
                    operation, location);
    MultistatusReader reader(found);
    std::array<char, 64 * 1024> chunk;
    while (const std::size_t length = transfer->read(chunk))
        if (!reader.feed({chunk.data(), length}))
            http::raise({vfs::IOError, "the server's answer is not XML: " + reader.error()},
                        operation, location);
    if (const auto failure = transfer->failure())
        http::raise(*failure, operation, location);
    if (!reader.finish())
        http::raise({vfs::IOError, "the server's answer is not XML: " + reader.error()}, operation,
                    location);
    return true;
}

std::string decodedPath(std::string_view href) {
    // A full URL: its path, after the authority.
    if (const auto scheme = href.find("://"); scheme != std::string_view::npos) {
        const auto path = href.find('/', scheme + 3);
        href = path == std::string_view::npos ? std::string_view() : href.substr(path);
    }
    href = href.substr(0, href.find_first_of("?#"));
    std::string path;
    network::detail::appendDecoded(path, href);
    while (!path.empty() && path.back() == '/')
        path.pop_back();
    return path;
}

namespace {

// A request that moves no body, made (and made again where that is safe) and awaited; its
// failure raised as `operation`'s, with the code `codeOf` gives for its status where it
// gives one.
void made(const HttpOptions& options, const http::Request& request, const char* operation,
          const vfs::AbsoluteIRI& location,
          const std::function<std::optional<int>(long)>& codeOf = {}) {
    const auto transfer = http::Transfer::answered(options, request);
    if (const auto failure = transfer->failure()) {
        if (codeOf)
            if (const auto code = codeOf(transfer->status()))
                http::raise({*code, failure->reason}, operation, location);
        http::raise(*failure, operation, location);
    }
}

// A MOVE of `location` to `target` (folders by their folder URLs), never over an existing
// item unless `overwrite`. A look at the target comes first: nginx answers a file moved onto
// a folder with 409, as if a folder were missing; a share that honours Overwrite closes the
// race with 412.
void move(const HttpOptions& options, const vfs::AbsoluteIRI& location,
          const vfs::AbsoluteIRI& target, bool folder, bool overwrite, const char* operation,
          const vfs::AbsoluteIRI& shownAs) {
    if (!overwrite && resourceAt(options, target, operation))
        vfs::raise(vfs::ResourceAlreadyExists, operation, http::shown(shownAs),
                   "the target is there: " + fl::i18n::to_string(http::shown(target)));
    http::Request request = requestFor(location, "MOVE");
    if (folder)
        request.url = folderUrlOf(location);
    request.headers = {"Destination: " + (folder ? folderUrlOf(target) : urlOf(target)),
                       overwrite ? "Overwrite: T" : "Overwrite: F"};
    made(options, request, operation, shownAs, [](long status) -> std::optional<int> {
        if (status == 412)
            return vfs::ResourceAlreadyExists;
        return std::nullopt;
    });
}

// A DELETE that cleans up after a failure: its own failure is not the caller's. A share
// that is still taking a PUT cut off (rclone) holds a lock on its item until it is done
// with it, and refuses the DELETE meanwhile with 423: the DELETE waits for it, a while.
void removeQuietly(const HttpOptions& options, const vfs::AbsoluteIRI& location) noexcept {
    try {
        for (int attempt = 0;
             http::Transfer::answered(options, requestFor(location, "DELETE"))->status() == 423 &&
             attempt < 100;
             ++attempt)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    } catch (...) {
    }
}

// A new item needs a folder above it: a share may make missing folders for a PUT.
void requireFolderAbove(const DavProvider& provider, const vfs::AbsoluteIRI& location,
                        const char* operation) {
    if (!location.hasParent())
        return;
    const ItemStatus parent = provider.probe(location.getParent());
    if (parent.type == ItemType::Nothing)
        vfs::raise(vfs::ResourceNotFound, operation, provider.describe(location),
                   "no folder above it");
    if (parent.type != ItemType::Folder)
        vfs::raise(vfs::NotAFolder, operation, provider.describe(location));
}

// The hidden name a write stream fills beside `location`. A share's root is a folder, which
// no stream writes.
vfs::AbsoluteIRI temporaryBeside(const DavProvider& provider, const vfs::AbsoluteIRI& location) {
    if (!location.hasParent())
        vfs::raise(vfs::InternalError, "openForWriting", provider.describe(location),
                   "a folder is there");
    return vfs::CanonicalAbsoluteIRI(
        vfs::CanonicalAbsoluteIRI(location.getParent()),
        fl::i18n::to_ustring(temporaryLeaf(fl::i18n::to_string(location.getName()))));
}

// New content PUT to a hidden name beside the item as it is written, and MOVEd over the
// item at commit: in create mode never over an item that appeared meanwhile. With a size,
// the PUT has a Content-Length, and the stream holds to it: curl would pass the bytes of a
// longer body beyond it without a word, and wait on the share for the rest of a shorter one.
class DavOutputStream : public OutputStream {
public:
    DavOutputStream(const DavProvider& provider, const vfs::AbsoluteIRI& location,
                    vfs::WriteMode mode, std::optional<std::uint64_t> size)
        : options_(provider.options()), location_(location), mode_(mode),
          temporary_(temporaryBeside(provider, location)), size_(size) {
        const ItemStatus item = provider.probe(location);
        if (item.type != ItemType::Nothing && mode == vfs::WriteMode::create)
            vfs::raise(vfs::ResourceAlreadyExists, "openForWriting", provider.describe(location));
        if (item.type == ItemType::Folder)
            vfs::raise(vfs::InternalError, "openForWriting", provider.describe(location),
                       "a folder is there");
        if (item.type == ItemType::Nothing)
            requireFolderAbove(provider, location, "openForWriting");
        http::Request request = requestFor(temporary_, "PUT");
        request.streamedBody = true;
        request.bodyLength = size;
        request.wait = http::Wait::Pace;
        transfer_ = std::make_unique<http::Transfer>(options_, std::move(request));
        open_ = true;
    }
    ~DavOutputStream() override { abort(); }

    // A share that refuses the body (no room, no right) ends the transfer, and what is
    // written after is dropped; the refusal shows at commit, where the answer is awaited. A
    // status seen sooner may be no answer yet: curl asks a server it has not heard from once
    // without the password first.
    void write(std::span<const char> data) override {
        if (size_ && data.size() > *size_ - written_)
            vfs::raise(vfs::IOError, "write", http::shown(location_),
                       "more than the " + std::to_string(*size_) + " bytes declared: " +
                           std::to_string(written_ + data.size()) + " written");
        transfer_->send(data);
        written_ += data.size();
    }

    void commit() override {
        if (size_ && written_ != *size_) {
            abort();
            vfs::raise(vfs::IOError, "close", http::shown(location_),
                       "fewer than the " + std::to_string(*size_) +
                           " bytes declared: " + std::to_string(written_) + " written");
        }
        transfer_->finishBody();
        if (const auto failure = transfer_->failure()) {
            abort();
            http::raise(*failure, "close", location_);
        }
        transfer_.reset();
        try {
            move(options_, temporary_, location_, false, mode_ == vfs::WriteMode::replace, "close",
                 location_);
        } catch (...) {
            abort();
            throw;
        }
        open_ = false;
    }

    void abort() noexcept override {
        if (!open_)
            return;
        open_ = false;
        // The PUT is ended and its answer awaited before the DELETE: a share that writes in
        // place (rclone) would otherwise still be writing the temporary when it is removed,
        // and keep what it wrote. A body short of its length cannot end: its connection is
        // closed instead, and a share that writes in place may then make the temporary of
        // what came after a DELETE on another connection (rclone takes the PUT up late): it
        // is removed once more a little later.
        const bool cutOff = transfer_ && size_ && written_ != *size_;
        if (transfer_) {
            try {
                if (!cutOff)
                    transfer_->finishBody();
            } catch (...) {
            }
            transfer_.reset();
        }
        removeQuietly(options_, temporary_);
        if (cutOff) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            removeQuietly(options_, temporary_);
        }
    }

private:
    HttpOptions options_;
    vfs::AbsoluteIRI location_;
    vfs::WriteMode mode_;
    vfs::AbsoluteIRI temporary_;
    std::optional<std::uint64_t> size_;
    std::uint64_t written_ = 0;
    std::unique_ptr<http::Transfer> transfer_; // its address is curl's: never moved
    bool open_ = false;
};

} // namespace
} // namespace dav

DavProvider::DavProvider(HttpOptions options) : options_(std::move(options)) {}

DavProvider::~DavProvider() = default;

std::vector<std::string> DavProvider::schemes() const {
    return {remote::davSchemes.begin(), remote::davSchemes.end()};
}

fl::ustring DavProvider::describe(const vfs::AbsoluteIRI& location) const {
    return http::shown(location);
}

void DavProvider::createFile(const vfs::AbsoluteIRI& location) const {
    // Some shares (nginx) ignore If-None-Match and replace the file: the look is what keeps
    // an existing item; a share that honours the header closes the race with 412.
    if (probe(location).type != ItemType::Nothing)
        vfs::raise(vfs::ResourceAlreadyExists, "createFile", describe(location));
    dav::requireFolderAbove(*this, location, "createFile");
    http::Request request = dav::requestFor(location, "PUT");
    request.headers = {"If-None-Match: *"};
    dav::made(options_, request, "createFile", location, [](long status) -> std::optional<int> {
        if (status == 412)
            return vfs::ResourceAlreadyExists;
        return std::nullopt;
    });
}

void DavProvider::removeFile(const vfs::AbsoluteIRI& location) const {
    const ItemStatus item = probe(location);
    if (item.type == ItemType::Nothing)
        vfs::raise(item.missingCode, "removeFile", describe(location));
    if (item.type == ItemType::Folder)
        vfs::raise(vfs::InternalError, "removeFile", describe(location), "a folder");
    dav::made(options_, dav::requestFor(location, "DELETE"), "removeFile", location);
}

void DavProvider::createFolder(const vfs::AbsoluteIRI& location) const {
    // Some shares (rclone) answer 201 to a MKCOL of a folder that is there: the look is what
    // tells it.
    if (probe(location).type != ItemType::Nothing)
        vfs::raise(vfs::ResourceAlreadyExists, "createFolder", describe(location));
    http::Request request = dav::requestFor(location, "MKCOL");
    request.url = dav::folderUrlOf(location);
    dav::made(options_, request, "createFolder", location, [](long status) -> std::optional<int> {
        if (status == 405) // something appeared there
            return vfs::ResourceAlreadyExists;
        if (status == 409) // no folder above
            return vfs::ResourceNotFound;
        return std::nullopt;
    });
}

std::unique_ptr<InputStream> DavProvider::openForReading(const vfs::AbsoluteIRI& location) const {
    // A folder has no body, whatever a share answers its GET with: nginx refuses it (403),
    // rclone refuses it without its "/" (405) and lists it with one. So a name with a "/" is
    // looked at first, and a refusal is looked into; a file's read costs no look.
    const auto refuseAFolder = [&] {
        if (probe(location).type == ItemType::Folder)
            vfs::raise(vfs::InternalError, "open", describe(location), "a folder is there");
    };
    if (location.toIRI().uriPath().ends_with('/'))
        refuseAFolder();
    // A body takes as long as it takes at a fair pace: a large file outlasts any deadline.
    http::Request request = dav::requestFor(location, "GET");
    request.wait = http::Wait::Pace;
    try {
        return std::make_unique<http::BodyReader>(options_, request, location, "open");
    } catch (const vfs::Exception& error) {
        if (error.getErrorCode() == vfs::PermissionDenied || error.getErrorCode() == vfs::IOError)
            refuseAFolder();
        throw;
    }
}

std::unique_ptr<OutputStream> DavProvider::openForWriting(const vfs::AbsoluteIRI& location,
                                                          vfs::WriteMode mode,
                                                          std::optional<std::uint64_t> size) const {
    return std::make_unique<dav::DavOutputStream>(*this, location, mode, size);
}

void DavProvider::rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const {
    const ItemStatus item = probe(location);
    if (item.type == ItemType::Nothing)
        vfs::raise(item.missingCode, "rename", describe(location));
    // A share moves a collection by its folder URL (nginx refuses anything else).
    dav::move(options_, location, target, item.type == ItemType::Folder, false, "rename", location);
}

void DavProvider::removeFolder(const vfs::AbsoluteIRI& location) const {
    // The share itself stays, empty or not: a server may well take its served folder away
    // (rclone does), and the share with it.
    if (!location.hasParent())
        vfs::raise(vfs::ResourceInUse, "removeFolder", describe(location), "the share's root");
    // A DELETE removes a whole tree: the folder is looked into first.
    const std::string own = dav::decodedPath(location.toIRI().uriPath());
    bool folder = false, empty = true;
    const bool found = dav::propfind(options_, location, dav::folderUrlOf(location), "1",
                                     "removeFolder", [&](dav::Resource&& resource) {
                                         if (dav::decodedPath(resource.href) == own)
                                             folder = resource.collection || !resource.described;
                                         else
                                             empty = false;
                                     });
    if (!found)
        vfs::raise(vfs::ResourceNotFound, "removeFolder", describe(location));
    if (!folder)
        vfs::raise(vfs::NotAFolder, "removeFolder", describe(location));
    if (!empty)
        vfs::raise(vfs::FolderNotEmpty, "removeFolder", describe(location));
    http::Request request = dav::requestFor(location, "DELETE");
    request.url = dav::folderUrlOf(location);
    dav::made(options_, request, "removeFolder", location);
}

} // namespace foundation::storage::provider
