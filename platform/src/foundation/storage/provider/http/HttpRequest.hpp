#pragma once

// What the three sources of the http(s) provider share: requests and their answers. The
// provider's members live in HttpProvider.cpp (construction, refused changes, reading, and
// the requests themselves), HttpFileInfo.cpp (looking: probe and attributes from a HEAD
// request) and HttpFileEnumerator.cpp (listing: an index page read into entries).

#include "HttpProvider.hpp"

#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace foundation::storage::provider::http {

struct EasyCleanup {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
using EasyHandle = std::unique_ptr<CURL, EasyCleanup>;
using MultiHandle = std::unique_ptr<CURLM, MultiCleanup>;

// A request handle and the multi handle that drives it. The open connections live in the
// multi handle's cache, so a session that goes back to its thread's pool keeps them for the
// next request to the same server.
struct Session {
    EasyHandle easy;
    MultiHandle multi;
};

enum class Method {
    Head,      // the headers alone
    FirstByte, // a GET of byte 0, for a server that refuses HEAD
    Get,       // the whole body, pulled by read()
};

// How long a request may take (HttpOptions): one whose body the caller does not stream (a
// look, an index page) has a deadline; a body read as it comes, a floor on its speed.
enum class Wait { Deadline, Pace };

// Why a request did not give what was asked: the storage code, and what the server or the
// network said ("HTTP 500", curl's text), for the failure's context.
struct Failure {
    int code;
    std::string reason;
};

// One request, redirects followed, on a session taken from this thread's pool (a new one
// when the pool is empty) and given back when it ends. The body is pulled: curl's callbacks
// fill a bounded buffer, and a full buffer pauses the transfer until read() empties it.
class Transfer {
public:
    Transfer(const HttpOptions& options, const vfs::AbsoluteIRI& location, Method method,
             Wait wait);
    // The request made and its answer awaited, made again while it fails in a way that may
    // pass (HttpOptions::attempts): the last attempt, whose failure() is the caller's. Only
    // for requests that change nothing, before any of the body reached the caller.
    static std::unique_ptr<Transfer> answered(const HttpOptions& options,
                                              const vfs::AbsoluteIRI& location, Method method,
                                              Wait wait);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    // Drives the request until the final answer's status is known: the first byte of its
    // body, or its end.
    void awaitAnswer();
    // The final answer's status; 0 when none came.
    long status() const;
    // A header of the final answer as the server sent it; valid until the next call.
    std::optional<std::string_view> header(const char* name) const;
    // What keeps the request from giving its answer: the network's failure, or a status
    // other than 2xx. None while it is in good standing.
    std::optional<Failure> failure() const;

    // Body bytes, up to buffer.size(); 0 at the end of the body and at a failure, which
    // failure() then tells.
    std::size_t read(std::span<char> buffer);

private:
    // How long to wait before attempt number `attempt` + 1; none when this failure is not
    // one that may pass.
    std::optional<std::chrono::milliseconds> retryWait(const HttpOptions& options,
                                                       int attempt) const;
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);
    // Runs curl until `ready()` or the end of the transfer, waiting on the sockets between.
    template <class Ready> void driveUntil(Ready ready);
    std::size_t buffered() const noexcept { return buffer_.size() - taken_; }

    std::unique_ptr<Session> session_;
    std::string buffer_;
    std::size_t taken_ = 0;
    bool answered_ = false; // the final answer's body has begun
    bool paused_ = false;
    bool done_ = false;
    CURLcode result_ = CURLE_OK;
    char errorText_[CURL_ERROR_SIZE] = {};
};

// How messages name a location: its IRI text, with the password of "user:password@"
// replaced by "***".
fl::ustring shown(const vfs::AbsoluteIRI& location);

// Raises `failure` as `operation` on `location` (as shown), its reason in the context.
[[noreturn]] void raise(const Failure& failure, const char* operation,
                        const vfs::AbsoluteIRI& location);

// A body being read by GET, whose answer was good (2xx) when it was opened.
class BodyReader : public InputStream {
public:
    // Raises what keeps the body from being read (ResourceNotFound for 404, ...).
    BodyReader(const HttpOptions& options, const vfs::AbsoluteIRI& location, const char* operation,
               Wait wait = Wait::Pace);

    // Raises IOError where the body ends early: a closed connection, a stalled transfer.
    std::size_t read(std::span<char> buffer) override;

    const Transfer& transfer() const noexcept { return *transfer_; }

private:
    std::unique_ptr<Transfer> transfer_; // its address is curl's: never moved
    vfs::AbsoluteIRI location_;
};

} // namespace foundation::storage::provider::http
