// The s3 provider on a loopback s3rver (the tests' server), against libcurl used bare with
// CURLOPT_AWS_SIGV4 on one handle: existence of 1,000 keys through getExtendedExistenceType
// against a HEAD loop (goal: at most 1.2 times its cost), and a recursive listing of 10,000
// keys in 50 folders against the bare page loop (goal: 10 list requests, at most 1.2 times
// its cost).

#include <vexa/io/filesystem/core/existence.hpp>

#include "foundation/storage/provider/s3/S3Provider.hpp"
#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "S3Server.hpp"
#include "bare_curl.hpp"
#include "ratio.hpp"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace core = vexa::io::filesystem::core;
namespace provider = foundation::storage::provider;
namespace vfs = foundation::storage::vfs;

constexpr int keyCount = 1000;
constexpr int treeFolders = 50, treeKeys = 10000;

// The server with 1,000 small objects under "many/" and 10,000 under "tree/" in 50 folders,
// and the host's storage system serving s3 through the provider; made once for the run.
struct Bucket {
    Bucket() : s3(std::make_shared<provider::S3Provider>(server.options())) {
        Quarrow::VexaStorageSystem::GetStorageSystemReference()->addProvider(s3);
        std::vector<std::string> keys;
        for (int i = 0; i < keyCount; ++i) {
            char key[32];
            std::snprintf(key, sizeof key, "many/f%04d.csv", i);
            keys.push_back(key);
            urls.push_back(server.endpoint() + "/bucket/" + key);
            iris.emplace_back(fl::i18n::to_ustring("s3://bucket/" + keys.back()));
        }
        for (int i = 0; i < treeKeys; ++i) {
            char key[48];
            std::snprintf(key, sizeof key, "tree/d%02d/k%05d", i % treeFolders, i);
            keys.push_back(key);
        }
        // Written eight at a time: s3rver takes a moment per object.
        std::vector<std::thread> writers;
        for (std::size_t w = 0; w < 8; ++w)
            writers.emplace_back([&, w] {
                for (std::size_t i = w; i < keys.size(); i += 8) {
                    const auto stream = s3->openForWriting(
                        vfs::AbsoluteIRI(fl::i18n::to_ustring("s3://bucket/" + keys[i])),
                        vfs::WriteMode::replace, std::nullopt);
                    stream->write(std::string_view("1\n"));
                    stream->commit();
                }
            });
        for (std::thread& writer : writers)
            writer.join();
    }
    vexa::testing::S3Server server;
    std::shared_ptr<provider::S3Provider> s3;
    std::vector<std::string> urls;
    std::vector<vfs::AbsoluteIRI> iris;
};

const Bucket& bucket() {
    static const Bucket made;
    return made;
}

// Requests on one signed handle, as a program written straight on libcurl would make them.
class Bare {
public:
    Bare() : easy_(curl_easy_init()) {
        headers_.reset(curl_slist_append(nullptr, "x-amz-content-sha256: "
                                                  "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934c"
                                                  "a495991b7852b855"));
        curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, headers_.get());
        curl_easy_setopt(easy_.get(), CURLOPT_AWS_SIGV4, "aws:amz:us-east-1:s3");
        curl_easy_setopt(easy_.get(), CURLOPT_USERPWD, "S3RVER:S3RVER");
        curl_easy_setopt(easy_.get(), CURLOPT_WRITEFUNCTION, &Bare::onBody);
        curl_easy_setopt(easy_.get(), CURLOPT_WRITEDATA, &body_);
    }
    long head(const std::string& url) {
        curl_easy_setopt(easy_.get(), CURLOPT_NOBODY, 1L);
        return perform(url);
    }
    // Every page of the keys under `prefix`, without a delimiter; the requests made.
    int listAll(const std::string& endpoint, const std::string& prefix) {
        curl_easy_setopt(easy_.get(), CURLOPT_HTTPGET, 1L);
        std::string token;
        for (int requests = 1;; ++requests) {
            std::string url = endpoint + "/bucket?";
            if (!token.empty()) {
                char* escaped = curl_easy_escape(easy_.get(), token.c_str(), 0);
                url += std::string("continuation-token=") + escaped + "&";
                curl_free(escaped);
            }
            url += "list-type=2&prefix=" + prefix;
            body_.clear();
            if (perform(url) != 200)
                return -1;
            if (body_.find("<IsTruncated>true</IsTruncated>") == std::string::npos)
                return requests;
            const auto start = body_.find("<NextContinuationToken>") + 23;
            token = body_.substr(start, body_.find('<', start) - start);
        }
    }

private:
    long perform(const std::string& url) {
        curl_easy_setopt(easy_.get(), CURLOPT_URL, url.c_str());
        long status = 0;
        if (curl_easy_perform(easy_.get()) == CURLE_OK)
            curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
        return status;
    }
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* body) {
        static_cast<std::string*>(body)->append(data, size * count);
        return size * count;
    }

    vexa::bench::EasyHandle easy_;
    vexa::bench::HeaderList headers_;
    std::string body_;
};

void BM_RatioS3ExistenceBareCurl(benchmark::State& state) {
    const Bucket& b = bucket();
    Bare bare;
    for (int i = 0; i < keyCount; ++i)
        if (core::getExtendedExistenceType(b.iris[i], false) != provider::ExistsAsFile ||
            bare.head(b.urls[i]) != 200)
            return state.SkipWithError("a key does not answer as an object");
    const auto [oursNs, curlNs] = vexa::bench::reportRatio(
        state,
        [&, i = 0]() mutable {
            benchmark::DoNotOptimize(core::getExtendedExistenceType(b.iris[i++ % keyCount], false));
        },
        [&, i = 0]() mutable { benchmark::DoNotOptimize(bare.head(b.urls[i++ % keyCount])); },
        "libcurl_ns", 10 * keyCount);
    vexa::bench::reportGoal(state, 1.2, oursNs, curlNs, 1.2 * curlNs);
}
BENCHMARK(BM_RatioS3ExistenceBareCurl)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_RatioS3TreeListingBarePages(benchmark::State& state) {
    const Bucket& b = bucket();
    Bare bare;
    const vfs::AbsoluteIRI tree(u"s3://bucket/tree/");
    std::size_t entries = 0;
    const auto before = b.s3->listRequests();
    const auto cursor = b.s3->listTree(tree);
    for (auto page = cursor->next(); !page.empty(); page = cursor->next())
        entries += page.size();
    const auto requests = b.s3->listRequests() - before;
    if (entries != treeKeys + treeFolders || bare.listAll(b.server.endpoint(), "tree%2F") != 10)
        return state.SkipWithError("the tree does not list as made");
    const auto [oursNs, curlNs] = vexa::bench::reportRatio(
        state,
        [&] {
            const auto listing = b.s3->listTree(tree);
            while (!listing->next().empty()) {
            }
        },
        [&] { benchmark::DoNotOptimize(bare.listAll(b.server.endpoint(), "tree%2F")); },
        "libcurl_ns", 10);
    state.counters["requests"] = static_cast<double>(requests);
    vexa::bench::reportGoal(state, 1.2, oursNs, curlNs, requests == 10 ? 1.2 * curlNs : 0);
}
BENCHMARK(BM_RatioS3TreeListingBarePages)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
