// The s3 provider: construction, changes, objects read by GET and written by PUT or a
// multipart upload.

#include "S3Provider.hpp"
#include "foundation/storage/remote/makers.hpp"

#include "S3Request.hpp"

#include <foundation/storage/vfs/Exception.hpp>

#include <array>
#include <string>

namespace foundation::storage::provider {
namespace {

// Up to this much goes as one PUT; more as a multipart upload of parts this big (S3 wants
// at least 5 MiB for each part but the last).
constexpr std::size_t partSize = 8 << 20;

using s3::Place;

// The object a location names: its key less one trailing "/", as a local file's path is
// read. The bucket's root is no object: a request for "" would be one for the bucket.
Place objectAt(const vfs::AbsoluteIRI& location, const char* operation) {
    Place place = s3::placeOf(location);
    if (place.key.ends_with('/'))
        place.key.pop_back();
    if (place.key.empty())
        http::raise({vfs::ResourceNotFound, "the bucket's root is no object"}, operation, location);
    return place;
}

std::unique_ptr<http::Transfer> ask(const S3Options& options, const Place& place,
                                    std::string method, const s3::Query& query = {},
                                    std::string body = {}, std::vector<std::string> headers = {}) {
    http::Request request =
        s3::requestFor(options, place, std::move(method), query, std::move(body));
    request.headers.insert(request.headers.end(), headers.begin(), headers.end());
    // An object's bytes typed as S3 types those put without a type. A typed body goes out
    // with the headers, without the "Expect: 100-continue" round trip a signed body read
    // through a callback costs (see the HTTP client).
    if (!request.body.empty() && !request.typed())
        request.headers.emplace_back("Content-Type: binary/octet-stream");
    // A request that sends a body (an object, a part of up to 8 MiB) is bounded by its pace:
    // the deadline is for those that move none.
    if (!request.body.empty())
        request.wait = http::Wait::Pace;
    return http::Transfer::answered(options.http, request);
}

// An answer that must be good; its body, when wanted, read whole. Some S3 answers (a copy, a
// completed upload) are 200 with an error in the body: an <Error> root is a failure too.
std::string require(http::Transfer& transfer, const char* operation,
                    const vfs::AbsoluteIRI& location, bool readBody = false) {
    if (transfer.failure())
        s3::raiseAnswer(transfer, operation, location);
    if (!readBody)
        return {};
    std::string body = transfer.wholeBody();
    bool error = false;
    s3::XmlReader reader([&](const std::vector<std::string>& path, std::string&) {
        error = error || path.front() == "Error";
    });
    reader.feed(body, true);
    if (error)
        http::raise({vfs::IOError, "HTTP 200 with an error: " + body.substr(0, 300)}, operation,
                    location);
    return body;
}

// The text of the one element `name` anywhere in `xml`.
std::string elementText(std::string_view xml, std::string_view name) {
    std::string found;
    s3::XmlReader reader([&](const std::vector<std::string>& path, std::string& text) {
        if (path.back() == name)
            found = std::move(text);
    });
    reader.feed(xml, true);
    return found;
}

// An object's body by GET. Where the connection breaks midway, the rest is asked for with a
// Range from where it broke, of the same version (If-Match its ETag), up to `attempts` times.
class ObjectReader : public InputStream {
public:
    ObjectReader(const S3Options& options, vfs::AbsoluteIRI location)
        : options_(options), place_(objectAt(location, "open")), location_(std::move(location)) {
        open();
    }

    std::size_t read(std::span<char> buffer) override {
        for (;;) {
            const std::size_t length = transfer_->read(buffer);
            offset_ += length;
            if (length > 0 || buffer.empty())
                return length;
            const auto failure = transfer_->failure();
            if (!failure)
                return 0;
            // A status other than 2xx on a resumed request (412: the object changed) is not
            // the network's doing: it ends the read.
            if (transfer_->status() / 100 != 2 || ++resumes_ >= options_.http.attempts ||
                etag_.empty())
                http::raise(*failure, "read", location_);
            open();
        }
    }

private:
    void open() {
        http::Request request = s3::requestFor(options_, place_, "GET");
        if (offset_ > 0) {
            request.range = std::to_string(offset_) + '-';
            request.headers.push_back("If-Match: " + etag_);
        }
        request.wait = http::Wait::Pace;
        transfer_ = http::Transfer::answered(options_.http, request);
        if (offset_ == 0) {
            // A body cut short after a good status is read up to the cut, then resumed.
            if (transfer_->status() / 100 != 2)
                s3::raiseAnswer(*transfer_, "open", location_);
            if (const auto etag = transfer_->header("ETag"))
                etag_ = *etag;
            return;
        }
        // The rest of the same version, or nothing: a new version (412) or a whole body
        // (a server that ignores the range) would not continue what was read.
        if (transfer_->status() == 412)
            http::raise({vfs::IOError, "the object changed while it was read"}, "read", location_);
        if (transfer_->failure())
            s3::raiseAnswer(*transfer_, "read", location_);
        if (transfer_->status() != 206)
            http::raise({vfs::IOError, "the rest was not sent as a range"}, "read", location_);
    }

