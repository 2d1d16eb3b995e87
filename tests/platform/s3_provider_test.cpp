// The s3 provider against a real S3 server (s3rver, tests/support/S3Server.hpp): keys,
// folders as prefixes, listing pages, changes, multipart writes, retries; its settings from
// the environment and shared files; and its signatures, compared with botocore's.

#include "foundation/storage/provider/s3/S3Provider.hpp"
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/File.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/IODevice.hpp>
#include <foundation/storage/vfs/WriteStream.hpp>

#include "foundation/storage/provider/s3/S3Request.hpp"

#include "HttpServer.hpp"
#include "RunProgram.hpp"
#include "S3Server.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace pt = boost::posix_time;
namespace vfs = foundation::storage::vfs;
namespace provider = foundation::storage::provider;
namespace s3 = provider::s3;
using provider::ItemType;
using vexa::testing::contextOf;
using vexa::testing::failure;
using vexa::testing::outcome;
using vexa::testing::S3Server;
using vexa::testing::ScriptedServer;
using vexa::testing::TempDir;
using vexa::testing::u;
using vexa::testing::utf8;

class S3Provider : public ::testing::Test {
protected:
    static void SetUpTestSuite() { server = std::make_unique<S3Server>(); }
    static void TearDownTestSuite() { server.reset(); }

    // A storage system whose s3 provider lists `maxKeys` keys a page, from the suite's server
    // or from `endpoint` (a scripted one), with `deadline` for a request that moves no body.
    static vfs::StorageSystemReference
    storage(int maxKeys = 1000, std::string endpoint = {},
            std::chrono::milliseconds deadline = provider::HttpOptions().requestTimeout) {
        auto options = server->options();
        options.maxKeys = maxKeys;
        if (!endpoint.empty())
            options.endpoint = std::move(endpoint);
        options.http.retryDelay = std::chrono::milliseconds(5);
        options.http.requestTimeout = deadline;
        auto system = std::make_shared<vfs::StorageSystem>();
        system->addProvider(std::make_shared<provider::S3Provider>(std::move(options)));
        return vfs::StorageSystemReference(system);
    }
    static const provider::S3Provider& s3Of(const vfs::StorageSystemReference& system) {
        return static_cast<const provider::S3Provider&>(*system->findProvider("s3"));
    }

    static vfs::AbsoluteIRI at(const std::string& key, const std::string& bucket = "bucket") {
        return vfs::AbsoluteIRI(u("s3://" + bucket + "/" + key));
    }

    static void put(const vfs::StorageSystemReference& system, const std::string& key,
                    const std::string& bytes, vfs::WriteMode mode = vfs::WriteMode::replace) {
        vfs::WriteStream stream = vfs::File(at(key), system).openForWriting(mode);
        stream.write(bytes.data(), bytes.size());
        stream.close();
    }
    static std::string body(const vfs::StorageSystemReference& system, const std::string& key) {
        vfs::IODevice device(vfs::File(at(key), system));
        std::string bytes;
        char chunk[64 * 1024];
        while (const std::size_t n = device.read(chunk))
            bytes.append(chunk, n);
        return bytes;
    }
    // Every key of the bucket under `prefix`, as the provider's tree listing names them.
    static std::set<std::string> tree(const vfs::StorageSystemReference& system,
                                      const std::string& prefix) {
        std::set<std::string> names;
        const auto cursor = system->findProvider("s3")->listTree(at(prefix));
        for (auto page = cursor->next(); !page.empty(); page = cursor->next())
            for (const auto& entry : page)
                names.insert(utf8(entry.name) + (entry.type == ItemType::Folder ? "/" : ""));
        return names;
    }

    static inline std::unique_ptr<S3Server> server;
};

// Keys with characters that URLs, signatures and S3 escape differently: each is written,
// found, read back and listed under its own name.
TEST_F(S3Provider, KeysThatNeedEscaping) {
    const auto system = storage();
    const std::vector<std::string> names = {"plain.txt",
                                            "a b.txt",
                                            "a+b.txt",
                                            "100%.txt",
                                            "x#y.txt",
                                            "why?.txt",
                                            "caf\u00e9 \u00fc.txt",
                                            "tilde~_-.txt",
                                            "eq=amp&.txt",
                                            "semi;colon,.txt",
                                            "(paren)'!*.txt"};
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        // The IRI escapes what would end its path; the key is the name itself.
        const std::string key = "escapes/" + s3::escaped(name, true);
        put(system, key, "content of " + name);
        EXPECT_EQ(outcome([&] { return vfs::exists(at(key), system); }), 0);
        EXPECT_EQ(body(system, key), "content of " + name);
        EXPECT_EQ(vfs::File(at(key), system).getAttributes().getSize(), 11 + name.size());
    }
    std::set<std::string> expected;
    for (const std::string& name : names)
        expected.insert(name);
    const auto listed = utf8(vfs::Folder(at("escapes/"), system).listAll(u("*")));
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), expected);
    // s3rver routes no key with "//" (the signature table covers how one is sent).
}

