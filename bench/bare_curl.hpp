#pragma once

// Owners of the libcurl handles that the benchmarks' bare peers use: those peers are what a
// program written straight on libcurl does, so they share nothing with the library's client.

#include <curl/curl.h>

#include <memory>

namespace vexa::bench {

struct EasyCleanup {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using EasyHandle = std::unique_ptr<CURL, EasyCleanup>;
using HeaderList = std::unique_ptr<curl_slist, ListCleanup>;

} // namespace vexa::bench
