// The http(s) provider: construction, the requests every member makes, and the body read as
// it arrives. Changes are refused by the base class, for a read-only store.

#include "HttpProvider.hpp"

#include "foundation/storage/remote/makers.hpp"

#include "HttpRequest.hpp"

#include <foundation/storage/vfs/Exception.hpp>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <new>
#include <random>
#include <string>
#include <thread>

namespace foundation::storage::provider {
namespace http {
namespace {

// What curl may hand over beyond what read() has taken: a few of its 16 KiB writes.
constexpr std::size_t bufferLimit = 64 * 1024;
// The longest wait on the sockets between two looks at the transfer; curl's own timers
// (timeouts, the low-speed check) end a wait sooner.
constexpr int pollMilliseconds = 1000;

// One idle session per thread: requests one after another on a thread (the usual case)
// reuse its connections; a request made while another is open on the thread (a probe while
// a body is read) gets a session of its own.
thread_local std::unique_ptr<Session> idleSession;

std::unique_ptr<Session> takeSession() {
    if (idleSession)
        return std::move(idleSession);
    auto session = std::make_unique<Session>(
        Session{EasyHandle(curl_easy_init()), MultiHandle(curl_multi_init())});
    if (!session->easy || !session->multi)
        throw std::bad_alloc();
    return session;
}

void giveBack(std::unique_ptr<Session> session) {
    if (!idleSession)
        idleSession = std::move(session);
}

} // namespace

Transfer::Transfer(const HttpOptions& options, const vfs::AbsoluteIRI& location, Method method,
                   Wait wait)
    : session_(takeSession()) {
    CURL* easy = session_->easy.get();
    // A reset keeps the connections: they belong to the multi handle.
    curl_easy_reset(easy);
    // curl takes the IRI's URI form: names with spaces and non-ASCII travel escaped.
    curl_easy_setopt(easy, CURLOPT_URL, std::string(location.toIRI().uriText()).c_str());
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L); // timeouts without signals, on any thread
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, options.maxRedirects);
    // A redirect to another scheme (file:, ftp:) would leave the storage this provider serves.
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(options.connectTimeout.count()));
    // The floor on the speed also ends a wait for a status line that never comes.
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, options.lowSpeedLimit);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, static_cast<long>(options.lowSpeedTime.count()));
    if (wait == Wait::Deadline)
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                         static_cast<long>(options.requestTimeout.count()));
    // The file replaces the default bundle; curl's default folder of the system's
    // certificates (CURLOPT_CAPATH) stays, so both are trusted.
    if (!options.caFile.empty())
        curl_easy_setopt(easy, CURLOPT_CAINFO, options.caFile.c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    if (method == Method::Head)
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    else if (method == Method::FirstByte)
        curl_easy_setopt(easy, CURLOPT_RANGE, "0-0");
    curl_multi_add_handle(session_->multi.get(), easy);
}

std::unique_ptr<Transfer> Transfer::answered(const HttpOptions& options,
                                             const vfs::AbsoluteIRI& location, Method method,
                                             Wait wait) {
    using std::chrono::milliseconds;
    using Clock = std::chrono::steady_clock;
    // A deadline holds for the whole call: each attempt has what is left of it, and a wait
    // that would end beyond it is not taken.
    const Clock::time_point end = Clock::now() + options.requestTimeout;
    HttpOptions bounded = options;
    for (int attempt = 1;; ++attempt) {
        auto transfer = std::make_unique<Transfer>(bounded, location, method, wait);
        transfer->awaitAnswer();
        auto pause =
            attempt < options.attempts ? transfer->retryWait(options, attempt) : std::nullopt;
        if (pause && wait == Wait::Deadline) {
            bounded.requestTimeout =
                std::chrono::duration_cast<milliseconds>(end - Clock::now()) - *pause;
            if (bounded.requestTimeout <= milliseconds(0))
                pause.reset();
        }
        if (!pause)
            return transfer;
        // Given back first, so that the next attempt may reuse its connection.
        transfer.reset();
        std::this_thread::sleep_for(*pause);
    }
}

std::optional<std::chrono::milliseconds> Transfer::retryWait(const HttpOptions& options,
                                                             int attempt) const {
    using std::chrono::milliseconds;
    if (done_ && result_ != CURLE_OK) {
        // The connection failed, or broke before an answer came. A timeout is not tried
        // again: the bounds are the caller's, for the whole call.
        switch (result_) {
        case CURLE_COULDNT_CONNECT:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
            break;
        default:
            return std::nullopt;
        }
    } else {
        switch (status()) {
        case 429:
        case 500:
        case 502:
        case 503:
        case 504:
            break;
        default:
            return std::nullopt;
        }
        // Seconds, or the time at which to come back.
        if (const auto after = header("Retry-After")) {
            const std::string text(*after);
            long long seconds = -1;
            if (!text.empty() && text.find_first_not_of("0123456789") == std::string::npos)
                seconds = std::stoll(text.substr(0, 9));
            else if (const time_t at = curl_getdate(text.c_str(), nullptr); at != -1)
                seconds = std::max<long long>(0, at - std::time(nullptr));
            if (seconds >= 0)
                return std::min<milliseconds>(std::chrono::seconds(seconds),
                                              options.retryAfterLimit);
        }
    }
    thread_local std::minstd_rand random(std::random_device{}());
    const milliseconds full = options.retryDelay * (1LL << std::min(attempt - 1, 20));
    std::uniform_int_distribution<long long> jitter(0, full.count() / 2);
    return full - milliseconds(jitter(random));
}

