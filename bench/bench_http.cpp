// Cost of existence checks of 1,000 URLs on a loopback nginx through getExtendedExistenceType
// and the http provider, against a bare libcurl HEAD loop that reuses its handle (goal: at
// most 1.2 times its cost), and against a `curl -I` process per URL.

#include <vexa/io/filesystem/core/existence.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/provider/RemoteProviders.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "HttpServer.hpp"
#include "RunProgram.hpp"
#include "bare_curl.hpp"
#include "ratio.hpp"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace core = vexa::io::filesystem::core;
namespace provider = foundation::storage::provider;
namespace vfs = foundation::storage::vfs;

constexpr int urlCount = 1000;

// The server with 1,000 small files, and the host's storage system serving http through
// the provider; made once for the whole run.
struct Site {
    Site() {
        Quarrow::VexaStorageSystem::GetStorageSystemReference()->addProvider(
            provider::makeHttpProvider());
        std::filesystem::create_directories(server.content() + "/many");
        for (int i = 0; i < urlCount; ++i) {
            char name[32];
            std::snprintf(name, sizeof name, "/many/f%04d.csv", i);
            std::ofstream(server.content() + name) << i << "\n";
            urls.push_back(server.url(name));
            iris.emplace_back(fl::i18n::to_ustring(urls.back()));
        }
    }
    vexa::testing::HttpServer server;
    std::vector<std::string> urls;
    std::vector<vfs::AbsoluteIRI> iris;
};

const Site& site() {
    static const Site made;
    return made;
}

// One HEAD request per URL on one handle, as a program written straight on libcurl would.
class BareHead {
public:
    BareHead() : easy_(curl_easy_init()) {
        curl_easy_setopt(easy_.get(), CURLOPT_NOBODY, 1L);
        curl_easy_setopt(easy_.get(), CURLOPT_FOLLOWLOCATION, 1L);
    }
    long status(const std::string& url) {
        curl_easy_setopt(easy_.get(), CURLOPT_URL, url.c_str());
        long status = 0;
        if (curl_easy_perform(easy_.get()) == CURLE_OK)
            curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
        return status;
    }

private:
    vexa::bench::EasyHandle easy_;
};

// Each call checks the next URL, round the 1,000.
auto ours() {
    return [i = 0]() mutable {
        const auto& iris = site().iris;
        benchmark::DoNotOptimize(core::getExtendedExistenceType(iris[i++ % iris.size()], false));
    };
}

void BM_RatioHttpExistenceBareCurl(benchmark::State& state) {
    const Site& s = site();
    BareHead bare;
    for (int i = 0; i < urlCount; ++i)
        if (core::getExtendedExistenceType(s.iris[i], false) != provider::ExistsAsFile ||
            bare.status(s.urls[i]) != 200)
            return state.SkipWithError("a URL does not answer as a file");
    const auto [oursNs, curlNs] = vexa::bench::reportRatio(
        state, ours(),
        [&, i = 0]() mutable { benchmark::DoNotOptimize(bare.status(s.urls[i++ % urlCount])); },
        "libcurl_ns", 10 * urlCount);
    vexa::bench::reportGoal(state, 1.2, oursNs, curlNs, 1.2 * curlNs);
}
BENCHMARK(BM_RatioHttpExistenceBareCurl)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_RatioHttpExistenceCurlProcess(benchmark::State& state) {
    const Site& s = site();
    vexa::bench::reportRatio(
        state, ours(),
        [&, i = 0]() mutable {
            benchmark::DoNotOptimize(vexa::testing::runProgram(
                "/usr/bin/curl", {"-s", "-I", "-o", "/dev/null", s.urls[i++ % urlCount]}));
        },
        "curl_process_ns", 200);
}
BENCHMARK(BM_RatioHttpExistenceCurlProcess)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
