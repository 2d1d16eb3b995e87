// The s3 provider against a real S3 server (s3rver, tests/support/S3Server.hpp): keys,
// folders as prefixes, listing pages, changes, multipart writes, retries; its settings from
// the environment and shared files; and its signatures, compared with botocore's.

#include <foundation/storage/provider/S3Provider.hpp>
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
#include <set>
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

    // A storage system whose s3 provider lists `maxKeys` keys a page.
    static vfs::StorageSystemReference storage(int maxKeys = 1000) {
        auto options = server->options();
        options.maxKeys = maxKeys;
        options.http.retryDelay = std::chrono::milliseconds(5);
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
        const auto cursor = s3Of(system).listTree(at(prefix));
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
        {at("exist/file.txt"), 0, 0},     {at("exist/file.txt/"), -1, 2}, // no prefix "file.txt/"
        {at("exist/fil"), -1, 2},   // a prefix of a key, not of a folder
        {at("exist/empty/"), 2, 1}, // the marker
        {at("exist/empty"), 2, 1},        {at("exist/implied/"), 2, 1}, // no marker, keys below
        {at("exist/implied/deep"), 2, 1}, {at("exist/both"), 0, 0},
        {at("exist/both/"), 2, 1},        {at("exist/missing"), -1, 2},
        {at("exist/missing/"), -1, 2},    {at(""), 2, 1}, // the bucket's root
        {at("", "no-bucket"), -1, 2},     {at("x", "no-bucket"), -1, 2},
        {at("x/", "no-bucket"), -1, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8(c.location.toString()));
        EXPECT_EQ(outcome([&] { return vfs::existsExtended(c.location, system); }), c.extended);
        EXPECT_EQ(outcome([&] { return vfs::exists(c.location, system); }), c.plain);
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

// A folder of 2,500 keys and three subfolders, three keys a page... of 1,000: each page is
// one request; the subfolders come once each, however often the server repeats them; a
// tree asks without the delimiter, so its requests follow the keys, not the folders.
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
        {"folders with markers",
         [&] { folder("changes/a/b/c/").createFolderRecursive(); },
         100,
         {{"changes/a/", 1}, {"changes/a/b/", 1}, {"changes/a/b/c/", 1}}},
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
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        EXPECT_EQ(failure(step.change), step.code);
        for (const auto& [key, expected] : step.then)
            EXPECT_EQ(kind(key), expected) << key;
    }
    EXPECT_EQ(body(system, "changes/moved.txt"), "kept");
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

// 503 SlowDown (and the other statuses that may pass) are tried again, up to `attempts`;
// the last failure is the caller's, with the server's code and message.
TEST_F(S3Provider, RetriesOfSlowDown) {
    const auto slowDown = ScriptedServer::answer(
        503, "Content-Type: application/xml\r\n",
        "<Error><Code>SlowDown</Code><Message>Please reduce your request rate.</Message></Error>");
    const auto listing = ScriptedServer::answer(
        200, "Content-Type: application/xml\r\n",
        "<ListBucketResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\"><Contents>"
        "<Key>d/x</Key><Size>1</Size></Contents><IsTruncated>false</IsTruncated>"
        "</ListBucketResult>");
    const struct {
        int slowDowns; // 3: every answer
        int result;    // exists; negative: the code thrown
        std::size_t requests;
    } cases[] = {{0, 1, 1}, {1, 1, 2}, {2, 1, 3}, {3, -9, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.slowDowns);
        std::vector<ScriptedServer::Answer> script(c.slowDowns, slowDown);
        if (c.slowDowns < 3)
            script.push_back(listing);
        const ScriptedServer scripted(script);
        provider::S3Options options = server->options();
        options.endpoint = scripted.url("");
        options.http.retryDelay = std::chrono::milliseconds(5);
        auto system = std::make_shared<vfs::StorageSystem>();
        system->addProvider(std::make_shared<provider::S3Provider>(options));
        const vfs::StorageSystemReference reference(system);
        EXPECT_EQ(outcome([&] { return vfs::exists(at("d/"), reference); }), c.result);
        EXPECT_EQ(scripted.requests().size(), c.requests);
        if (c.result < 0) {
            EXPECT_THAT(
                contextOf([&] { vfs::exists(at("d/"), reference); })->reason(),
                ::testing::HasSubstr("HTTP 503 SlowDown: Please reduce your request rate."));
        }
    }
}

} // namespace
