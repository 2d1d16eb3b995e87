// The HTTP client: sessions kept per thread, one request driven through curl's multi
// interface so that the caller pulls the answer's body and pushes a streamed request body,
// and the retries of a request that is safe to repeat.

#include "Client.hpp"

#include <fl/ascii.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <curl/curl.h>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <new>
#include <random>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace foundation::storage::http {
namespace {

struct EasyCleanup {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};

// What curl may hand over beyond what read() has taken: a few of its 16 KiB writes.
constexpr std::size_t bufferLimit = 64 * 1024;
// The longest wait on the sockets between two looks at the transfer; curl's own timers
// (timeouts, the low-speed check) end a wait sooner.
constexpr int pollMilliseconds = 1000;

// The authentication scheme each server asks for, by origin ("http://host:port"), learned
// from its first 401. Offered Basic and Digest both, curl sends a request without
// credentials to see which the server wants, every time: a second round trip for each
// request, and a streamed body sent before the 401 arrives cannot be sent again. Offered
// the one scheme the server asked for, curl sends Basic credentials at once, and probes for
// Digest's challenge without a body.
class Schemes {
public:
    static Schemes& known() {
        static Schemes schemes;
        return schemes;
    }
    // The scheme for `url`'s server; none (0) before it has asked for one.
    long of(std::string_view url) {
        const std::lock_guard lock(mutex_);
        const auto found = byOrigin_.find(originOf(url));
        return found == byOrigin_.end() ? 0 : found->second;
    }
    // What a 401 of `url`'s server offered (curl's CURLINFO_HTTPAUTH_AVAIL).
    void learn(std::string_view url, long offered) {
        const long scheme = (offered & CURLAUTH_DIGEST)  ? CURLAUTH_DIGEST
                            : (offered & CURLAUTH_BASIC) ? CURLAUTH_BASIC
                                                         : 0;
        if (scheme == 0)
            return;
        const std::lock_guard lock(mutex_);
        byOrigin_[originOf(url)] = scheme;
    }

private:
    static std::string originOf(std::string_view url) {
        const auto scheme = url.find("://");
        return std::string(url.substr(0, url.find('/', scheme == url.npos ? 0 : scheme + 3)));
    }

    std::mutex mutex_;
    std::map<std::string, long, std::less<>> byOrigin_;
};

// Whether curl may find a password in ~/.netrc: without the file it has none to give.
bool hasNetrc() {
    const char* home = std::getenv("HOME");
    return home && *home && ::access((std::string(home) + "/.netrc").c_str(), F_OK) == 0;
}

} // namespace

// A request handle and the multi handle that drives it. The open connections live in the
// multi handle's cache, so a session that goes back to its thread's pool keeps them for the
// next request to the same server.
struct Transfer::Session {
    std::unique_ptr<CURL, EasyCleanup> easy;
    std::unique_ptr<CURLM, MultiCleanup> multi;
};

struct Transfer::HeaderList {
    curl_slist* list = nullptr;
    ~HeaderList() { curl_slist_free_all(list); }
    void add(const std::string& line) {
        curl_slist* grown = curl_slist_append(list, line.c_str());
        if (!grown)
            throw std::bad_alloc();
        list = grown;
    }
};

// One idle session per thread: requests one after another on a thread (the usual case)
// reuse its connections; a request made while another is open on the thread (a look while
// a body is read) gets a session of its own.
std::unique_ptr<Transfer::Session>& Transfer::idleSession() {
    thread_local std::unique_ptr<Session> idle;
    return idle;
}

bool Request::repeatable() const {
    if (streamedBody)
        return false;
    for (const char* safe : {"HEAD", "GET", "PROPFIND", "OPTIONS", "DELETE", "PUT"})
        if (method == safe)
            return true;
    return false;
}

bool Request::typed() const {
    constexpr std::string_view name = "content-type:";
    return std::any_of(headers.begin(), headers.end(), [&](const std::string& line) {
        return fl::ascii::startsWithIgnoringCase(line, name) &&
               line.find_first_not_of(" \t", name.size()) != std::string::npos;
    });
}

