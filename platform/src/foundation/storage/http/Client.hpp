#pragma once

// The HTTP client every remote provider (http, dav, s3) speaks through, on libcurl: any
// method, request headers, a request body given whole or pushed as it is written, and the
// answer's body pulled as it arrives. Bounds and retries follow HttpOptions. The status of
// an answer becomes a storage code in one table (Status.cpp).

#include <foundation/storage/provider/HttpOptions.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <fl/ustring.hpp>

#include <boost/date_time/posix_time/ptime.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::storage::http {

using provider::HttpOptions;

// How long a request may take (HttpOptions): one whose body the caller does not stream (a
// look, a listing page, MKCOL, DELETE, MOVE) has a deadline; a body moved as it comes, a
// floor on its speed.
enum class Wait { Deadline, Pace };

// Who the request is made as. Empty: nobody, unless `netrc` finds the host in ~/.netrc.
struct Credentials {
    std::string user;
    std::string password;
    bool netrc = false; // user and password from ~/.netrc where these are empty
    // Signs with AWS Signature Version 4 (curl's CURLOPT_AWS_SIGV4 text, such as
    // "aws:amz:us-east-1:s3"); user and password are the key id and the secret.
    std::string awsSigV4;
};

// What to send. A body is either `body`, sent whole (and again on a retry), or pushed
// through Transfer::send() when `streamedBody` is set (then never retried).
struct Request {
    std::string method = "GET";       // any verb: HEAD, GET, PUT, PROPFIND, MKCOL, MOVE, POST, ...
    std::string url;                  // URI text, escaped
    std::vector<std::string> headers; // "Name: value"
    std::string body;
    bool streamedBody = false;
    // The length of a streamed body when known (sent as Content-Length); else chunked.
    std::optional<std::uint64_t> bodyLength;
    std::string range; // "0-0": only those bytes of the answer's body
    Wait wait = Wait::Deadline;
    Credentials credentials;
    // Whether sending it twice does no harm: HEAD, GET, PROPFIND, OPTIONS, DELETE, and a PUT
    // whose body is `body`. Others (MKCOL, MOVE, POST, a streamed PUT) are made once.
    bool repeatable() const;
    // Whether `headers` give the body a type: a Content-Type with a value.
    bool typed() const;
};

// A request for `location` by `method`: its URI text as the URL.
Request requestFor(const vfs::AbsoluteIRI& location, std::string method);

// Why a request did not give what was asked: the storage code, and what the server or the
// network said ("HTTP 500", curl's text), for the failure's context.
struct Failure {
    int code;
    std::string reason;
};

// The storage code of an answer's status (404 gives ResourceNotFound, ...); none for 2xx.
std::optional<Failure> failureOf(long status);

// One request, redirects followed, on a session taken from this thread's pool (a new one
// when the pool is empty) and given back when it ends, so that connections are reused.
class Transfer {
public:
    Transfer(const HttpOptions& options, Request request);
    // The request made and its answer awaited, made again while it fails in a way that may
    // pass (HttpOptions::attempts) if it is repeatable(): the last attempt, whose failure()
    // is the caller's. Not for a streamed body.
    static std::unique_ptr<Transfer> answered(const HttpOptions& options, const Request& request);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    // A streamed body: sends `data`, returning once curl has taken all of it, or early when
    // the transfer ended (the server answered before the body was sent: see failure()).
    void send(std::span<const char> data);
    // A streamed body ends here; the answer is then awaited.
    void finishBody();

    // Drives the request until the final answer's status is known: the first byte of its
    // body, or its end.
    void awaitAnswer();
    // The answer's body read into memory, up to `limit` bytes (the rest left unread): for
    // answers the caller reads whole, such as an error's XML.
    std::string wholeBody(std::size_t limit = 1 << 20);
    // The final answer's status; 0 when none came.
    long status() const;
    // A header of the final answer as the server sent it; valid until the next call.
    std::optional<std::string_view> header(const char* name) const;
    // What keeps the request from giving its answer: the network's failure, or a status
    // other than 2xx (failureOf). None while it is in good standing.
    std::optional<Failure> failure() const;

    // Body bytes of the answer, up to buffer.size(); 0 at the end of the body and at a
    // failure, which failure() then tells.
    std::size_t read(std::span<char> buffer);

private:
    struct Session;
    // This thread's idle session, whose connections the next request reuses.
    static std::unique_ptr<Session>& idleSession();
    std::optional<std::chrono::milliseconds> retryWait(const HttpOptions& options,
                                                       int attempt) const;
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t onSend(char* data, std::size_t size, std::size_t count, void* self);
    template <class Ready> void driveUntil(Ready ready);
    // A streamed body's transfer, paused for want of bytes, goes on.
    void resumeSending();
    std::size_t buffered() const noexcept { return buffer_.size() - taken_; }

    Request request_;
    std::unique_ptr<Session> session_;
    struct HeaderList;
    std::unique_ptr<HeaderList> headers_;
    // The body sent: request_.body, or what send() is sending.
    std::string_view outgoing_;
    bool authenticates_ = false; // with a user's password (given, or from ~/.netrc)
    bool bodyEnded_ = false;     // a streamed body's end was given
    bool sendPaused_ = false;
    std::string buffer_; // the answer's body, received and not yet read
    std::size_t taken_ = 0;
    bool answered_ = false; // the final answer's body has begun
    bool paused_ = false;
    bool done_ = false;
    int result_ = 0; // CURLcode
    char errorText_[256] = {};
};

// A date as HTTP writes it (RFC 1123, and the older forms servers still send), in UTC;
// not_a_date_time when it is not one.
boost::posix_time::ptime dateOf(std::string_view text);

// A header of the final answer, kept beyond the next call.
std::optional<std::string> headerText(const Transfer& transfer, const char* name);
// Last-Modified of an answer, or its own Date where the server keeps no time for the item
// (a bucket, a generated page); not_a_date_time when neither is a date.
boost::posix_time::ptime lastModifiedOf(const Transfer& transfer);
// The whole size of the item an answer is about: after the "/" of a 206's Content-Range
// ("bytes 0-0/1234"), else Content-Length; 0 when the server does not say (chunks).
std::uint64_t sizeOf(const Transfer& transfer);

// How messages name a location: its IRI text, with the password of "user:password@"
// replaced by "***".
fl::ustring shown(const vfs::AbsoluteIRI& location);

// Raises `failure` as `operation` on `location` (as shown), its reason in the context.
[[noreturn]] void raise(const Failure& failure, const char* operation,
                        const vfs::AbsoluteIRI& location);

// An answer's body being read, whose status was good (2xx) when it was opened.
class BodyReader : public provider::InputStream {
public:
    // Raises what keeps the body from being read (ResourceNotFound for 404, ...).
    BodyReader(const HttpOptions& options, const Request& request, const vfs::AbsoluteIRI& location,
               const char* operation);

    // Raises IOError where the body ends early: a closed connection, a stalled transfer.
    std::size_t read(std::span<char> buffer) override;
    // The answer's Content-Length; none for a body sent in chunks.
    std::optional<std::uint64_t> size() const override;

    const Transfer& transfer() const noexcept { return *transfer_; }

private:
    std::unique_ptr<Transfer> transfer_; // its address is curl's: never moved
    vfs::AbsoluteIRI location_;
};

} // namespace foundation::storage::http
