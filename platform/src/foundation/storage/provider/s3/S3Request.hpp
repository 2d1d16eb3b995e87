#pragma once

// What the sources of the s3 provider share. The provider's members live in S3Provider.cpp
// (construction, changes, reading and writing), S3FileInfo.cpp (looking: HEAD and a one-key
// listing), S3FileEnumerator.cpp (ListObjectsV2 pages), S3Signing.cpp (settings from the
// environment and shared files, addresses, signed requests) and S3Xml.cpp (the answers'
// XML, read as it arrives).

#include "S3Provider.hpp"

#include "foundation/storage/http/Client.hpp"

#include <boost/date_time/posix_time/ptime.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct XML_ParserStruct;

namespace foundation::storage::provider {

// The provider's counter, for the sources that make listing requests.
struct S3Access {
    static void countList(const S3Provider& provider) { ++provider.listRequests_; }
};

namespace s3 {

// Every empty field of `options` filled from the environment and the shared files, as
// S3Options tells.
S3Options resolved(S3Options options);

// Where an IRI leads: the bucket (its host) and the key (its path without the leading "/",
// every escape decoded, as UTF-8).
struct Place {
    std::string bucket;
    std::string key;
};
Place placeOf(const vfs::AbsoluteIRI& location);

// A key's folder form: "p" gives "p/"; "" (the bucket's root) and "p/" stay.
std::string folderKey(std::string key);

// `text` with every byte but A-Z a-z 0-9 - _ . ~ escaped as %XX (upper case), "/" kept when
// `keepSlash`: the form S3 signs, for keys and for query values alike.
std::string escaped(std::string_view text, bool keepSlash);

// Query parameters: sorted by name, as the signature's canonical query must be and curl
// leaves them; each written "name=value", escaped.
using Query = std::map<std::string, std::string>;
std::string queryText(const Query& query);

// The request for `place` (the bucket itself when the key is empty) with `query`, signed
// when there are credentials. `body` is sent whole; its SHA-256 is what the signature covers.
http::Request requestFor(const S3Options& options, const Place& place, std::string method,
                         const Query& query = {}, std::string body = {});

// What an S3 error answer says: its Code, Message and, for a bucket of another region,
// Region. Empty fields where the answer has no body (a HEAD) or no XML.
struct ErrorText {
    std::string code;
    std::string message;
    std::string region;
};

// Raises the failure of an answer whose status is not 2xx (or whose body is an S3 error,
// as CopyObject and CompleteMultipartUpload may send with 200): the code by its status, the
// server's error code, message and region in the reason.
[[noreturn]] void raiseAnswer(http::Transfer& transfer, const char* operation,
                              const vfs::AbsoluteIRI& location);

// The end of every element of an XML text fed in pieces: the local names of the elements
// open around it, outermost first, itself last, and its text. Namespaces are read (a
// prefix or none alike) and then left aside: S3 answers use one.
class XmlReader {
public:
    using Ended = std::function<void(const std::vector<std::string>& path, std::string& text)>;
    explicit XmlReader(Ended ended);
    ~XmlReader();
    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    // False when the text is not well-formed; `last` for the final piece.
    bool feed(std::string_view piece, bool last);
    std::string error() const;

private:
    static void onStart(void* self, const char* name, const char** attributes);
    static void onEnd(void* self, const char* name);
    static void onText(void* self, const char* text, int length);

    struct Free {
        void operator()(XML_ParserStruct* parser) const noexcept;
    };
    std::unique_ptr<XML_ParserStruct, Free> parser_;
    Ended ended_;
    std::vector<std::string> path_;
    std::string text_;
};

// One object of a listing page, or a common prefix (`folder`, with no size or time).
struct Listed {
    std::string key;
    bool folder = false;
    std::uint64_t size = 0;
    boost::posix_time::ptime lastModified;
    std::string etag;
};

// A listing page: its objects and common prefixes in the order the server sent them, and
// the token of the next page (empty for the last).
struct ListPage {
    std::vector<Listed> items;
    std::string next;
};

// The request for one ListObjectsV2 page of the keys starting with `prefix`, "/" as
// delimiter when `delimited`, answered; counted by the provider.
std::unique_ptr<http::Transfer> askPage(const S3Provider& provider, const std::string& bucket,
                                        const std::string& prefix, bool delimited,
                                        const std::string& token, int maxKeys);
// The page an answer of askPage holds, its XML read as it arrives; raises its failure.
ListPage readPage(http::Transfer& transfer, const vfs::AbsoluteIRI& location);

// An S3 time ("2026-11-24T05:00:12.000Z"); not_a_date_time when it is not one.
boost::posix_time::ptime isoTime(std::string_view text);

} // namespace s3
} // namespace foundation::storage::provider
