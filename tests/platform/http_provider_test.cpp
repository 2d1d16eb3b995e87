// The http(s) provider against a real nginx (tests/support/HttpServer.hpp): what each kind
// of answer becomes through exists, existsExtended, File, Folder and IODevice.

#include <foundation/storage/provider/RemoteProviders.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/IODevice.hpp>

#include "HttpServer.hpp"
#include "Storage.hpp"
#include "Text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <tuple>

namespace {

namespace pt = boost::posix_time;
namespace vfs = foundation::storage::vfs;
namespace provider = foundation::storage::provider;
using provider::ItemType;
using vexa::testing::contextOf;
using vexa::testing::failure;
using vexa::testing::HttpServer;
using vexa::testing::outcome;
using vexa::testing::u;
using vexa::testing::utf8;

const pt::ptime fileTime = pt::from_time_t(HttpServer::fileTime);

// The providers the tables choose from.
enum Client { Trusting, Untrusting, TwoRedirects, Impatient, Bounded };

// The bounds of a Bounded client: short, so that the tables that wait for them stay fast.
constexpr std::chrono::milliseconds connecting{300};
constexpr std::chrono::milliseconds deadline{500};
constexpr std::chrono::seconds pace{1};

class HttpProvider : public ::testing::Test {
protected:
    static void SetUpTestSuite() { server = std::make_unique<HttpServer>(); }
    static void TearDownTestSuite() { server.reset(); }

    // A storage system whose http(s) provider is `client`: trusting the server's certificate
    // unless Untrusting, following two redirects at most, abandoning a transfer slower
    // than 1000 bytes a second for a second, or Bounded. Every client waits little before it
    // tries again.
    static vfs::StorageSystemReference storage(Client client = Trusting,
                                               provider::HttpOptions options = quick()) {
        if (client != Untrusting)
            options.caFile = server->caFile();
        if (client == TwoRedirects)
            options.maxRedirects = 2;
        if (client == Impatient) {
            options.lowSpeedLimit = 1000;
            options.lowSpeedTime = std::chrono::seconds(1);
        }
        if (client == Bounded) {
            options.connectTimeout = connecting;
            options.requestTimeout = deadline;
            options.lowSpeedTime = pace;
        }
        auto system = std::make_shared<vfs::StorageSystem>();
        system->addProvider(provider::makeHttpProvider(options));
        return vfs::StorageSystemReference(system);
    }

    static provider::HttpOptions quick() {
        provider::HttpOptions options;
        options.retryDelay = std::chrono::milliseconds(5);
        return options;
    }

    // A path on the server, or a whole IRI.
    static vfs::AbsoluteIRI at(const std::string& pathOrIri) {
        return vfs::AbsoluteIRI(u(pathOrIri.starts_with("/") ? server->url(pathOrIri) : pathOrIri));
    }
    static vfs::File file(const std::string& pathOrIri, Client client = Trusting) {
        return vfs::File(at(pathOrIri), storage(client));
    }

    // The whole body, read 1000 bytes at a time (less than curl hands over at once, so the
    // buffer is drained in parts and fills up); the bytes that came before a failure stay
    // in `got`.
    static std::string body(const vfs::File& source, std::string* got = nullptr) {
        std::string local;
        std::string& bytes = got ? *got : local;
        vfs::IODevice device(source);
        char chunk[1000];
        while (const std::size_t n = device.read(chunk))
            bytes.append(chunk, n);
        return bytes;
    }