// Folders are prefixes: a marker, keys below, or both; a key that is also a prefix is the
// object. A missing bucket is nothing there, like a missing key.
TEST_F(S3Provider, Existence) {
    const auto system = storage();
    put(system, "exist/file.txt", "f");
    vfs::Folder(at("exist/empty/"), system).createFolderRecursive();
    put(system, "exist/implied/deep/x.txt", "x");
    put(system, "exist/both", "b");
    put(system, "exist/both/inner.txt", "i");
    const struct {
        vfs::AbsoluteIRI location;
        int extended, plain; // negative: the code thrown
    } cases[] = {
        {at("exist/file.txt"), 0, 0},
        {at("exist/file.txt/"), -1, 2}, // no prefix "file.txt/"
        {at("exist/fil"), -1, 2},       // a prefix of a key, not of a folder
        {at("exist/empty/"), 2, 1},     // the marker
        {at("exist/empty"), 2, 1},
        {at("exist/implied/"), 2, 1}, // no marker, keys below
        {at("exist/implied/deep"), 2, 1},
        {at("exist/both"), 0, 0},
        {at("exist/both/"), 2, 1},
        {at("exist/missing"), -1, 2},
        {at("exist/missing/"), -1, 2},
        {at(""), 2, 1}, // the bucket's root
        {at("", "no-bucket"), -1, 2},
        {at("x", "no-bucket"), -1, 2},
        {at("x/", "no-bucket"), -1, 2},
        // User info, which no message shows but as "***".
        {at("exist/missing", "me:s3cret@bucket"), -1, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8(c.location.toString()));
        EXPECT_EQ(outcome([&] { return vfs::existsExtended(c.location, system); }), c.extended);
        EXPECT_EQ(outcome([&] { return vfs::exists(c.location, system); }), c.plain);
        if (c.extended < 0) {
            EXPECT_EQ(
                utf8(contextOf([&] { vfs::existsExtended(c.location, system); })->location()),
                std::regex_replace(utf8(c.location.toString()), std::regex(":s3cret@"), ":***@"));
        }
    }
    const auto attributes = vfs::File(at("exist/file.txt"), system).getAttributes();
    EXPECT_EQ(attributes.getSize(), 1u);
    EXPECT_TRUE(attributes.isWritable());
    EXPECT_LE(
        pt::time_duration(attributes.getLastModified() - pt::second_clock::universal_time()).abs(),
        pt::seconds(60));
    const auto extended = vfs::File(at("exist/file.txt"), system).getExtendedAttributes();
    EXPECT_EQ(extended.all().at("http.etag"), "\"8fa14cdd754f91cc6554c9e71929cce7\"");
}

// A folder of 2,500 keys and three subfolders, 1,000 keys a page: each page is one request; the
// subfolders come once each, however often the server repeats them; a tree asks without the
// delimiter, so its requests follow the keys, not the folders.
TEST_F(S3Provider, ListingPageByPage) {
    const auto system = storage(1000);
    const auto& s3 = s3Of(system);
    std::set<std::string> files;
    for (int i = 0; i < 2500; ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "k%04d", i);
        files.insert(name);
        put(system, std::string("many/") + name, "");
    }
    for (const char* folder : {"many/sub0/", "many/sub1/", "many/sub2/"})
        put(system, std::string(folder) + "inner.txt", "in");
    vfs::Folder(at("many/sub1/"), system).createFolderRecursive(); // a marker beside a key

    const auto before = s3.listRequests();
    const auto cursor = s3.listPages(at("many/"), u("*"));
    std::vector<std::size_t> pageFiles;
    std::multiset<std::string> folders, listed;
    for (auto page = cursor->next(); !page.empty(); page = cursor->next()) {
        pageFiles.push_back(std::count_if(page.begin(), page.end(), [](const auto& entry) {
            return entry.type == ItemType::File;
        }));
        for (const auto& entry : page)
            (entry.type == ItemType::Folder ? folders : listed).insert(utf8(entry.name));
        EXPECT_EQ(page.front().type == ItemType::File ? page.front().size
                                                      : std::optional<std::uint64_t>(0),
                  std::optional<std::uint64_t>(0));
    }
    EXPECT_EQ(pageFiles, (std::vector<std::size_t>{1000, 1000, 500}));
    EXPECT_EQ(s3.listRequests() - before, 3u);
    EXPECT_EQ(folders, (std::multiset<std::string>{"sub0", "sub1", "sub2"}));
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), files);
    EXPECT_EQ(listed.size(), files.size());

    // A filter leaves out names, not pages.
    EXPECT_EQ(vfs::Folder(at("many/"), system).listAll(u("k24*")).size(), 100u);
    EXPECT_EQ(vfs::Folder(at("many/"), system).listAll(u("sub?")).size(), 3u);

    const auto treeBefore = s3.listRequests();
    const auto names = tree(system, "many/");
    EXPECT_EQ(s3.listRequests() - treeBefore, 3u); // 2,504 keys
    EXPECT_EQ(names.size(), 2500u + 6u);
    EXPECT_TRUE(names.contains("sub1/") && names.contains("sub1/inner.txt"));
    // 251 keys a page: 2,504 keys in 10 requests.
    const auto smallPages = storage(251);
    EXPECT_EQ(tree(smallPages, "many/"), names);
    EXPECT_EQ(s3Of(smallPages).listRequests(), 10u);
}

