// Cost of a WebDAV share's listings and looks on a loopback nginx, through the dav provider,
// against libcurl used bare: listing a folder of 3,000 entries (goal: at most 1.3 times a
// bare PROPFIND of depth 1 that only transfers the answer), and the existence of 1,000
// items through getExtendedExistenceType (goal: at most 1.2 times a bare PROPFIND of depth
// 0 per item on one reused handle). The listing also tells what reading its answer costs
// without the network, against the 0.3 of the transfer's time that the goal leaves for it.

#include <vexa/io/filesystem/core/existence.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/provider/RemoteProviders.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Folder.hpp>

#include "DavServer.hpp"
#include "bare_curl.hpp"
#include "foundation/storage/provider/dav/Dav.hpp"
#include "ratio.hpp"

#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <expat.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace core = vexa::io::filesystem::core;
namespace provider = foundation::storage::provider;
namespace dav = foundation::storage::provider::dav;
namespace vfs = foundation::storage::vfs;

constexpr int itemCount = 1000;

// The share (its /many/ folder holds DavServer::manyEntries files) and the host's storage
// system serving dav through the provider; made once for the whole run.
struct Share {
    Share() {
        Quarrow::VexaStorageSystem::GetStorageSystemReference()->addProvider(
            provider::makeDavProvider());
        for (int i = 0; i < itemCount; ++i) {
            char name[32];
            std::snprintf(name, sizeof name, "/many/e%04d", i);
            urls.push_back(server.httpUrl(name));
            iris.emplace_back(fl::i18n::to_ustring(server.url(name)));
        }
    }
    vexa::testing::DavServer server{vexa::testing::DavServer::Kind::Nginx};
    vfs::AbsoluteIRI folder{fl::i18n::to_ustring(server.url("/many/"))};
    std::vector<std::string> urls;
    std::vector<vfs::AbsoluteIRI> iris;
};

const Share& share() {
    static const Share made;
    return made;
}

// PROPFIND requests on one handle, asking for the properties the provider asks for, the
// answer counted and dropped: what a program written straight on libcurl transfers.
class BarePropfind {
public:
    explicit BarePropfind(const char* depth) : easy_(curl_easy_init()) {
        headers_.reset(curl_slist_append(nullptr, (std::string("Depth: ") + depth).c_str()));
        curl_slist_append(headers_.get(), "Content-Type: application/xml; charset=utf-8");
        CURL* easy = easy_.get();
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, "PROPFIND");
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body);
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &BarePropfind::received);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    }
    // The status; the answer's length in bytes().
    long status(const std::string& url) {
        bytes_ = 0;
        curl_easy_setopt(easy_.get(), CURLOPT_URL, url.c_str());
        long status = 0;
        if (curl_easy_perform(easy_.get()) == CURLE_OK)
            curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
        return status;
    }
    std::size_t bytes() const noexcept { return bytes_; }
    // The answer of one request, kept whole.
    std::string answer(const std::string& url) {
        keep_ = true;
        answer_.clear();
        status(url);
        keep_ = false;
        return std::move(answer_);
    }

private:
    static constexpr const char* body =
        R"(<?xml version="1.0" encoding="utf-8"?>)"
        R"(<D:propfind xmlns:D="DAV:"><D:prop><D:resourcetype/><D:getcontentlength/>)"
        R"(<D:getlastmodified/><D:getcontenttype/><D:getetag/></D:prop></D:propfind>)";
    static std::size_t received(char* data, std::size_t size, std::size_t count, void* self) {
        auto& bare = *static_cast<BarePropfind*>(self);
        bare.bytes_ += size * count;
        if (bare.keep_)
            bare.answer_.append(data, size * count);
        return size * count;
    }

    vexa::bench::EasyHandle easy_;
    vexa::bench::HeaderList headers_;
    std::size_t bytes_ = 0;
    bool keep_ = false;
    std::string answer_;
};

struct ParserFree {
    void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};

// What reading `answer` costs, with no network: expat with namespaces and no handlers (the
// least any reader on it pays), and the provider's reader, which keeps each entry.
std::pair<double, double> readingNs(const std::string& answer) {
    const auto expat = [&] {
        const std::unique_ptr<XML_ParserStruct, ParserFree> parser(
            XML_ParserCreateNS(nullptr, '|'));
        XML_Parse(parser.get(), answer.data(), static_cast<int>(answer.size()), XML_TRUE);
    };
    std::size_t kept = 0;
    const auto reader = [&] {
        dav::MultistatusReader reading([&](dav::Resource&&) { ++kept; });
        reading.feed(answer);
        reading.finish();
    };
    double expatNs = 1e300, readerNs = 1e300;
    for (int round = 0; round < 10; ++round) {
        expatNs = std::min(expatNs, vexa::bench::nsPerCall(expat, 10));
        readerNs = std::min(readerNs, vexa::bench::nsPerCall(reader, 10));
    }
    return {expatNs, kept > 0 ? readerNs : 0};
}

void BM_RatioDavListingBareCurl(benchmark::State& state) {
    const Share& s = share();
    const vfs::Folder folder(s.folder, Quarrow::VexaStorageSystem::GetStorageSystemReference());
    BarePropfind bare("1");
    const std::string url = s.server.httpUrl("/many/");
    if (folder.listEntries(u"").size() != vexa::testing::DavServer::manyEntries ||
        bare.status(url) != 207)
        return state.SkipWithError("the folder does not list its entries");
    const auto [oursNs, curlNs] = vexa::bench::reportRatio(
        state, [&] { benchmark::DoNotOptimize(folder.listEntries(u"")); },
        [&] { benchmark::DoNotOptimize(bare.status(url)); }, "libcurl_ns", 100);
    state.counters["answer_bytes"] = static_cast<double>(bare.bytes());
    // The goal leaves 0.3 of the transfer's time to read the answer; reading it at all costs
    // this much, each figure without the network.
    const auto [expatNs, readerNs] = readingNs(bare.answer(url));
    state.counters["allowance_ns"] = 0.3 * curlNs;
    state.counters["expat_alone_ns"] = expatNs;
    state.counters["reader_ns"] = readerNs;
    vexa::bench::reportGoal(state, 1.3, oursNs, curlNs, 1.3 * curlNs);
}
BENCHMARK(BM_RatioDavListingBareCurl)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_RatioDavExistenceBareCurl(benchmark::State& state) {
    const Share& s = share();
    BarePropfind bare("0");
    for (int i = 0; i < itemCount; ++i)
        if (core::getExtendedExistenceType(s.iris[i], false) != provider::ExistsAsFile ||
            bare.status(s.urls[i]) != 207)
            return state.SkipWithError("an item does not answer as a file");
    const auto [oursNs, curlNs] = vexa::bench::reportRatio(
        state,
        [&, i = 0]() mutable {
            benchmark::DoNotOptimize(
                core::getExtendedExistenceType(s.iris[i++ % itemCount], false));
        },
        [&, i = 0]() mutable { benchmark::DoNotOptimize(bare.status(s.urls[i++ % itemCount])); },
        "libcurl_ns", 10 * itemCount);
    vexa::bench::reportGoal(state, 1.2, oursNs, curlNs, 1.2 * curlNs);
}
BENCHMARK(BM_RatioDavExistenceBareCurl)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