Request requestFor(const vfs::AbsoluteIRI& location, std::string method) {
    Request request;
    request.method = std::move(method);
    // curl takes the IRI's URI form: names with spaces and non-ASCII travel escaped.
    request.url = location.toIRI().uriText();
    return request;
}

Transfer::Transfer(const HttpOptions& options, Request request) : request_(std::move(request)) {
    static_assert(sizeof errorText_ >= CURL_ERROR_SIZE);
    // Once per process, before the first handle; curl would do it less safely on its own.
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    (void)initialised;
    if (idleSession()) {
        session_ = std::move(idleSession());
    } else {
        session_ =
            std::make_unique<Session>(Session{{curl_easy_init(), {}}, {curl_multi_init(), {}}});
        if (!session_->easy || !session_->multi)
            throw std::bad_alloc();
    }
    headers_ = std::make_unique<HeaderList>();

    CURL* easy = session_->easy.get();
    // A reset keeps the connections: they belong to the multi handle.
    curl_easy_reset(easy);
    curl_easy_setopt(easy, CURLOPT_URL, request_.url.c_str());
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L); // timeouts without signals, on any thread
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, options.maxRedirects);
    // A redirect to another scheme (file:, ftp:) would leave the storage this client serves.
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(options.connectTimeout.count()));
    // The floor on the speed also ends a wait for a status line that never comes.
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, options.lowSpeedLimit);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, static_cast<long>(options.lowSpeedTime.count()));
    if (request_.wait == Wait::Deadline)
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                         static_cast<long>(options.requestTimeout.count()));
    // The file replaces the default bundle; curl's default folder of the system's
    // certificates (CURLOPT_CAPATH) stays, so both are trusted.
    if (!options.caFile.empty())
        curl_easy_setopt(easy, CURLOPT_CAINFO, options.caFile.c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);

    const Credentials& who = request_.credentials;
    authenticates_ = who.awsSigV4.empty() && (!who.user.empty() || who.netrc);
    const long scheme = authenticates_ ? Schemes::known().of(request_.url) : 0;
    if (!who.awsSigV4.empty())
        curl_easy_setopt(easy, CURLOPT_AWS_SIGV4, who.awsSigV4.c_str());
    else if (authenticates_)
        curl_easy_setopt(easy, CURLOPT_HTTPAUTH,
                         scheme != 0 ? scheme : CURLAUTH_BASIC | CURLAUTH_DIGEST);
    if (!who.user.empty()) {
        curl_easy_setopt(easy, CURLOPT_USERNAME, who.user.c_str());
        curl_easy_setopt(easy, CURLOPT_PASSWORD, who.password.c_str());
    } else if (who.netrc) {
        curl_easy_setopt(easy, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_OPTIONAL));
    }

    // PUT and POST always carry a body, if an empty one: servers want its length.
    const bool sendsBody = request_.streamedBody || !request_.body.empty() ||
                           request_.method == "PUT" || request_.method == "POST";
    const bool isSigned = !request_.credentials.awsSigV4.empty();
    const bool typed = request_.typed();
    if (request_.method == "HEAD")
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    else if (request_.method != "GET")
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request_.method.c_str());
    // A signed request must carry no header that curl would sign and then not send: the
    // removals ("Content-Type:", "Expect:") that a body sent with the headers needs. With a
    // type of the caller's, such a body needs none: curl adds no "Expect" to a body of up to
    // 1 MiB sent this way, where one read through the callback waits a round trip for "100
    // Continue" (and makes the server answer it) on every object put.
    if (sendsBody && !request_.streamedBody && (!isSigned || typed)) {
        // Sent from memory with the headers, in one write where it is small (a PROPFIND's
        // XML): a body read through the callback goes in a write of its own, which costs
        // the server a second wakeup on every request. curl repeats it as it needs.
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request_.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request_.body.data());
        // Without a type of the caller's, none: curl would call the body a form.
        if (!typed)
            headers_->add("Content-Type:");
    } else if (sendsBody) {
        // Pulled through onSend: a streamed body, and a signed one without a type.
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, &Transfer::onSend);
        curl_easy_setopt(easy, CURLOPT_READDATA, this);
        curl_off_t length = -1; // chunked
        if (!request_.streamedBody)
            length = static_cast<curl_off_t>(request_.body.size());
        else if (request_.bodyLength)
            length = static_cast<curl_off_t>(*request_.bodyLength);
        curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, length);
        outgoing_ = request_.body;
    }
    // The body goes at once, not after a second's wait for "100 Continue". A signed request
    // does without the header's removal ("Expect:"): curl 7.88 signs it as a header that is
    // then never sent, a signature S3 refuses. Only a streamed body that may carry a password
    // (given, or in an existing ~/.netrc) to a server whose scheme is not known yet waits for
    // "100 Continue": the 401 that tells the scheme comes before any of the body is sent.
    const bool awaitsScheme =
        request_.streamedBody && authenticates_ && scheme == 0 && (!who.user.empty() || hasNetrc());
    if (sendsBody && isSigned)
        curl_easy_setopt(easy, CURLOPT_EXPECT_100_TIMEOUT_MS, 0L);
    else if (sendsBody && !awaitsScheme)
        headers_->add("Expect:");
    if (!request_.range.empty())
        curl_easy_setopt(easy, CURLOPT_RANGE, request_.range.c_str());
    for (const std::string& line : request_.headers)
        headers_->add(line);
    if (headers_->list)
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_->list);
    curl_multi_add_handle(session_->multi.get(), easy);
}