Transfer::~Transfer() {
    // An unfinished transfer's connection is closed here; a finished one's stays cached.
    curl_multi_remove_handle(session_->multi.get(), session_->easy.get());
    giveBack(std::move(session_));
}

std::size_t Transfer::onBody(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    const std::size_t length = size * count;
    transfer.answered_ = true;
    // curl keeps what it could not hand over and offers it again once the transfer resumes.
    if (transfer.buffered() > 0 && transfer.buffered() + length > bufferLimit) {
        transfer.paused_ = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    transfer.buffer_.erase(0, transfer.taken_);
    transfer.taken_ = 0;
    transfer.buffer_.append(data, length);
    return length;
}

template <class Ready> void Transfer::driveUntil(Ready ready) {
    CURLM* multi = session_->multi.get();
    for (;;) {
        int running = 0;
        const CURLMcode driven = curl_multi_perform(multi, &running);
        if (driven != CURLM_OK) {
            done_ = true;
            result_ = CURLE_FAILED_INIT;
            std::strncpy(errorText_, curl_multi_strerror(driven), sizeof errorText_ - 1);
        }
        int queued = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &queued))
            if (message->msg == CURLMSG_DONE) {
                done_ = true;
                result_ = message->data.result;
            }
        if (done_ || ready())
            return;
        curl_multi_poll(multi, nullptr, 0, pollMilliseconds, nullptr);
    }
}

void Transfer::awaitAnswer() {
    driveUntil([this] { return answered_; });
}

long Transfer::status() const {
    long status = 0;
    curl_easy_getinfo(session_->easy.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

std::optional<std::string_view> Transfer::header(const char* name) const {
    curl_header* found = nullptr;
    // Request -1: the last one, the answer the redirects led to.
    if (curl_easy_header(session_->easy.get(), name, 0, CURLH_HEADER, -1, &found) != CURLHE_OK)
        return std::nullopt;
    return std::string_view(found->value);
}

std::optional<Failure> Transfer::failure() const {
    if (done_ && result_ != CURLE_OK)
        return Failure{vfs::IOError, errorText_[0] ? errorText_ : curl_easy_strerror(result_)};
    const long code = status();
    if (code >= 200 && code < 300)
        return std::nullopt;
    std::string reason = "HTTP " + std::to_string(code);
    switch (code) {
    case 404:
    case 410:
        return Failure{vfs::ResourceNotFound, std::move(reason)};
    case 401:
    case 403:
    case 407:
        return Failure{vfs::PermissionDenied, std::move(reason)};
    default:
        return Failure{vfs::IOError, std::move(reason)};
    }
}

std::size_t Transfer::read(std::span<char> buffer) {
    if (buffered() == 0 && paused_) {
        paused_ = false;
        // May hand over what curl kept at once, through onBody.
        curl_easy_pause(session_->easy.get(), CURLPAUSE_CONT);
    }
    if (buffered() == 0)
        driveUntil([this] { return buffered() > 0; });
    const std::size_t length = std::min(buffer.size(), buffered());
    std::memcpy(buffer.data(), buffer_.data() + taken_, length);
    taken_ += length;
    return length;
}

fl::ustring shown(const vfs::AbsoluteIRI& location) {
    const network::IRI& iri = location.toIRI();
    if (!iri.hasUserInfo())
        return location.toString();
    network::IRIArgs parts(iri);
    const auto colon = parts.userInfo.find(u':');
    if (colon == fl::ustring::npos)
        return location.toString();
    parts.userInfo.replace(colon + 1, fl::ustring::npos, u"***");
    return network::IRI(parts).toString(network::iri::Encoding::IRI);
}

void raise(const Failure& failure, const char* operation, const vfs::AbsoluteIRI& location) {
    vfs::raise(failure.code, operation, shown(location), failure.reason);
}

BodyReader::BodyReader(const HttpOptions& options, const vfs::AbsoluteIRI& location,
                       const char* operation, Wait wait)
    : transfer_(Transfer::answered(options, location, Method::Get, wait)), location_(location) {
    // The status is known before a byte is handed out: an error page is never content.
    if (const auto failure = transfer_->failure())
        raise(*failure, operation, location_);
}

std::size_t BodyReader::read(std::span<char> buffer) {
    const std::size_t length = transfer_->read(buffer);
    // curl reports a body shorter than its Content-Length, or a chunked body never ended,
    // as a failed transfer: the end of the body is only an end when the transfer succeeded.
    if (length == 0 && !buffer.empty())
        if (const auto failure = transfer_->failure())
            raise(*failure, "read", location_);
    return length;
}

} // namespace http

HttpProvider::HttpProvider(HttpOptions options) : options_(std::move(options)) {
    // Once per process, before the first handle; curl would do it less safely on its own.
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    (void)initialised;
}

HttpProvider::~HttpProvider() = default;

std::vector<std::string> HttpProvider::schemes() const {
    return {remote::httpSchemes.begin(), remote::httpSchemes.end()};
}

fl::ustring HttpProvider::describe(const vfs::AbsoluteIRI& location) const {
    return http::shown(location);
}

std::unique_ptr<InputStream> HttpProvider::openForReading(const vfs::AbsoluteIRI& location) const {
    return std::make_unique<http::BodyReader>(options_, location, "open");
}

} // namespace foundation::storage::provider