    static inline std::unique_ptr<HttpServer> server;
};

// Each kind of answer as exists and existsExtended give it. A failure names the location,
// with any password in it shown as ***.
TEST_F(HttpProvider, Existence) {
    const std::string secure = server->secureUrl("/files/notes.txt");
    const std::string closed = HttpServer::closedUrl("/files/notes.txt");
    const std::string withPassword =
        "http://me:s3cret@" + server->url("").substr(std::strlen("http://"));
    const struct {
        std::string location;
        Client client;
        int extended, plain; // negative: the code thrown
        std::string reason;  // part of the failure's reason
    } cases[] = {
        {"/files/notes.txt", Trusting, 0, 0, ""},
        {"/files/", Trusting, 2, 1, ""},
        {"/files/sub/deeper/", Trusting, 2, 1, ""},
        {"/files/a%20b%20\u00fc.txt", Trusting, 0, 0, ""},
        {"/files/x%26y%23z%3F%25.txt", Trusting, 0, 0, ""},
        {"/files/missing.txt", Trusting, -1, 2, ""},
        {"/files/missing/", Trusting, -1, 2, ""},
        {"/status/410", Trusting, -1, 2, ""},
        {"/status/401", Trusting, -2, -2, "HTTP 401"},
        {"/status/403", Trusting, -2, -2, "HTTP 403"},
        {"/status/407", Trusting, -2, -2, "HTTP 407"},
        {"/status/500", Trusting, -9, -9, "HTTP 500"},
        {"/status/418", Trusting, -9, -9, "HTTP 418"},
        // Nothing to follow: a status like any other that is no answer.
        {"/status/300", Trusting, -9, -9, "HTTP 300"},
        {"/status/302", Trusting, -9, -9, "HTTP 302"},
        {"/status/204", Trusting, 0, 0, ""}, // every 2xx is an answer
        {"/status/206", Trusting, 0, 0, ""},
        {"/refusing/405.txt", Trusting, 0, 0, ""}, // HEAD refused: a GET of byte 0
        {"/refusing/501.txt", Trusting, 0, 0, ""},
        {"/hop/1", Trusting, 0, 0, ""},
        {"/hop/1", TwoRedirects, -9, -9, "Maximum (2) redirects"},
        {"/loop/a", Trusting, -9, -9, "Maximum (10) redirects"},
        {secure, Trusting, 0, 0, ""},
        {secure, Untrusting, -9, -9, "certificate"},
        {closed, Trusting, -9, -9, "connect"},
        {withPassword + "/status/500", Trusting, -9, -9, "HTTP 500"},
        {withPassword + "/status/404", Trusting, -1, 2, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.location);
        const vfs::AbsoluteIRI location = at(c.location);
        const auto system = storage(c.client);
        EXPECT_EQ(outcome([&] { return vfs::existsExtended(location, system); }), c.extended);
        EXPECT_EQ(outcome([&] { return vfs::exists(location, system); }), c.plain);
        if (c.plain < 0) {
            EXPECT_THAT(contextOf([&] { vfs::exists(location, system); })->reason(),
                        ::testing::HasSubstr(c.reason));
        }
        if (c.extended < 0) {
            EXPECT_EQ(
                utf8(contextOf([&] { vfs::existsExtended(location, system); })->location()),
                std::regex_replace(utf8(location.toString()), std::regex(":s3cret@"), ":***@"));
        }
    }
}

TEST_F(HttpProvider, AttributesFromTheHeaders) {
    const pt::ptime now = pt::second_clock::universal_time();
    const struct {
        std::string location;
        std::uint64_t size;
        pt::ptime time; // not_a_date_time: the answer's Date, now
    } cases[] = {
        {"/files/notes.txt", 6, fileTime},
        {"/files/a%20b%20\u00fc.txt", 7, fileTime},
        {"/hop/1", 6, fileTime},              // the answer the redirects led to
        {"/refusing/405.txt", 8, fileTime},   // the size after the "/" of Content-Range
        {"/zoned.txt", 6, fileTime},          // "06:06:07 +0100"
        {"/unsized", 0, pt::not_a_date_time}, // no Content-Length, no Last-Modified
        {server->secureUrl("/files/report.csv"), 8, fileTime},
    };
    for (const auto& c : cases) {
        const auto attributes = file(c.location).getAttributes();
        EXPECT_FALSE(attributes.isWritable()) << c.location;
        EXPECT_EQ(attributes.getSize(), c.size) << c.location;
        if (c.time.is_not_a_date_time())
            EXPECT_LE(pt::time_duration(attributes.getLastModified() - now).abs(), pt::seconds(60))
                << c.location;
        else
            EXPECT_EQ(attributes.getLastModified(), c.time) << c.location;
    }
    for (const auto& [location, code] : std::vector<std::pair<std::string, int>>{
             {"/files/missing.txt", -1}, {"/status/403", -2}, {"/status/500", -9}})
        EXPECT_EQ(failure([&] { file(location).getAttributes(); }), code) << location;
}

TEST_F(HttpProvider, ExtendedAttributesAsTheServerSendsThem) {
    using Attributes = std::map<std::string, std::string>;
    const std::pair<std::string, Attributes> cases[] = {
        {"/files/report.csv",
         {{"http.contentType", "text/csv; charset=utf-8"}, {"http.etag", "\"60406abf-8\""}}},
        {"/refusing/501.txt",
         {{"http.contentType", "text/plain"}, {"http.etag", "\"60406abf-8\""}}},
        {"/zoned.txt", {{"http.contentType", "text/plain"}, {"http.etag", "\"zoned-1\""}}},
        {"/unsized", {{"http.contentType", "application/octet-stream"}}},
    };
    for (const auto& [location, expected] : cases)
        EXPECT_EQ(file(location).getExtendedAttributes().all(), expected) << location;
    EXPECT_EQ(failure([&] { file("/files/missing.txt").getExtendedAttributes(); }), -1);
}

TEST_F(HttpProvider, IndexPagesListed) {
    using Entries = std::vector<std::pair<fl::ustring, ItemType>>;
    const auto entries = [](const std::string& location) {
        Entries found;
        for (const auto& entry : vfs::Folder(at(location), storage()).listEntries(u""))
            found.emplace_back(entry.name, entry.type);
        return found;
    };
    const Entries files = {{u"a b \u00fc.txt", ItemType::File}, {u"a:b.txt", ItemType::File},
                           {u"big.bin", ItemType::File},        {u"notes.txt", ItemType::File},
                           {u"report.csv", ItemType::File},     {u"sub", ItemType::Folder},
                           {u"x&y#z?%.txt", ItemType::File}};
    EXPECT_EQ(entries("/files/"), files);
    EXPECT_EQ(entries("/files"), files); // redirected to the folder
    EXPECT_EQ(entries("/files/sub/"),
              (Entries{{u"deeper", ItemType::Folder}, {u"inner.txt", ItemType::File}}));
    EXPECT_EQ(entries(server->secureUrl("/files/sub/deeper/")),
              (Entries{{u"leaf.txt", ItemType::File}}));
    // The time (to the minute) and size the page shows of each entry; a folder has no size.
    const vfs::CanonicalAbsoluteIRI filesFolder(at("/files/"));
    for (const auto& entry : vfs::Folder(filesFolder, storage()).listEntries(u"*.??*")) {
        SCOPED_TRACE(fl::i18n::to_string(entry.name));
        const auto attributes =
            vfs::File(vfs::CanonicalAbsoluteIRI(filesFolder, entry.name), storage())
                .getAttributes();
        const auto time = attributes.getLastModified();
        EXPECT_EQ(entry.lastModified,
                  time - boost::posix_time::seconds(time.time_of_day().seconds()));
        EXPECT_EQ(entry.size, attributes.getSize());
    }
    const auto sub = vfs::Folder(at("/files/"), storage()).listEntries(u"sub");
    ASSERT_EQ(sub.size(), 1u);
    EXPECT_FALSE(sub[0].size);
    EXPECT_FALSE(sub[0].lastModified.is_not_a_date_time());
    // The page comes whole; the filter is applied to it.
    EXPECT_EQ(
        vfs::Folder(at("/files/"), storage()).listAll(u"*.txt"),
        (std::vector<fl::ustring>{u"a b \u00fc.txt", u"a:b.txt", u"notes.txt", u"x&y#z?%.txt"}));
    // A page that is no index (an index.html, a text file) cannot be listed.
    for (const auto& [location, code] :
         std::vector<std::pair<std::string, int>>{{"/page/", -11},
                                                  {"/files/notes.txt", -11},
                                                  {"/files/missing/", -1},
                                                  {"/status/403", -2},
                                                  {"/status/500", -9}})
        EXPECT_EQ(failure([&] { vfs::Folder(at(location), storage()).listAll(u""); }), code)
            << location;
}

// Bodies as the server sends them, in full. Failures found before the first byte is handed
// out fail the opening itself. A body that ends early fails: cut short (the connection closed
// before Content-Length) on the read that finds the end, after the bytes that came; too
// slow, once the low-speed limit has waited long enough.
TEST_F(HttpProvider, BodiesRead) {
    const std::string big = HttpServer::bigContent();
    const std::pair<std::string, std::string> cases[] = {
        {"/files/notes.txt", "hello\n"},
        {"/files/a%20b%20\u00fc.txt", "spaced\n"},
        {"/files/big.bin", big},
        {server->secureUrl("/files/big.bin"), big},
        {"/hop/1", "hello\n"},
        {"/unsized", "streamed\n"},
        {"/refusing/405.txt", "no head\n"},
    };
    for (const auto& [location, expected] : cases)
        EXPECT_TRUE(body(file(location)) == expected) << location;

    const std::string closed = HttpServer::closedUrl("/files/notes.txt");
    const std::tuple<std::string, Client, int> refused[] = {
        {"/files/missing.txt", Trusting, -1},
        {"/status/401", Trusting, -2},
        {"/status/500", Trusting, -9},
        {"/loop/a", Trusting, -9},
        {closed, Trusting, -9},
        {server->secureUrl("/files/notes.txt"), Untrusting, -9},
    };
    for (const auto& [location, client, code] : refused)
        EXPECT_EQ(failure([&] { vfs::IODevice{file(location, client)}; }), code) << location;

    const auto start = std::chrono::steady_clock::now();
    std::string got;
    EXPECT_EQ(failure([&] { body(file("/cut.bin"), &got); }), -9);
    EXPECT_GT(got.size(), 0u);
    EXPECT_LT(got.size(), 100000u);
    EXPECT_EQ(failure([&] { body(file("/slow.bin", Impatient)); }), -9);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(HttpProvider, ChangesRefused) {
    const std::function<void()> changes[] = {
        [&] { file("/files/notes.txt").createFile(); },
        [&] { file("/files/new.txt").createFile(); },
        [&] { file("/files/notes.txt").removeFile(); },
        [&] { vfs::Folder(at("/files/new/a/"), storage()).createFolderRecursive(); },
        [&] { file("/files/notes.txt").openForWriting(vfs::WriteMode::replace); },
        [&] { file("/files/notes.txt").rename(at("/files/moved.txt")); },
        [&] { vfs::Folder(at("/files/sub/"), storage()).removeFolder(); },
    };
    for (const auto& change : changes)
        EXPECT_EQ(failure(change), -5);
}

// Requests one after another on a thread share a connection.
TEST_F(HttpProvider, ConnectionReused) {
    const auto connection = [] { return body(file("/connection")); };
    const std::string first = connection();
    EXPECT_EQ(vfs::exists(at("/files/notes.txt"), storage()), vfs::existence::file);
    EXPECT_EQ(connection(), first);
}

// No server holds a call beyond its bounds, whether it says nothing, trickles its status
// line or its body, or never takes the connection: a look or an index page within the
// deadline, a body once it has been too slow for long enough; code 9 with curl's reason.
TEST_F(HttpProvider, EveryWaitBounded) {
    using vexa::testing::ScriptedServer;
    const std::string page = "<html><title>Index of /</title><a href=\"x\">x</a></html>";
    const ScriptedServer silent({ScriptedServer::Answer{.bytes = {}, .silent = true}});
    const ScriptedServer trickling(
        {{ScriptedServer::answer(200, "Content-Type: text/html\r\n", page).bytes, 2}});
    // A listening socket whose queue is full: a connection is never taken.
    const vexa::testing::Socket full(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int fullPort = vexa::testing::bindLoopback(full);
    ASSERT_EQ(::listen(full.get(), 0), 0);
    std::vector<vexa::testing::Socket> waiting;
    for (int i = 0; i < 3; ++i) {
        waiting.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        const sockaddr_in address = vexa::testing::loopback(fullPort);
        ::connect(waiting.back().get(), reinterpret_cast<const sockaddr*>(&address),
                  sizeof address);
    }
    const std::string unaccepted = "http://127.0.0.1:" + std::to_string(fullPort) + "/x";
    const auto look = [](const std::string& location) {
        return [=] { vfs::exists(at(location), storage(Bounded)); };
    };
    const auto read = [](const std::string& location) {
        return [=] { body(file(location, Bounded)); };
    };
    const auto list = [](const std::string& location) {
        return [=] { vfs::Folder(at(location), storage(Bounded)).listAll(u""); };
    };
    using std::chrono::milliseconds;
    const struct {
        std::string what;
        std::function<void()> call;
        std::chrono::milliseconds bound;
        std::string reason; // a regular expression
    } cases[] = {
        {"look, silent", look(silent.url("/x")), deadline, "timed out"},
        {"look, status trickled", look(trickling.url("/x")), deadline, "timed out"},
        // curl words it by which of its clocks ran out first.
        {"look, never connected", look(unaccepted), connecting,
         "Failed to connect|Connection timeout"},
        {"page trickled", list(trickling.url("/")), deadline, "timed out"},
        {"body, silent", read(silent.url("/x")), pace, "too slow"},
        {"body trickled", read(server->url("/trickle.bin")), pace, "too slow"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto start = std::chrono::steady_clock::now();
        const auto context = contextOf(c.call);
        const auto took = std::chrono::steady_clock::now() - start;
        ASSERT_TRUE(context);
        EXPECT_EQ(context->message().name(), vfs::errorMessageName(vfs::IOError));
        EXPECT_THAT(context->reason(), ::testing::ContainsRegex(c.reason));
        EXPECT_GE(took, c.bound - milliseconds(50)); // as curl's clock tells it
        // curl looks at the speed once a second: a second beyond the bound at most.
        EXPECT_LT(took, c.bound + milliseconds(1500));
    }
}

// A request that changes nothing is made again while it fails in a way that may pass, up to
// three times, waiting longer each time or as long as the server asks (up to a limit); the
// last failure is the caller's. Other failures and answers are final at once.
TEST_F(HttpProvider, RetriedWhileTheFailureMayPass) {
    using std::chrono::milliseconds;
    using vexa::testing::ScriptedServer;
    const auto status = [](int code, std::string headers = {}) {
        return ScriptedServer::answer(code, std::move(headers));
    };
    const ScriptedServer::Answer hello = ScriptedServer::answer(
        200, "Content-Type: text/html\r\n", "<title>Index of /</title><a href=\"hello\">hello</a>");
    const ScriptedServer::Answer hangUp{""}; // closed before a status line
    enum Call { Look, Read, List };
    const struct {
        std::vector<ScriptedServer::Answer> script;
        Call call;
        int expected; // exists' answer, or minus the code thrown; 100 for a read or listing
        std::size_t requests;
        std::vector<milliseconds> atLeast = {}; // the waits between requests, at least
        std::vector<milliseconds> atMost = {};
    } cases[] = {
        {{status(503), status(503), hello}, Look, 0, 3},
        {{status(503), status(502), status(500)}, Look, -9, 3},
        {{status(504), status(429), hello}, Read, 100, 3},
        {{hangUp, hello}, Look, 0, 2},
        {{hangUp, hangUp, hangUp, hello}, Read, -9, 3},
        {{status(500), hello}, List, 100, 2},
        {{status(404), hello}, Look, 2, 1},
        {{status(418), hello}, Look, -9, 1},
        {{status(403), hello}, Read, -2, 1},
        // Exponential, with jitter: half to all of 40 ms, then of 80 ms.
        {{status(502), status(502), hello},
         Look,
         0,
         3,
         {milliseconds(20), milliseconds(40)},
         {milliseconds(400), milliseconds(400)}},
        {{status(503, "Retry-After: 1\r\n"), hello}, Look, 0, 2, {milliseconds(1000)}},
        {{status(429, "Retry-After: Thu, 01 Jan 1970 00:00:00 GMT\r\n"), hello},
         Look,
         0,
         2,
         {},
         {milliseconds(300)}},
        // A wait that would pass the deadline of the call is not taken.
        {{status(503, "Retry-After: 1\r\n"), status(503, "Retry-After: 1\r\n"), hello},
         Look,
         -9,
         2},
        // Longer than the client waits: its limit.
        {{status(503, "Retry-After: 3600\r\n"), hello},
         Look,
         0,
         2,
         {milliseconds(1200)},
         {milliseconds(1600)}},
    };
    provider::HttpOptions options;
    options.retryDelay = milliseconds(40);
    options.retryAfterLimit = milliseconds(1200);
    options.requestTimeout = milliseconds(1500);
    for (const auto& c : cases) {
        const ScriptedServer server(c.script);
        const vfs::AbsoluteIRI location = at(server.url(c.call == List ? "/" : "/x"));
        SCOPED_TRACE(utf8(location.toString()) + " " + std::to_string(&c - cases));
        const auto system = storage(Trusting, options);
        EXPECT_EQ(outcome([&]() -> int {
                      if (c.call == Look)
                          return vfs::exists(location, system);
                      if (c.call == List)
                          EXPECT_EQ(vfs::Folder(location, system).listAll(u""),
                                    std::vector<fl::ustring>{u"hello"});
                      else
                          body(vfs::File(location, system));
                      return 100;
                  }),
                  c.expected);
        const auto requests = server.requests();
        EXPECT_EQ(requests.size(), c.requests);
        for (std::size_t i = 0; i + 1 < requests.size(); ++i) {
            if (i < c.atLeast.size()) {
                EXPECT_GE(requests[i + 1] - requests[i], c.atLeast[i]) << i;
            }
            if (i < c.atMost.size()) {
                EXPECT_LE(requests[i + 1] - requests[i], c.atMost[i]) << i;
            }
        }
    }
}

} // namespace
