#pragma once

// The bounds and retries of every remote provider's requests (http, dav, s3): each a
// provider option a host program may change.

#include <chrono>
#include <string>

namespace foundation::storage::provider {

struct HttpOptions {
    // A file of PEM certificates trusted beside the system's store; empty for none.
    std::string caFile;
    // Every wait is bounded, so that no server can hold a call for ever.
    std::chrono::milliseconds connectTimeout{10'000};
    // A request that moves no body (a look, a listing page, MKCOL, DELETE, MOVE) ends within
    // this, answered or not, its retries included.
    std::chrono::milliseconds requestTimeout{30'000};
    // A body transfer slower than lowSpeedLimit bytes per second over lowSpeedTime is
    // abandoned; so is a server that says nothing for that long.
    long lowSpeedLimit = 1024;
    std::chrono::seconds lowSpeedTime{30};
    long maxRedirects = 10;
    // A request that is safe to repeat is made up to `attempts` times while it fails in a way
    // that may pass: a failed connection, or 429, 500, 502, 503 and 504. The n-th wait
    // between attempts is retryDelay * 2^(n-1), less up to half of it at random so that
    // clients do not come back together; a Retry-After of the server is waited instead, up
    // to retryAfterLimit.
    int attempts = 3;
    std::chrono::milliseconds retryDelay{250};
    std::chrono::milliseconds retryAfterLimit{10'000};
};

} // namespace foundation::storage::provider