    // A copy: a stream may outlive the provider that opened it.
    const S3Options options_;
    Place place_;
    vfs::AbsoluteIRI location_;
    std::unique_ptr<http::Transfer> transfer_;
    std::uint64_t offset_ = 0;
    std::string etag_;
    int resumes_ = 0;
};

// New content for an object, held until it passes 8 MiB; then a multipart upload whose parts
// go as they fill. Nothing is visible under the key before commit(); an upload that is not
// completed is aborted, so that no parts are left stored.
class ObjectWriter : public OutputStream {
public:
    ObjectWriter(const S3Provider& provider, vfs::AbsoluteIRI location, vfs::WriteMode mode)
        : options_(provider.options()), place_(objectAt(location, "write")),
          location_(std::move(location)), mode_(mode) {
        // An object or a folder of the name.
        if (mode_ == vfs::WriteMode::create && provider.probe(location_).type != ItemType::Nothing)
            refuse();
    }
    ~ObjectWriter() override { abort(); }

    void write(std::span<const char> data) override {
        buffer_.append(data.data(), data.size());
        while (buffer_.size() > partSize) {
            sendPart(buffer_.substr(0, partSize));
            buffer_.erase(0, partSize);
        }
    }

    void commit() override {
        // An object that came while this one was written: one HEAD request.
        if (mode_ == vfs::WriteMode::create && !ask(options_, place_, "HEAD")->failure())
            refuse();
        if (uploadId_.empty()) {
            std::vector<std::string> headers;
            if (mode_ == vfs::WriteMode::create)
                headers.push_back("If-None-Match: *"); // closes the race where S3 honours it
            require(*ask(options_, place_, "PUT", {}, std::move(buffer_), std::move(headers)),
                    "write", location_);
            done_ = true;
            return;
        }
        if (!buffer_.empty())
            sendPart(std::move(buffer_));
        std::string parts = "<CompleteMultipartUpload>";
        for (std::size_t i = 0; i < etags_.size(); ++i)
            parts += "<Part><PartNumber>" + std::to_string(i + 1) + "</PartNumber><ETag>" +
                     etags_[i] + "</ETag></Part>";
        parts += "</CompleteMultipartUpload>";
        const auto transfer = ask(options_, place_, "POST", {{"uploadId", uploadId_}},
                                  std::move(parts), {"Content-Type: application/xml"});
        try {
            require(*transfer, "write", location_, true);
        } catch (...) {
            abort();
            throw;
        }
        done_ = true;
    }

    void abort() noexcept override {
        if (done_)
            return;
        done_ = true;
        buffer_.clear();
        if (uploadId_.empty())
            return;
        try {
            ask(options_, place_, "DELETE", {{"uploadId", uploadId_}});
        } catch (...) {
            // S3 drops an upload abandoned for long; nothing of it was ever visible.
        }
    }

private:
    [[noreturn]] void refuse() {
        abort();
        http::raise({vfs::ResourceAlreadyExists, "the key is taken"}, "write", location_);
    }

    void sendPart(std::string part) {
        try {
            if (uploadId_.empty()) {
                const auto started = ask(options_, place_, "POST", {{"uploads", ""}});
                uploadId_ = elementText(require(*started, "write", location_, true), "UploadId");
                if (uploadId_.empty())
                    http::raise({vfs::IOError, "no UploadId"}, "write", location_);
            }
            const auto sent =
                ask(options_, place_, "PUT",
                    {{"partNumber", std::to_string(etags_.size() + 1)}, {"uploadId", uploadId_}},
                    std::move(part));
            require(*sent, "write", location_);
            etags_.emplace_back(sent->header("ETag").value_or(""));
        } catch (...) {
            abort();
            throw;
        }
    }