// Changes, one after another on one prefix, with what each leaves.
TEST_F(S3Provider, Changes) {
    const auto system = storage();
    const auto file = [&](const std::string& key) { return vfs::File(at(key), system); };
    const auto folder = [&](const std::string& key) { return vfs::Folder(at(key), system); };
    const auto kind = [&](const std::string& key) {
        return outcome([&] { return vfs::exists(at(key), system); });
    };
    put(system, "changes/kept.txt", "kept");
    const struct {
        const char* what;
        std::function<void()> change;
        int code;                                      // 100: done
        std::vector<std::pair<std::string, int>> then; // exists afterwards
    } steps[] = {
        {"new file", [&] { file("changes/new.txt").createFile(); }, 100, {{"changes/new.txt", 0}}},
        {"file again", [&] { file("changes/new.txt").createFile(); }, -3, {}},
        {"file where a folder is", [&] { file("changes").createFile(); }, -3, {}},
        {"write in create mode over a file",
         [&] { put(system, "changes/kept.txt", "other", vfs::WriteMode::create); },
         -3,
         {}},
        {"remove file",
         [&] { file("changes/new.txt").removeFile(); },
         100,
         {{"changes/new.txt", 2}}},
        {"remove it again", [&] { file("changes/new.txt").removeFile(); }, -1, {}},
        {"remove a folder as a file", [&] { file("changes").removeFile(); }, -1, {}},
        {"write the bucket's root", [&] { put(system, "", "x"); }, -1, {{"", 1}}},
        {"read the bucket's root", [&] { body(system, ""); }, -1, {}},
        {"folders with markers",
         [&] { folder("changes/a/b/c/").createFolderRecursive(); },
         100,
         {{"changes/a/", 1}, {"changes/a/b/", 1}, {"changes/a/b/c/", 1}}},
        // A bucket is never made: a PUT of its root would create it.
        {"folders in a missing bucket",
         [&] { vfs::Folder(at("a/b/", "nobucket"), system).createFolderRecursive(); },
         -1,
         {}},
        {"folder that is there",
         [&] { provider::S3Provider(server->options()).createFolder(at("changes/a/")); },
         -3,
         {}},
        {"folder without its parent",
         [&] { provider::S3Provider(server->options()).createFolder(at("changes/x/y/")); },
         -1,
         {{"changes/x/", 2}}},
        {"folder under a file",
         [&] { provider::S3Provider(server->options()).createFolder(at("changes/kept.txt/y/")); },
         -4,
         {}},
        {"remove a folder that holds one",
         [&] { folder("changes/a/b/").removeFolder(); },
         0,
         {{"changes/a/b/c/", 1}}},
        {"remove the empty one",
         [&] { folder("changes/a/b/c/").removeFolder(); },
         100,
         {{"changes/a/b/c/", 2}, {"changes/a/b/", 1}}},
        {"remove a missing folder", [&] { folder("changes/none/").removeFolder(); }, -1, {}},
        {"rename",
         [&] { file("changes/kept.txt").rename(at("changes/moved.txt")); },
         100,
         {{"changes/kept.txt", 2}, {"changes/moved.txt", 0}}},
        {"rename onto a file",
         [&] {
             put(system, "changes/other.txt", "o");
             file("changes/other.txt").rename(at("changes/moved.txt"));
         },
         -3,
         {{"changes/other.txt", 0}}},
        {"rename a missing file",
         [&] { file("changes/gone.txt").rename(at("changes/g.txt")); },
         -1,
         {}},
        {"rename a folder", [&] { file("changes/a").rename(at("changes/z")); }, -11, {}},
        {"write, closed once the storage that opened it is gone",
         [&] {
             // The system made here, and its provider, end with this statement.
             vfs::WriteStream stream = vfs::File(at("changes/late.txt"), storage())
                                           .openForWriting(vfs::WriteMode::create);
             const std::string bytes(10'000, 'l');
             stream.write(bytes.data(), bytes.size());
             stream.close();
         },
         100,
         {{"changes/late.txt", 0}}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        EXPECT_EQ(failure(step.change), step.code);
        for (const auto& [key, expected] : step.then)
            EXPECT_EQ(kind(key), expected) << key;
    }
    EXPECT_EQ(body(system, "changes/moved.txt"), "kept");
    EXPECT_EQ(outcome([&] { return vfs::exists(at("", "nobucket"), system); }), 2);
}

// Up to 8 MiB is one PUT; 20 MB goes in three parts, read back whole and by ranges of the
// reader. A stream dropped after a part was sent leaves no object.
TEST_F(S3Provider, MultipartWrites) {
    const auto system = storage();
    std::string big(20'000'000, '\0');
    for (std::size_t i = 0; i < big.size(); ++i)
        big[i] = static_cast<char>(i * 7 % 251);
    const struct {
        std::string key;
        std::size_t size;
        bool closed;
        int exists; // afterwards
    } cases[] = {
        {"multi/small.bin", 8u << 20, true, 0},
        {"multi/big.bin", big.size(), true, 0},
        {"multi/dropped.bin", 12'000'000, false, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        {
            vfs::WriteStream stream =
                vfs::File(at(c.key), system).openForWriting(vfs::WriteMode::create);
            for (std::size_t at = 0; at < c.size; at += 1'000'000)
                stream.write(big.data() + at, std::min<std::size_t>(1'000'000, c.size - at));
            if (c.closed)
                stream.close();
        }
        EXPECT_EQ(outcome([&] { return vfs::exists(at(c.key), system); }), c.exists);
        if (c.closed) {
            EXPECT_TRUE(body(system, c.key) == big.substr(0, c.size));
        }
    }
    const auto uploads = server->folder() / "bucket" / "._S3rver_uploads";
    // Completed uploads leave nothing behind; the dropped one was aborted, which s3rver
    // refuses (405), so its part stays in s3rver's folder and nowhere under a key.
    std::size_t left = 0;
    if (std::filesystem::exists(uploads))
        for (const auto& upload : std::filesystem::directory_iterator(uploads))
            left += !upload.path().empty();
    EXPECT_LE(left, 1u);
}

// A multipart upload that does not complete is aborted, whether its stream is dropped or a
// part fails (after its retries): no parts are left stored. As the server sees it.
TEST_F(S3Provider, UnfinishedUploadsAreAborted) {
    const auto xml = [](const std::string& body) {
        return ScriptedServer::answer(200, "Content-Type: application/xml\r\n", body);
    };
    const auto started = xml("<InitiateMultipartUploadResult><Bucket>bucket</Bucket><Key>k"
                             "</Key><UploadId>u/1+</UploadId></InitiateMultipartUploadResult>");
    const auto partTaken = ScriptedServer::answer(200, "ETag: \"p1\"\r\n");
    // Over two seconds, beyond the table's deadline of a request that moves no body.
    const ScriptedServer::Answer partTakenSlowly{.bytes = partTaken.bytes, .bytesPerSecond = 30};
    const auto failed = ScriptedServer::answer(500), deleted = ScriptedServer::answer(204);
    const std::string start = "POST /bucket/k?uploads= ",
                      abort = "DELETE /bucket/k?uploadId=u%2F1%2B ";
    const std::string part1 = "PUT /bucket/k?partNumber=1&uploadId=u%2F1%2B ",
                      part2 = "PUT /bucket/k?partNumber=2&uploadId=u%2F1%2B ";
    const struct {
        const char* what;
        std::vector<ScriptedServer::Answer> script;
        std::size_t bytes;
        int result; // of writing and dropping the stream
        std::vector<std::string> requests;
    } cases[] = {
        {"dropped after a part",
         {started, partTaken, deleted},
         12u << 20,
         100,
         {start, part1, abort}},
        {"a part refused",
         {started, failed, failed, failed, deleted},
         9u << 20,
         -9,
         {start, part1, part1, part1, abort}},
        {"a part answered after a request's deadline: a body is bounded by its pace",
         {started, partTakenSlowly, deleted},
         12u << 20,
         100,
         {start, part1, abort}},
        {"the second part refused",
         {started, partTaken, failed, failed, failed, deleted},
         17u << 20,
         -9,
         {start, part1, part2, part2, part2, abort}},
    };
    const std::string chunk(1 << 20, 'c');
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const ScriptedServer scripted(c.script);
        const vfs::StorageSystemReference reference =
            storage(1000, scripted.url(""), std::chrono::seconds(1));
        EXPECT_EQ(failure([&] {
                      vfs::WriteStream stream =
                          vfs::File(at("k"), reference).openForWriting(vfs::WriteMode::replace);
                      for (std::size_t at = 0; at < c.bytes; at += chunk.size())
                          stream.write(chunk.data(), chunk.size());
                  }),
                  c.result);
        std::vector<std::string> lines;
        for (const std::string& text : scripted.requestTexts())
            lines.push_back(text.substr(0, text.find("HTTP/")));
        EXPECT_EQ(lines, c.requests);
    }
}

// Answers by status: 503 SlowDown (and the other statuses that may pass) is tried again up
// to `attempts` times, the last failure the caller's; other errors are the status's code
// with the server's code and message, and the region of a bucket that lives elsewhere.
TEST_F(S3Provider, ErrorsAndRetries) {
    const auto error = [](int status, const std::string& code, const std::string& more) {
        return ScriptedServer::answer(status, "Content-Type: application/xml\r\n",
                                      "<Error><Code>" + code + "</Code><Message>" + code +
                                          " said</Message>" + more + "</Error>");
    };
    const auto slowDown = error(503, "SlowDown", "");
    const auto listing = ScriptedServer::answer(
        200, "Content-Type: application/xml\r\n",
        "<ListBucketResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\"><Contents>"
        "<Key>d/x</Key><Size>1</Size></Contents><IsTruncated>false</IsTruncated>"
        "</ListBucketResult>");
    const struct {
        std::vector<ScriptedServer::Answer> script; // the last answer again once it runs out
        int result;                                 // exists; negative: the code thrown
        std::size_t requests;
        std::string reason;
    } cases[] = {
        {{listing}, 1, 1, ""},
        {{slowDown, listing}, 1, 2, ""},
        {{slowDown, slowDown, listing}, 1, 3, ""},
        {{slowDown}, -9, 3, "HTTP 503 SlowDown: SlowDown said"},
        {{error(500, "InternalError", ""), listing}, 1, 2, ""},
        {{error(403, "AccessDenied", "")}, -2, 1, "HTTP 403 AccessDenied: AccessDenied said"},
        {{error(404, "NoSuchBucket", "")}, 2, 1, ""},
        {{error(301, "PermanentRedirect", "<Region>eu-west-1</Region>")},
         -9,
         1,
         "HTTP 301 PermanentRedirect: PermanentRedirect said (the bucket is in region eu-west-1)"},
        {{error(400, "AuthorizationHeaderMalformed", "<Region>ap-east-1</Region>")},
         -9,
         1,
         "(the bucket is in region ap-east-1)"},
        {{ScriptedServer::answer(200, "Content-Type: application/xml\r\n", "<ListBucketResult>")},
         -9,
         1,
         "listing not read"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        const ScriptedServer scripted(c.script);
        const vfs::StorageSystemReference reference = storage(1000, scripted.url(""));
        if (c.result >= 0) {
            EXPECT_EQ(outcome([&] { return vfs::exists(at("d/"), reference); }), c.result);
        } else {
            const auto context = contextOf([&] { vfs::exists(at("d/"), reference); });
            ASSERT_TRUE(context);
            EXPECT_THAT(context->reason(), ::testing::HasSubstr(c.reason));
            EXPECT_EQ(outcome([&] { return vfs::exists(at("d/"), reference); }), c.result);
        }
        EXPECT_EQ(scripted.requests().size(), c.result < 0 ? 2 * c.requests : c.requests);
    }
}

// A read whose connection breaks goes on from where it broke, with a range of the same
// version (its ETag); a changed object, or a server that sends the whole body again, ends it.
TEST_F(S3Provider, ReadsGoOnWhereTheConnectionBroke) {
    const ScriptedServer::Answer cut{"HTTP/1.1 200 OK\r\nETag: \"v1\"\r\nContent-Length: 10\r\n"
                                     "Connection: close\r\n\r\nhello"};
    const struct {
        ScriptedServer::Answer rest;
        std::string got; // "": the read fails with IOError
    } cases[] = {
        {ScriptedServer::answer(206, "ETag: \"v1\"\r\nContent-Range: bytes 5-9/10\r\n", "world"),
         "helloworld"},
        {ScriptedServer::answer(412), ""},
        {ScriptedServer::answer(200, "ETag: \"v1\"\r\n", "helloworld"), ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.got);
        const ScriptedServer scripted({cut, c.rest});
        const vfs::StorageSystemReference reference = storage(1000, scripted.url(""));
        std::string got;
        const int code = failure([&] { got = body(reference, "object"); });
        EXPECT_EQ(code, c.got.empty() ? -vfs::IOError : 100);
        EXPECT_EQ(got, c.got);
        const auto requests = scripted.requestTexts();
        ASSERT_EQ(requests.size(), 2u);
        EXPECT_THAT(requests[1], ::testing::HasSubstr("\r\nRange: bytes=5-\r\n"));
        EXPECT_THAT(requests[1], ::testing::HasSubstr("\r\nIf-Match: \"v1\"\r\n"));
    }
}

// The environment variables one row sets, every other AWS_ one unset, HOME an empty folder;
// all as they were once the row ends.
class ScopedEnvironment {
public:
    explicit ScopedEnvironment(const std::map<std::string, std::string>& values) : set_(values) {
        for (const char* name :
             {"AWS_ENDPOINT_URL_S3", "AWS_ENDPOINT_URL", "AWS_REGION", "AWS_DEFAULT_REGION",
              "AWS_ACCESS_KEY_ID", "AWS_SECRET_ACCESS_KEY", "AWS_SESSION_TOKEN", "AWS_PROFILE",
              "AWS_SHARED_CREDENTIALS_FILE", "AWS_CONFIG_FILE", "HOME"}) {
            if (const char* value = std::getenv(name))
                saved_.emplace(name, value);
            ::unsetenv(name);
        }
        ::setenv("HOME", home_.path().c_str(), 1);
        for (const auto& [name, value] : values)
            ::setenv(name.c_str(), value.c_str(), 1);
    }
    ~ScopedEnvironment() {
        for (const auto& [name, value] : set_)
            ::unsetenv(name.c_str());
        for (const auto& [name, value] : saved_)
            ::setenv(name.c_str(), value.c_str(), 1);
    }
    const TempDir& home() const noexcept { return home_; }

private:
    std::map<std::string, std::string> set_, saved_;
    TempDir home_;
};

// Where settings come from: options, then the environment, then the profile's section of
// the shared files (the config file's "[profile NAME]"), then AWS's defaults; and the
// address each gives a key.
TEST(S3Settings, FromOptionsEnvironmentAndSharedFiles) {
    const std::string files =
        "\n[default]\naws_access_key_id = FILEKEY\n"
        "aws_secret_access_key = filesecret\n"
        "[work]\naws_access_key_id=WORKKEY\naws_secret_access_key=worksecret\n"
        "aws_session_token = worktoken\n";
    const std::string config = "[default]\nregion = eu-north-1\n"
                               "[profile work]\nregion = ap-south-1\n[work]\nregion = wrong\n";
    using Environment = std::map<std::string, std::string>;
    const struct {
        const char* what;
        Environment environment;
        bool sharedFiles;                      // ~/.aws/credentials and ~/.aws/config as above
        void (*options)(provider::S3Options&); // the options given, when not none
        std::string region, key, secret, token, url; // url: of the key "a b/c+d"
    } cases[] = {
        {"nothing",
         {},
         false,
         nullptr,
         "us-east-1",
         "",
         "",
         "",
         "https://bucket.s3.us-east-1.amazonaws.com/a%20b/c%2Bd"},
        {"regions",
         {{"AWS_REGION", "eu-west-1"}, {"AWS_DEFAULT_REGION", "us-west-2"}},
         true,
         {},
         "eu-west-1",
         "FILEKEY",
         "filesecret",
         "",
         "https://bucket.s3.eu-west-1.amazonaws.com/a%20b/c%2Bd"},
        {"default region",
         {{"AWS_DEFAULT_REGION", "us-west-2"}},
         false,
         nullptr,
         "us-west-2",
         "",
         "",
         "",
         "https://bucket.s3.us-west-2.amazonaws.com/a%20b/c%2Bd"},
        {"endpoints",
         {{"AWS_ENDPOINT_URL", "http://one:9000"}, {"AWS_ENDPOINT_URL_S3", "http://two:9000/"}},
         false,
         nullptr,
         "us-east-1",
         "",
         "",
         "",
         "http://two:9000/bucket/a%20b/c%2Bd"},
        {"endpoint",
         {{"AWS_ENDPOINT_URL", "http://one:9000"}},
         false,
         nullptr,
         "us-east-1",
         "",
         "",
         "",
         "http://one:9000/bucket/a%20b/c%2Bd"},
        {"profile",
         {{"AWS_PROFILE", "work"}},
         true,
         nullptr,
         "ap-south-1",
         "WORKKEY",
         "worksecret",
         "worktoken",
         "https://bucket.s3.ap-south-1.amazonaws.com/a%20b/c%2Bd"},
        {"keys from the environment",
         {{"AWS_ACCESS_KEY_ID", "ENVKEY"},
          {"AWS_SECRET_ACCESS_KEY", "envsecret"},
          {"AWS_SESSION_TOKEN", "envtoken"},
          {"AWS_PROFILE", "work"}},
         true,
         nullptr,
         "ap-south-1",
         "ENVKEY",
         "envsecret",
         "envtoken",
         "https://bucket.s3.ap-south-1.amazonaws.com/a%20b/c%2Bd"},
        {"files elsewhere",
         {{"AWS_SHARED_CREDENTIALS_FILE", "/nonexistent"}, {"AWS_CONFIG_FILE", "/nonexistent"}},
         true,
         nullptr,
         "us-east-1",
         "",
         "",
         "",
         "https://bucket.s3.us-east-1.amazonaws.com/a%20b/c%2Bd"},
        {"options first",
         {{"AWS_ACCESS_KEY_ID", "ENVKEY"},
          {"AWS_REGION", "eu-west-1"},
          {"AWS_ENDPOINT_URL", "http://one:9000"}},
         true,
         +[](provider::S3Options& o) {
             o.endpoint = "https://own.example";
             o.region = "r1";
             o.accessKeyId = "OPTKEY";
             o.secretAccessKey = "optsecret";
             o.pathStyle = false;
         },
         "r1",
         "OPTKEY",
         "optsecret",
         "",
         "https://bucket.own.example/a%20b/c%2Bd"},
        {"a profile of the options",
         {},
         true,
         +[](provider::S3Options& o) { o.profile = "work"; },
         "ap-south-1",
         "WORKKEY",
         "worksecret",
         "worktoken",
         "https://bucket.s3.ap-south-1.amazonaws.com/a%20b/c%2Bd"},
        {"path style on AWS",
         {},
         false,
         +[](provider::S3Options& o) { o.pathStyle = true; },
         "us-east-1",
         "",
         "",
         "",
         "https://s3.us-east-1.amazonaws.com/bucket/a%20b/c%2Bd"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const ScopedEnvironment environment(c.environment);
        if (c.sharedFiles) {
            const std::filesystem::path aws = environment.home().path() / ".aws";
            std::filesystem::create_directories(aws);
            std::ofstream(aws / "credentials") << files;
            std::ofstream(aws / "config") << config;
        }
        provider::S3Options given;
        if (c.options)
            c.options(given);
        const provider::S3Provider s3(given);
        const provider::S3Options& resolved = s3.options();
        EXPECT_EQ(resolved.region, c.region);
        EXPECT_EQ(resolved.accessKeyId, c.key);
        EXPECT_EQ(resolved.secretAccessKey, c.secret);
        EXPECT_EQ(resolved.sessionToken, c.token);
        const auto request = s3::requestFor(resolved, {"bucket", "a b/c+d"}, "GET");
        EXPECT_EQ(request.url, c.url);
        EXPECT_EQ(request.credentials.awsSigV4,
                  c.key.empty() ? "" : "aws:amz:" + c.region + ":s3"); // unsigned without a key
    }
}

// Keys and query values are escaped as the signature wants them: all but A-Z a-z 0-9 - _ . ~
// (and "/" in a key), "%20" for a space; the query sorted by name.
TEST(S3Settings, EscapingAndQueries) {
    const struct {
        std::string text;
        std::string key, value;
    } cases[] = {
        {"plain-_.~09AZaz", "plain-_.~09AZaz", "plain-_.~09AZaz"},
        {"a b+c", "a%20b%2Bc", "a%20b%2Bc"},
        {"d/e//f", "d/e//f", "d%2Fe%2F%2Ff"},
        {"%#?&=;:@!$'()*,", "%25%23%3F%26%3D%3B%3A%40%21%24%27%28%29%2A%2C",
         "%25%23%3F%26%3D%3B%3A%40%21%24%27%28%29%2A%2C"},
        {"\u00fc\u20ac", "%C3%BC%E2%82%AC", "%C3%BC%E2%82%AC"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(s3::escaped(c.text, true), c.key) << c.text;
        EXPECT_EQ(s3::escaped(c.text, false), c.value) << c.text;
    }
    EXPECT_EQ(s3::queryText({{"prefix", "a b/"},
                             {"list-type", "2"},
                             {"delimiter", "/"},
                             {"continuation-token", "1+x/=="},
                             {"uploads", ""}}),
              "?continuation-token=1%2Bx%2F%3D%3D&delimiter=%2F&list-type=2&prefix=a%20b%2F"
              "&uploads=");
}

// Requests of every kind, signed by the provider (through curl) and caught by a loopback
// server, against the Authorization botocore computes for the same request, time and
// credentials: paths with escapes, listings with prefix, delimiter and continuation token,
// bodies, a session token.
TEST(S3Signatures, MatchBotocore) {
    const std::string truncated =
        "<ListBucketResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\"><Contents>"
        "<Key>p q/k</Key><Size>1</Size></Contents><IsTruncated>true</IsTruncated>"
        "<NextContinuationToken>1/2+3 ==</NextContinuationToken></ListBucketResult>";
    const std::string last =
        "<ListBucketResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\"><Contents>"
        "<Key>p q/l</Key><Size>1</Size></Contents><IsTruncated>false</IsTruncated>"
        "</ListBucketResult>";
    const auto xml = [](const std::string& body) {
        return ScriptedServer::answer(200, "Content-Type: application/xml\r\n", body);
    };
    for (const bool withToken : {false, true}) {
        SCOPED_TRACE(withToken ? "session token" : "key and secret");
        const ScriptedServer scripted({xml(truncated), xml(last), xml(truncated), xml(last)});
        provider::S3Options options;
        options.endpoint = scripted.url("");
        options.region = "eu-west-3";
        options.accessKeyId = "AKIDEXAMPLE";
        options.secretAccessKey = "wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY";
        options.sessionToken = withToken ? "token/with+signs=" : "";
        options.fromEnvironment = false;
        options.maxKeys = 7;
        const provider::S3Provider s3(options);
        // Two pages each: a listing by folder and a tree.
        const vfs::AbsoluteIRI folder(u("s3://bucket/p%20q/"));
        for (const bool tree : {false, true}) {
            const auto cursor = tree ? s3.listTree(folder) : s3.listPages(folder, u("*"));
            while (!cursor->next().empty()) {
            }
        }
        for (const char* key : {"s3://bucket/a%20b+c%25%23%3F\u00fc~.txt", "s3://bucket/x//y",
                                "s3://bucket/(paren)'!*,;=&@$:"})
            s3.look(vfs::AbsoluteIRI(u(key)), provider::Facts::All);
        const auto stream = s3.openForWriting(vfs::AbsoluteIRI(u("s3://bucket/new%20file.txt")),
                                              vfs::WriteMode::replace, std::nullopt);
        stream->write(std::string_view("a body"));
        stream->commit();

        std::vector<std::string> arguments{"-c", R"(
import json, sys
from botocore.auth import S3SigV4Auth
from botocore.awsrequest import AWSRequest
from botocore.credentials import Credentials
for argument in sys.argv[1:]:
    r = json.loads(argument)
    signed = r["authorization"].split("SignedHeaders=")[1].split(",")[0].split(";")
    # What curl signed, as it reached the server: a header signed and not sent is missing.
    headers = {k: v for k, v in r["headers"].items() if k in signed and k != "x-amz-date"}
    request = AWSRequest(method=r["method"], url=r["url"], headers=headers,
                         data=bytes.fromhex(r["body"]))
    auth = S3SigV4Auth(Credentials(r["key"], r["secret"], r["token"] or None), "s3", r["region"])
    request.context["timestamp"] = r["headers"]["x-amz-date"]
    auth._modify_request_before_signing(request)
    canonical = auth.canonical_request(request)
    auth._inject_signature_to_request(
        request, auth.signature(auth.string_to_sign(request, canonical), request))
    print(request.headers["Authorization"])
)"};
        std::vector<std::string> authorizations, methods;
        const auto quoted = [](std::string_view text) {
            std::string out = "\"";
            for (const char c : text) {
                if (c == '"' || c == '\\')
                    out += '\\';
                out += c;
            }
            return out + '"';
        };
        for (const std::string& text : scripted.requestTexts()) {
            const auto headEnd = text.find("\r\n\r\n");
            std::string head = text.substr(0, headEnd);
            const std::string requestLine = head.substr(0, head.find("\r\n"));
            const auto space = requestLine.find(' ');
            const std::string method = requestLine.substr(0, space);
            const std::string target =
                requestLine.substr(space + 1, requestLine.rfind(' ') - space - 1);
            std::string headers, authorization;
            for (std::size_t at = head.find("\r\n"); at != std::string::npos;) {
                const auto next = head.find("\r\n", at + 2);
                const std::string line = head.substr(at + 2, next - at - 2);
                at = next;
                const auto colon = line.find(':');
                std::string name = line.substr(0, colon);
                std::transform(name.begin(), name.end(), name.begin(), ::tolower);
                const std::string value = line.substr(line.find_first_not_of(' ', colon + 1));
                if (name == "authorization")
                    authorization = value;
                headers += (headers.empty() ? "" : ",") + quoted(name) + ":" + quoted(value);
            }
            std::string body;
            for (const char c : text.substr(headEnd + 4)) {
                static constexpr char hex[] = "0123456789abcdef";
                body += hex[static_cast<unsigned char>(c) >> 4];
                body += hex[c & 15];
            }
            methods.push_back(method + ' ' + target);
            authorizations.push_back(authorization);
            arguments.push_back(
                "{\"method\":" + quoted(method) + ",\"url\":" + quoted(scripted.url(target)) +
                ",\"headers\":{" + headers + "},\"authorization\":" + quoted(authorization) +
                ",\"body\":\"" + body +
                "\",\"key\":\"AKIDEXAMPLE\",\"secret\":" + quoted(options.secretAccessKey) +
                ",\"token\":" + quoted(options.sessionToken) + ",\"region\":\"eu-west-3\"}");
        }
        const auto botocore = vexa::testing::runProgram("/usr/bin/python3", arguments);
        ASSERT_EQ(botocore.exitCode, 0) << botocore.err;
        std::vector<std::string> expected;
        std::istringstream lines(botocore.out);
        for (std::string line; std::getline(lines, line);)
            expected.push_back(line);
        ASSERT_EQ(expected.size(), authorizations.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(authorizations[i], expected[i]) << methods[i];
        // What was asked, in order: the pages, the looks, the write.
        EXPECT_THAT(methods, ::testing::ElementsAre(
                                 "GET /bucket?delimiter=%2F&list-type=2&max-keys=7&prefix=p%20q%2F",
                                 "GET /bucket?continuation-token=1%2F2%2B3%20%3D%3D&delimiter=%2F&"
                                 "list-type=2&max-keys=7&prefix=p%20q%2F",
                                 "GET /bucket?list-type=2&max-keys=7&prefix=p%20q%2F",
                                 "GET /bucket?continuation-token=1%2F2%2B3%20%3D%3D&list-type=2&"
                                 "max-keys=7&prefix=p%20q%2F",
                                 "HEAD /bucket/a%20b%2Bc%25%23%3F%C3%BC~.txt", "HEAD /bucket/x//y",
                                 "HEAD /bucket/%28paren%29%27%21%2A%2C%3B%3D%26%40%24%3A",
                                 "PUT /bucket/new%20file.txt"));
        // A put waits for no "100 Continue", a round trip per object.
        EXPECT_THAT(scripted.requestTexts().back(),
                    ::testing::Not(::testing::HasSubstr("\r\nExpect:")));
    }
}

} // namespace
