// The XML of S3's answers, on expat: listing pages read as they arrive, and error answers
// turned into a failure with the server's own words.

#include "S3Request.hpp"

#include <foundation/storage/vfs/Exception.hpp>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <expat.h>

#include <array>
#include <charconv>
#include <new>
#include <stdexcept>

namespace foundation::storage::provider::s3 {
namespace {

// Expat joins a namespace and a local name with this; S3 has one namespace, so only the
// local name counts.
constexpr char namespaceSeparator = '\x01';

std::string_view localName(const char* name) {
    std::string_view text(name);
    return text.substr(text.rfind(namespaceSeparator) + 1);
}

bool is(const std::vector<std::string>& path, std::initializer_list<std::string_view> names) {
    if (path.size() != names.size())
        return false;
    auto at = path.begin();
    for (const std::string_view name : names)
        if (*at++ != name)
            return false;
    return true;
}

std::uint64_t number(std::string_view text) {
    std::uint64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

// The error an answer's body tells, read whole (an error answer is small).
ErrorText errorOf(http::Transfer& transfer) {
    ErrorText error;
    std::string body;
    try {
        body = transfer.wholeBody(64 * 1024);
    } catch (const std::exception&) {
        return error;
    }
    XmlReader reader([&](const std::vector<std::string>& path, std::string& text) {
        if (path.size() == 2 && path[0] == "Error") {
            if (path[1] == "Code")
                error.code = std::move(text);
            else if (path[1] == "Message")
                error.message = std::move(text);
            else if (path[1] == "Region")
                error.region = std::move(text);
        }
    });
    reader.feed(body, true);
    return error;
}

} // namespace

XmlReader::XmlReader(Ended ended)
    : parser_(XML_ParserCreateNS(nullptr, namespaceSeparator)), ended_(std::move(ended)) {
    if (!parser_)
        throw std::bad_alloc();
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), &XmlReader::onStart, &XmlReader::onEnd);
    XML_SetCharacterDataHandler(parser_.get(), &XmlReader::onText);
}

XmlReader::~XmlReader() = default;

void XmlReader::Free::operator()(XML_ParserStruct* parser) const noexcept {
    XML_ParserFree(parser);
}

bool XmlReader::feed(std::string_view piece, bool last) {
    return XML_Parse(parser_.get(), piece.data(), static_cast<int>(piece.size()), last) ==
           XML_STATUS_OK;
}

std::string XmlReader::error() const {
    return XML_ErrorString(XML_GetErrorCode(parser_.get()));
}

void XmlReader::onStart(void* self, const char* name, const char**) {
    auto& reader = *static_cast<XmlReader*>(self);
    reader.path_.emplace_back(localName(name));
    reader.text_.clear();
}

void XmlReader::onEnd(void* self, const char*) {
    auto& reader = *static_cast<XmlReader*>(self);
    reader.ended_(reader.path_, reader.text_);
    reader.path_.pop_back();
    reader.text_.clear();
}

void XmlReader::onText(void* self, const char* text, int length) {
    static_cast<XmlReader*>(self)->text_.append(text, static_cast<std::size_t>(length));
}

boost::posix_time::ptime isoTime(std::string_view text) {
    // "YYYY-MM-DDTHH:MM:SS", then fractions and "Z", which are left aside.
    std::array<int, 6> parts{};
    std::size_t at = 0;
    for (int& part : parts) {
        const auto [end, error] =
            std::from_chars(text.data() + at, text.data() + text.size(), part);
        if (error != std::errc())
            return {};
        at = static_cast<std::size_t>(end - text.data()) + 1;
    }
    try {
        return boost::posix_time::ptime(
            boost::gregorian::date(static_cast<unsigned short>(parts[0]),
                                   static_cast<unsigned short>(parts[1]),
                                   static_cast<unsigned short>(parts[2])),
            boost::posix_time::time_duration(parts[3], parts[4], parts[5]));
    } catch (const std::out_of_range&) {
        return {};
    }
}

void raiseAnswer(http::Transfer& transfer, const char* operation,
                 const vfs::AbsoluteIRI& location) {
    http::Failure failure = transfer.failure().value_or(http::Failure{vfs::IOError, "HTTP 200"});
    if (transfer.status() != 0) {
        const ErrorText error = errorOf(transfer);
        if (!error.code.empty())
            failure.reason += ' ' + error.code;
        if (!error.message.empty())
            failure.reason += ": " + error.message;
        // A bucket of another region: S3 names it in the body, or in a header of a HEAD.
        std::string region = error.region;
        if (region.empty())
            if (const auto header = transfer.header("x-amz-bucket-region"))
                region = *header;
        if (!region.empty() && (transfer.status() == 301 || transfer.status() == 400))
            failure.reason += " (the bucket is in region " + region + ")";
    }
    http::raise(failure, operation, location);
}

std::unique_ptr<http::Transfer> askPage(const S3Provider& provider, const std::string& bucket,
                                        const std::string& prefix, bool delimited,
                                        const std::string& token, int maxKeys) {
    Query query{{"list-type", "2"}, {"max-keys", std::to_string(maxKeys)}};
    if (!prefix.empty())
        query.emplace("prefix", prefix);
    if (delimited)
        query.emplace("delimiter", "/");
    if (!token.empty())
        query.emplace("continuation-token", token);
    const auto& options = provider.options();
    S3Access::countList(provider);
    return http::Transfer::answered(options.http, requestFor(options, {bucket, {}}, "GET", query));
}

ListPage readPage(http::Transfer& transfer, const vfs::AbsoluteIRI& location) {
    if (transfer.failure())
        raiseAnswer(transfer, "list", location);
    ListPage page;
    Listed item;
    bool truncated = false;
    XmlReader reader([&](const std::vector<std::string>& path, std::string& text) {
        if (path.size() == 3 && path[1] == "Contents") {
            if (path[2] == "Key")
                item.key = std::move(text);
            else if (path[2] == "Size")
                item.size = number(text);
            else if (path[2] == "LastModified")
                item.lastModified = isoTime(text);
            else if (path[2] == "ETag")
                item.etag = std::move(text);
        } else if (is(path, {"ListBucketResult", "CommonPrefixes", "Prefix"})) {
            Listed prefix;
            prefix.key = std::move(text);
            prefix.folder = true;
            page.items.push_back(std::move(prefix));
        } else if (is(path, {"ListBucketResult", "Contents"})) {
            page.items.push_back(std::move(item));
            item = {};
        } else if (is(path, {"ListBucketResult", "IsTruncated"})) {
            truncated = text == "true";
        } else if (is(path, {"ListBucketResult", "NextContinuationToken"})) {
            page.next = std::move(text);
        }
    });
    std::array<char, 16 * 1024> chunk;
    for (;;) {
        const std::size_t length = transfer.read(chunk);
        if (length == 0 && transfer.failure())
            raiseAnswer(transfer, "list", location);
        if (!reader.feed({chunk.data(), length}, length == 0))
            http::raise({vfs::IOError, "listing not read: " + reader.error()}, "list", location);
        if (length == 0)
            break;
    }
    if (!truncated)
        page.next.clear();
    else if (page.next.empty())
        http::raise({vfs::IOError, "a listing page without its continuation token"}, "list",
                    location);
    return page;
}

} // namespace foundation::storage::provider::s3