std::unique_ptr<Transfer> Transfer::answered(const HttpOptions& options, const Request& request) {
    using std::chrono::milliseconds;
    using Clock = std::chrono::steady_clock;
    // A deadline holds for the whole call: each attempt has what is left of it, and a wait
    // that would end beyond it is not taken.
    const Clock::time_point end = Clock::now() + options.requestTimeout;
    const int attempts = request.repeatable() ? options.attempts : 1;
    HttpOptions bounded = options;
    for (int attempt = 1;; ++attempt) {
        auto transfer = std::make_unique<Transfer>(bounded, request);
        transfer->awaitAnswer();
        auto pause = attempt < attempts ? transfer->retryWait(options, attempt) : std::nullopt;
        if (pause && request.wait == Wait::Deadline) {
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
    if (authenticates_) {
        long offered = 0;
        if (curl_easy_getinfo(session_->easy.get(), CURLINFO_HTTPAUTH_AVAIL, &offered) ==
                CURLE_OK &&
            offered != 0)
            Schemes::known().learn(request_.url, offered);
    }
    // An unfinished transfer's connection is closed here; a finished one's stays cached.
    curl_multi_remove_handle(session_->multi.get(), session_->easy.get());
    // The header list dies with this transfer: the handle must not point at it.
    curl_easy_setopt(session_->easy.get(), CURLOPT_HTTPHEADER, nullptr);
    if (!idleSession())
        idleSession() = std::move(session_);
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

std::size_t Transfer::onSend(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    if (transfer.outgoing_.empty()) {
        if (transfer.request_.streamedBody && !transfer.bodyEnded_) {
            // send() resumes the transfer with the next piece.
            transfer.sendPaused_ = true;
            return CURL_READFUNC_PAUSE;
        }
        return 0; // the end of the body
    }
    const std::size_t length = std::min(size * count, transfer.outgoing_.size());
    std::memcpy(data, transfer.outgoing_.data(), length);
    transfer.outgoing_.remove_prefix(length);
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

void Transfer::resumeSending() {
    if (sendPaused_) {
        sendPaused_ = false;
        curl_easy_pause(session_->easy.get(), paused_ ? CURLPAUSE_RECV : CURLPAUSE_CONT);
    }
}

void Transfer::send(std::span<const char> data) {
    outgoing_ = std::string_view(data.data(), data.size());
    resumeSending();
    driveUntil([this] { return outgoing_.empty(); });
    // Whatever curl did not take is dropped with the ended transfer; failure() tells why.
    outgoing_ = {};
}

void Transfer::finishBody() {
    bodyEnded_ = true;
    outgoing_ = {};
    resumeSending();
    awaitAnswer();
}

void Transfer::awaitAnswer() {
    driveUntil([this] { return answered_; });
}

std::string Transfer::wholeBody(std::size_t limit) {
    std::string body;
    char piece[16 * 1024];
    while (body.size() < limit) {
        const std::size_t length =
            read(std::span(piece, std::min(sizeof piece, limit - body.size())));
        if (length == 0)
            break;
        body.append(piece, length);
    }
    return body;
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
        return Failure{vfs::IOError, errorText_[0]
                                         ? errorText_
                                         : curl_easy_strerror(static_cast<CURLcode>(result_))};
    return failureOf(status());
}

std::size_t Transfer::read(std::span<char> buffer) {
    if (buffered() == 0 && paused_) {
        paused_ = false;
        // May hand over what curl kept at once, through onBody.
        curl_easy_pause(session_->easy.get(), sendPaused_ ? CURLPAUSE_SEND : CURLPAUSE_CONT);
    }
    if (buffered() == 0)
        driveUntil([this] { return buffered() > 0; });
    const std::size_t length = std::min(buffer.size(), buffered());
    std::memcpy(buffer.data(), buffer_.data() + taken_, length);
    taken_ += length;
    return length;
}

namespace {

// The form servers send today (RFC 9110's IMF-fixdate, "Sun, 06 Nov 1994 08:49:37 GMT"),
// read without curl's general parser, which is slow enough to dominate a listing's reading
// (a WebDAV folder gives a date per entry). None for any other text.
std::optional<boost::posix_time::ptime> fixdateOf(std::string_view text) {
    static constexpr std::string_view months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    if (text.size() != 29 || text[3] != ',' || text[4] != ' ' || text[7] != ' ' ||
        text[11] != ' ' || text[16] != ' ' || text[19] != ':' || text[22] != ':' ||
        text.substr(25) != " GMT")
        return std::nullopt;
    const auto number = [&](std::size_t at, std::size_t digits) -> int {
        int value = 0;
        for (std::size_t i = at; i < at + digits; ++i) {
            if (text[i] < '0' || text[i] > '9')
                return -1;
            value = value * 10 + (text[i] - '0');
        }
        return value;
    };
    const std::size_t month = months.find(text.substr(8, 3));
    const int day = number(5, 2), year = number(12, 4), hour = number(17, 2),
              minute = number(20, 2), second = number(23, 2);
    if (month == std::string_view::npos || month % 3 != 0 || day < 1 || year < 1400 || hour < 0 ||
        hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 60)
        return std::nullopt;
    try {
        return boost::posix_time::ptime(
            boost::gregorian::date(static_cast<unsigned short>(year),
                                   static_cast<unsigned short>(month / 3 + 1),
                                   static_cast<unsigned short>(day)),
            boost::posix_time::time_duration(hour, minute, std::min(second, 59)));
    } catch (const std::out_of_range&) {
        return std::nullopt; // no such day
    }
}

} // namespace

boost::posix_time::ptime dateOf(std::string_view text) {
    if (const auto fixdate = fixdateOf(text))
        return *fixdate;
    const time_t time = curl_getdate(std::string(text).c_str(), nullptr);
    return time == -1 ? boost::posix_time::ptime() : boost::posix_time::from_time_t(time);
}

namespace {

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

} // namespace

std::optional<std::string> headerText(const Transfer& transfer, const char* name) {
    const auto header = transfer.header(name);
    return header ? std::optional<std::string>(*header) : std::nullopt;
}

boost::posix_time::ptime lastModifiedOf(const Transfer& transfer) {
    for (const char* name : {"Last-Modified", "Date"})
        if (const auto text = transfer.header(name))
            if (const auto time = dateOf(*text); !time.is_not_a_date_time())
                return time;
    return {};
}

std::uint64_t sizeOf(const Transfer& transfer) {
    if (transfer.status() == 206)
        if (const auto range = transfer.header("Content-Range"))
            return number(range->substr(range->rfind('/') + 1)).value_or(0);
    if (const auto length = transfer.header("Content-Length"))
        return number(*length).value_or(0);
    return 0;
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

BodyReader::BodyReader(const HttpOptions& options, const Request& request,
                       const vfs::AbsoluteIRI& location, const char* operation)
    : transfer_(Transfer::answered(options, request)), location_(location) {
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

std::optional<std::uint64_t> BodyReader::size() const {
    const auto length = transfer_->header("Content-Length");
    return length ? number(*length) : std::nullopt;
}

} // namespace foundation::storage::http