    // A copy: a stream may outlive the provider that opened it.
    const S3Options options_;
    Place place_;
    vfs::AbsoluteIRI location_;
    vfs::WriteMode mode_;
    std::string buffer_;
    std::string uploadId_;
    std::vector<std::string> etags_;
    bool done_ = false;
};

} // namespace

S3Provider::S3Provider(S3Options options) : options_(s3::resolved(std::move(options))) {}

S3Provider::~S3Provider() = default;

std::vector<std::string> S3Provider::schemes() const {
    return {remote::s3Schemes.begin(), remote::s3Schemes.end()};
}

fl::ustring S3Provider::describe(const vfs::AbsoluteIRI& location) const {
    return http::shown(location);
}

void S3Provider::createFile(const vfs::AbsoluteIRI& location) const {
    ObjectWriter writer(*this, location, vfs::WriteMode::create);
    writer.commit();
}

void S3Provider::removeFile(const vfs::AbsoluteIRI& location) const {
    const Place place = objectAt(location, "remove");
    // S3 answers a DELETE of a missing key as of one it removed: a HEAD tells first.
    const auto look = ask(options_, place, "HEAD");
    if (look->status() == 404)
        http::raise({vfs::ResourceNotFound, "no object " + place.key}, "remove", location);
    require(*look, "remove", location);
    require(*ask(options_, place, "DELETE"), "remove", location);
}

void S3Provider::createFolder(const vfs::AbsoluteIRI& location) const {
    Place place = s3::placeOf(location);
    if (probe(location).type != ItemType::Nothing)
        http::raise({vfs::ResourceAlreadyExists, "taken"}, "create folder", location);
    // A bucket's root that is not there is a bucket that is not there, which this provider
    // never makes: the PUT of its empty marker would be a CreateBucket.
    if (place.key.empty())
        http::raise({vfs::ResourceNotFound, "no such bucket"}, "create folder", location);
    if (location.hasParent()) {
        // Without its "/", so that an object in the way is found: NotAFolder.
        fl::ustring parentText = location.getParent().toString();
        while (parentText.ends_with(u'/'))
            parentText.pop_back();
        const vfs::AbsoluteIRI parent(parentText);
        if (!s3::placeOf(parent).key.empty()) {
            const ItemType above = probe(parent).type;
            if (above != ItemType::Folder)
                http::raise({above == ItemType::Nothing ? vfs::ResourceNotFound : vfs::NotAFolder,
                             "no folder above"},
                            "create folder", location);
        }
    }
    place.key = s3::folderKey(place.key);
    require(*ask(options_, place, "PUT"), "create folder", location);
}

void S3Provider::removeFolder(const vfs::AbsoluteIRI& location) const {
    Place place = s3::placeOf(location);
    place.key = s3::folderKey(place.key);
    const auto transfer = s3::askPage(*this, place.bucket, place.key, false, {}, 2);
    const s3::ListPage page = s3::readPage(*transfer, location);
    if (page.items.empty())
        http::raise({vfs::ResourceNotFound, "no key starts with " + place.key}, "remove folder",
                    location);
    for (const s3::Listed& item : page.items)
        if (item.key != place.key)
            http::raise({vfs::FolderNotEmpty, "holds " + item.key}, "remove folder", location);
    require(*ask(options_, place, "DELETE"), "remove folder", location);
}

std::unique_ptr<InputStream> S3Provider::openForReading(const vfs::AbsoluteIRI& location) const {
    return std::make_unique<ObjectReader>(options_, location);
}

// Without a use for `size`: each part is sent whole from memory, with its own length.
std::unique_ptr<OutputStream> S3Provider::openForWriting(const vfs::AbsoluteIRI& location,
                                                         vfs::WriteMode mode,
                                                         std::optional<std::uint64_t>) const {
    return std::make_unique<ObjectWriter>(*this, location, mode);
}

void S3Provider::rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const {
    const Place from = objectAt(location, "rename");
    const Place to = objectAt(target, "rename");
    const ItemType type = probe(location).type;
    if (type == ItemType::Nothing)
        http::raise({vfs::ResourceNotFound, "no object " + from.key}, "rename", location);
    // A folder is every key under a prefix: S3 has no call that moves them together.
    if (type != ItemType::File)
        unsupported("rename", location);
    if (probe(target).type != ItemType::Nothing)
        http::raise({vfs::ResourceAlreadyExists, "taken"}, "rename", target);
    const auto copied = ask(options_, to, "PUT", {}, {},
                            {"x-amz-copy-source: /" + s3::escaped(from.bucket, false) + '/' +
                             s3::escaped(from.key, true)});
    require(*copied, "rename", location, true);
    require(*ask(options_, from, "DELETE"), "rename", location);
}

} // namespace foundation::storage::provider
