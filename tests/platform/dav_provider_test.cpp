// The dav(s) provider against real shares (tests/support/DavServer.hpp): every table runs
// against nginx and rclone, whose answers differ; a scripted server adds answers in the
// forms other shares write.

#include "foundation/storage/provider/dav/DavProvider.hpp"
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/File.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/IODevice.hpp>
#include <foundation/storage/vfs/WriteStream.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "DavServer.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace pt = boost::posix_time;
namespace vfs = foundation::storage::vfs;
namespace provider = foundation::storage::provider;
using provider::ItemType;
using vexa::testing::contextOf;
using vexa::testing::DavServer;
using vexa::testing::failure;
using vexa::testing::HttpServer;
using vexa::testing::outcome;
using vexa::testing::u;
using vexa::testing::utf8;

const pt::ptime fileTime = pt::from_time_t(DavServer::fileTime);

class DavProvider : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        nginx = std::make_unique<DavServer>(DavServer::Kind::Nginx);
        rclone = std::make_unique<DavServer>(DavServer::Kind::Rclone);
    }
    static void TearDownTestSuite() {
        nginx.reset();
        rclone.reset();
    }
    static std::vector<const DavServer*> servers() { return {nginx.get(), rclone.get()}; }

    static std::shared_ptr<const provider::DavProvider> davProvider(const DavServer& server) {
        provider::HttpOptions options;
        options.retryDelay = std::chrono::milliseconds(5);
        if (server.kind() == DavServer::Kind::Nginx)
            options.caFile = server.caFile();
        return std::make_shared<provider::DavProvider>(options);
    }
    static vfs::StorageSystemReference storage(const DavServer& server) {
        auto system = std::make_shared<vfs::StorageSystem>();
        system->addProvider(davProvider(server));
        return vfs::StorageSystemReference(system);
    }
    // A path on the share, or a whole IRI.
    static vfs::AbsoluteIRI at(const DavServer& server, const std::string& pathOrIri) {
        return vfs::AbsoluteIRI(u(pathOrIri.starts_with("/") ? server.url(pathOrIri) : pathOrIri));
    }

    static std::string body(const vfs::File& source) {
        std::string bytes;
        vfs::IODevice device(source);
        char chunk[1000];
        while (const std::size_t n = device.read(chunk))
            bytes.append(chunk, n);
        return bytes;
    }

    // Bytes as a failure shows them: a long content by its size and hash.
    static std::string summary(const std::string& bytes) {
        if (bytes.size() <= 64)
            return bytes;
        return std::to_string(bytes.size()) + " bytes, hash " +
               std::to_string(std::hash<std::string>()(bytes));
    }

    // What a folder holds, read through the share: names (a folder's with "/" after it, and
    // what it holds after that) and bytes.
    static std::map<std::string, std::string> contentOf(const vfs::Folder& folder,
                                                        const std::string& prefix) {
        std::map<std::string, std::string> content;
        const vfs::CanonicalAbsoluteIRI location(folder.getLocation());
        for (const auto& entry : folder.listEntries(u"")) {
            const vfs::CanonicalAbsoluteIRI item(location, entry.name);
            const std::string name = prefix + utf8(entry.name);
            if (entry.type == ItemType::Folder) {
                content[name + "/"] = "";
                content.merge(contentOf(vfs::Folder(item, folder.getStorage()), name + "/"));
            } else {
                content[name] = summary(body(vfs::File(item, folder.getStorage())));
            }
        }
        return content;
    }

    static inline std::unique_ptr<DavServer> nginx, rclone;
};

// Each kind of item as exists and existsExtended give it, with its size and time; the
// share's answer decides the kind, never the trailing "/".
TEST_F(DavProvider, Looks) {
    enum Only { Both, NginxOnly };
    const struct {
        std::string location;
        int extended, plain; // negative: the code thrown
        std::uint64_t size;
        Only only = Both;
        std::string netrc = {}; // login and password for the host in ~/.netrc
    } cases[] = {
        {"/files/notes.txt", 0, 0, 6},
        {"/files/notes.txt/", 0, 0, 6},
        {"/files/", 2, 1, 0},
        {"/files", 2, 1, 0},
        {"/files/sub/deeper/", 2, 1, 0},
        {"/empty", 2, 1, 0},
        {"/", 2, 1, 0},
        {"/files/a%20b.txt", 0, 0, 7},
        {"/files/100%25.txt", 0, 0, 8},
        {"/files/c%23d.txt", 0, 0, 7},
        {"/files/x&y.txt", 0, 0, 7},
        {"/files/%3Cb%3E.txt", 0, 0, 7},
        {"/files/\u00fcber.txt", 0, 0, 9},
        {"/files/big.bin", 0, 0, HttpServer::bigContent().size()},
        {"/files/missing.txt", -1, 2, 0},
        {"/missing/", -1, 2, 0},
        {"/files/notes.txt/x", -1, 2, 0},
        {"/nodav/x.txt", -11, -11, 0, NginxOnly},
        {"/private/s.txt", -2, -2, 0, NginxOnly},
        {"me:s3cret@", 0, 0, 7, NginxOnly},
        {"me:wrong@", -2, -2, 0, NginxOnly},
        {"davs", 0, 0, 6, NginxOnly},
        // Without user info, who asks comes from ~/.netrc.
        {"/private/s.txt", 0, 0, 7, NginxOnly, "me s3cret"},
        {"/private/s.txt", -2, -2, 0, NginxOnly, "me wrong"},
    };
    const vexa::testing::TempDir home;
    const std::string ownHome = std::getenv("HOME") ? std::getenv("HOME") : "";
    for (const DavServer* server : servers()) {
        const auto system = storage(*server);
        for (const auto& c : cases) {
            if (c.only == NginxOnly && server->kind() != DavServer::Kind::Nginx)
                continue;
            SCOPED_TRACE(std::string(server->name()) + " " + c.location);
            const vfs::AbsoluteIRI location =
                c.location == "davs" ? at(*server, server->secureUrl("/files/notes.txt"))
                : c.location.ends_with("@")
                    ? at(*server, server->urlAs(c.location.substr(3, c.location.size() - 4),
                                                "/private/s.txt"))
                    : at(*server, c.location);
            if (!c.netrc.empty()) {
                const auto space = c.netrc.find(' ');
                std::ofstream(home / ".netrc")
                    << "machine 127.0.0.1 login " << c.netrc.substr(0, space) << " password "
                    << c.netrc.substr(space + 1) << "\n";
            }
            ::setenv("HOME", c.netrc.empty() ? ownHome.c_str() : home.path().c_str(), 1);
            EXPECT_EQ(outcome([&] { return vfs::existsExtended(location, system); }), c.extended);
            EXPECT_EQ(outcome([&] { return vfs::exists(location, system); }), c.plain);
            if (c.extended == 0) {
                const auto attributes = vfs::File(location, system).getAttributes();
                EXPECT_EQ(attributes.getSize(), c.size);
                EXPECT_EQ(attributes.getLastModified(), fileTime);
                EXPECT_TRUE(attributes.isWritable());
            } else if (c.extended == 2 && c.location != "/") { // rclone: the root is new
                EXPECT_EQ(vfs::Folder(location, system).getAttributes().getLastModified(),
                          fileTime);
            }
            ::setenv("HOME", ownHome.c_str(), 1);
        }
    }
}

// "http.contentType" and "http.etag": from the properties where the share sends them
// (rclone), else from the file's headers (nginx); the listing gives the same tag.
TEST_F(DavProvider, ExtendedAttributes) {
    const struct {
        std::string location;
        std::string nginxType, rcloneType;
    } cases[] = {
        {"/files/notes.txt", "text/plain", "text/plain; charset=utf-8"},
        {"/files/report.csv", "text/csv", "text/csv; charset=utf-8"},
        {"/files/big.bin", "application/octet-stream", "application/octet-stream"},
    };
    for (const DavServer* server : servers()) {
        const auto system = storage(*server);
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(server->name()) + " " + c.location);
            const vfs::File file(at(*server, c.location), system);
            const auto attributes = file.getExtendedAttributes().all();
            EXPECT_EQ(attributes.at("http.contentType"),
                      server->kind() == DavServer::Kind::Nginx ? c.nginxType : c.rcloneType);
            EXPECT_THAT(attributes.at("http.etag"), ::testing::MatchesRegex("(W/)?\".+\""));
            const auto entries =
                vfs::Folder(vfs::AbsoluteIRI(file.getLocation().getParent()), system)
                    .listEntries(file.getLocation().getName());
            ASSERT_EQ(entries.size(), 1u);
            if (!entries[0].tag.empty()) {
                EXPECT_EQ(entries[0].tag, attributes.at("http.etag"));
            }
        }
    }
}

// Listings: every entry with its kind, size and time from the one answer, names decoded,
// the folder's own entry left out.
TEST_F(DavProvider, Listings) {
    using Names = std::vector<std::string>;
    const Names files = {"100%.txt",  "<b>.txt",    "a b.txt", "big.bin", "c#d.txt",
                         "notes.txt", "report.csv", "sub",     "x&y.txt", "\u00fcber.txt"};
    const struct {
        std::string location, filter;
        Names names; // empty with a code: the failure
        int code = 0;
    } cases[] = {
        {"/files/", "", files},
        {"/files", "", files},
        {"/files/", "*.csv", {"report.csv"}},
        {"/files/sub/", "", {"deeper", "inner.txt"}},
        {"/empty/", "", {}},
        {"/files/notes.txt", "", {}, -4},
        {"/missing/", "", {}, -1},
        {"/files/missing/", "", {}, -1},
    };
    for (const DavServer* server : servers()) {
        const auto system = storage(*server);
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(server->name()) + " " + c.location);
            const vfs::Folder folder(at(*server, c.location), system);
            if (c.code) {
                EXPECT_EQ(failure([&] { folder.listAll(u(c.filter)); }), c.code);
                continue;
            }
            EXPECT_EQ(utf8(folder.listAll(u(c.filter))), c.names);
        }
        SCOPED_TRACE(server->name());
        for (const auto& entry : vfs::Folder(at(*server, "/files/"), system).listEntries(u""))
            if (entry.name == u"sub") {
                EXPECT_EQ(entry.type, ItemType::Folder);
                EXPECT_FALSE(entry.size);
            } else {
                EXPECT_EQ(entry.type, ItemType::File);
                const std::map<fl::ustring, std::size_t> sizes = {
                    {u"big.bin", HttpServer::bigContent().size()},
                    {u"notes.txt", 6},
                    {u"report.csv", 8}};
                EXPECT_EQ(entry.size, sizes.contains(entry.name) ? sizes.at(entry.name)
                                                                 : utf8(entry.name).size());
                EXPECT_EQ(entry.lastModified, fileTime);
            }
        const auto many = vfs::Folder(at(*server, "/many/"), system).listAll(u"");
        ASSERT_EQ(many.size(), std::size_t{DavServer::manyEntries});
        EXPECT_EQ(many.front(), u"e0000");
        EXPECT_EQ(many.back(), u"e2999");
    }
    EXPECT_EQ(failure([&] { vfs::Folder(at(*nginx, "/nodav/"), storage(*nginx)).listAll(u""); }),
              -11);
}

// Answers as other shares write them: the DAV: namespace under any prefix or as the
// default, properties in any order, hrefs as full URLs, escapes in either case, "&" only
// XML-escaped, the own entry written otherwise than asked; answers that are no
// multistatus; and a file's body sent slowly.
TEST_F(DavProvider, MultistatusForms) {
    using vexa::testing::ScriptedServer;
    const auto multistatus = [](std::string responses) {
        return ScriptedServer::answer(207, "Content-Type: application/xml\r\n",
                                      "<?xml version=\"1.0\"?>" + responses);
    };
    // Over two seconds at about 1,300 bytes a second: beyond the table's deadline of a
    // request, above its floor on a body's speed.
    const std::string slowBody(2500, 'b');
    const ScriptedServer::Answer slow{.bytes = ScriptedServer::answer(200, "", slowBody).bytes,
                                      .bytesPerSecond = 1000};
    const struct {
        std::string what;
        ScriptedServer::Answer answer;
        std::vector<std::string> names; // with "/" after a folder's; empty: the failure
        int code = 0;
        bool read = false; // the file "/dir/f" read: `names` holds its body
    } cases[] = {
        {"other prefix, full URLs, lower-case escapes",
         multistatus(
             R"(<x:multistatus xmlns:x="DAV:"><x:response><x:href>http://127.0.0.1/d%69r/</x:href>)"
             R"(<x:propstat><x:prop><x:resourcetype><x:collection/></x:resourcetype></x:prop>)"
             R"(<x:status>HTTP/1.1 200 OK</x:status></x:propstat></x:response>)"
             R"(<x:response><x:href>http://127.0.0.1/dir/%c3%bc%20x&amp;y.txt</x:href>)"
             R"(<x:propstat><x:prop><x:getcontentlength>3</x:getcontentlength>)"
             R"(<x:resourcetype/></x:prop><x:status>HTTP/1.1 200 OK</x:status></x:propstat>)"
             R"(</x:response></x:multistatus>)"),
         {"\u00fc x&y.txt"}},
        {"default namespace, properties before the href, a 404 propstat",
         multistatus(
             R"(<multistatus xmlns="DAV:"><response><propstat><prop><resourcetype>)"
             R"(<collection/></resourcetype></prop><status>HTTP/1.1 200 OK</status></propstat>)"
             R"(<href>/dir/sub/</href><propstat><prop><getetag/></prop>)"
             R"(<status>HTTP/1.1 404 Not Found</status></propstat></response>)"
             R"(<response><href>/dir</href></response>)"
             R"(<response><href>/dir/%2525.txt</href><propstat><prop><resourcetype/></prop>)"
             R"(<status>HTTP/1.1 200 OK</status></propstat></response></multistatus>)"),
         {"%25.txt", "sub/"}},
        {"a collection in another namespace is no folder",
         multistatus(
             R"(<D:multistatus xmlns:D="DAV:" xmlns:o="urn:other"><D:response><D:href>/dir/a</D:href>)"
             R"(<D:propstat><D:prop><D:resourcetype><o:collection/></D:resourcetype></D:prop>)"
             R"(<D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response></D:multistatus>)"),
         {"a"}},
        {"not XML", multistatus("<D:multistatus xmlns:D=\"DAV:\"><D:response>"), {}, -9},
        {"no multistatus", ScriptedServer::answer(200, "", "<html></html>"), {}, -9},
        {"no PROPFIND", ScriptedServer::answer(501), {}, -11},
        // A body is bounded by its pace, never by the deadline of a request that moves none.
        {"a body slower than a request's deadline", slow, {slowBody}, 0, true},
    };
    provider::HttpOptions options;
    options.requestTimeout = std::chrono::seconds(1);
    auto system = std::make_shared<vfs::StorageSystem>();
    system->addProvider(std::make_shared<provider::DavProvider>(options));
    const vfs::StorageSystemReference bounded(system);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const ScriptedServer server({c.answer});
        const std::string url = server.url("/dir/");
        const vfs::Folder folder(vfs::AbsoluteIRI(u("dav" + url.substr(4))), bounded);
        if (c.read) {
            const vfs::File file(vfs::AbsoluteIRI(u("dav" + url.substr(4) + "f")), bounded);
            EXPECT_EQ(outcome([&] { return body(file) == c.names.at(0) ? 100 : 0; }), 100);
            continue;
        }
        if (c.code) {
            EXPECT_EQ(failure([&] { folder.listEntries(u""); }), c.code);
            continue;
        }
        std::vector<std::string> names;
        for (const auto& entry : folder.listEntries(u""))
            names.push_back(utf8(entry.name) + (entry.type == ItemType::Folder ? "/" : ""));
        EXPECT_EQ(names, c.names);
    }
}

// Changes, each row in a folder of its own made for it: what the call gives, and what the
// folder then holds (read through the share: rclone caches its listings).
TEST_F(DavProvider, Changes) {
    using Content = std::map<std::string, std::string>; // name (folders end in "/") -> bytes
    struct Row {
        std::string what;
        Content before;
        std::function<void(const std::function<vfs::AbsoluteIRI(const std::string&)>&,
                           const vfs::StorageSystemReference&)>
            change;
        int expected; // 100: done; else minus the code
        Content after;
        // nginx: its log's line of the last PUT, "PUT LENGTH - -" or "PUT - chunked -" (the
        // last field: an Expect header, which no PUT without a password waits for).
        std::string lastPut = {};
        std::string reason = {}; // part of the failure's reason
    };
    using At = std::function<vfs::AbsoluteIRI(const std::string&)>;
    using System = vfs::StorageSystemReference;
    const auto file = [](const At& at, const System& s, const std::string& name) {
        return vfs::File(at(name), s);
    };
    const auto folder = [](const At& at, const System& s, const std::string& name) {
        return vfs::Folder(at(name), s);
    };
    const auto write = [](const vfs::File& target, vfs::WriteMode mode, const std::string& bytes,
                          bool close = true, std::optional<std::uint64_t> size = std::nullopt) {
        vfs::WriteStream stream = target.openForWriting(mode, size);
        stream.write(bytes.data(), bytes.size());
        if (close)
            stream.close();
    };
    const Content one = {{"a.txt", "old"}};
    const Content tree = {{"d/", ""}, {"d/in.txt", "in"}};
    const std::vector<Row> rows = {
        {"createFile",
         {},
         [&](auto& at, auto& s) { file(at, s, "n.txt").createFile(); },
         100,
         {{"n.txt", ""}}},
        {"createFile over a file", one,
         [&](auto& at, auto& s) { file(at, s, "a.txt").createFile(); }, -3, one},
        {"createFile over a folder", tree,
         [&](auto& at, auto& s) { file(at, s, "d").createFile(); }, -3, tree},
        {"createFile under a missing folder",
         {},
         [&](auto& at, auto& s) { file(at, s, "no/n.txt").createFile(); },
         -1,
         {}},
        {"createFolder",
         {},
         [&](auto& at, auto& s) { folder(at, s, "n/").createFolderRecursive(); },
         100,
         {{"n/", ""}}},
        {"createFolder of two levels",
         {},
         [&](auto& at, auto& s) { folder(at, s, "n/m").createFolderRecursive(); },
         100,
         {{"n/", ""}, {"n/m/", ""}}},
        {"createFolder over a folder", tree,
         [&](auto& at, auto& s) { s->findProvider("dav")->createFolder(at("d")); }, -3, tree},
        {"createFolder under a missing folder",
         {},
         [&](auto& at, auto& s) { s->findProvider("dav")->createFolder(at("no/n")); },
         -1,
         {}},
        {"createFolder over a file", one,
         [&](auto& at, auto& s) { folder(at, s, "a.txt/").createFolderRecursive(); }, -3, one},
        {"removeFile", one, [&](auto& at, auto& s) { file(at, s, "a.txt").removeFile(); }, 100, {}},
        {"removeFile of nothing",
         {},
         [&](auto& at, auto& s) { file(at, s, "a.txt").removeFile(); },
         -1,
         {}},
        {"removeFile of a folder", tree, [&](auto& at, auto& s) { file(at, s, "d").removeFile(); },
         -10, tree},
        {"removeFolder, empty",
         {{"d/", ""}},
         [&](auto& at, auto& s) { folder(at, s, "d").removeFolder(); },
         100,
         {}},
        {"removeFolder, not empty", tree,
         [&](auto& at, auto& s) { folder(at, s, "d/").removeFolder(); }, 0, tree},
        {"removeFolder of a file", one,
         [&](auto& at, auto& s) { folder(at, s, "a.txt").removeFolder(); }, -4, one},
        {"rename",
         one,
         [&](auto& at, auto& s) { file(at, s, "a.txt").rename(at("b%20c.txt")); },
         100,
         {{"b c.txt", "old"}}},
        {"rename a folder",
         tree,
         [&](auto& at, auto& s) { file(at, s, "d").rename(at("e")); },
         100,
         {{"e/", ""}, {"e/in.txt", "in"}}},
        {"rename onto a file",
         {{"a.txt", "old"}, {"b.txt", "b"}},
         [&](auto& at, auto& s) { file(at, s, "a.txt").rename(at("b.txt")); },
         -3,
         {{"a.txt", "old"}, {"b.txt", "b"}}},
        {"rename onto a folder",
         {{"a.txt", "old"}, {"d/", ""}},
         [&](auto& at, auto& s) { file(at, s, "a.txt").rename(at("d")); },
         -3,
         {{"a.txt", "old"}, {"d/", ""}}},
        {"rename of nothing",
         {},
         [&](auto& at, auto& s) { file(at, s, "a.txt").rename(at("b.txt")); },
         -1,
         {}},
        {"write, create",
         {},
         [&](auto& at, auto& s) { write(file(at, s, "n.txt"), vfs::WriteMode::create, "new"); },
         100,
         {{"n.txt", "new"}}},
        {"write, create over a file", one,
         [&](auto& at, auto& s) { write(file(at, s, "a.txt"), vfs::WriteMode::create, "new"); }, -3,
         one},
        {"write, replace",
         one,
         [&](auto& at, auto& s) { write(file(at, s, "a.txt"), vfs::WriteMode::replace, "new"); },
         100,
         {{"a.txt", "new"}},
         "PUT - chunked -"},
        // A stream given its size sends it ahead, and holds to it.
        {"write, sized",
         one,
         [&](auto& at, auto& s) {
             write(file(at, s, "a.txt"), vfs::WriteMode::replace, "new", true, 3);
         },
         100,
         {{"a.txt", "new"}},
         "PUT 3 - -"},
        {"write, sized, empty",
         one,
         [&](auto& at, auto& s) {
             write(file(at, s, "a.txt"), vfs::WriteMode::replace, "", true, 0);
         },
         100,
         {{"a.txt", ""}},
         "PUT 0 - -"},
        {"write, sized, big",
         one,
         [&](auto& at, auto& s) {
             const std::string& big = HttpServer::bigContent();
             write(file(at, s, "a.txt"), vfs::WriteMode::replace, big, true, big.size());
         },
         100,
         {{"a.txt", summary(HttpServer::bigContent())}},
         "PUT " + std::to_string(HttpServer::bigContent().size()) + " - -"},
        {"write, sized, short",
         one,
         [&](auto& at, auto& s) {
             write(file(at, s, "a.txt"), vfs::WriteMode::replace, "new", true, 4);
         },
         -9,
         one,
         {},
         "fewer than the 4 bytes declared: 3 written"},
        {"write, sized, short, created",
         {},
         [&](auto& at, auto& s) {
             write(file(at, s, "n.txt"), vfs::WriteMode::create, std::string(100000, 'x'), true,
                   200000);
         },
         -9,
         {},
         {},
         "fewer than the 200000 bytes declared: 100000 written"},
        {"write, sized, long: the write fails",
         one,
         [&](auto& at, auto& s) {
             write(file(at, s, "a.txt"), vfs::WriteMode::replace, "new", false, 2);
         },
         -9,
         one,
         {},
         "more than the 2 bytes declared: 3 written"},
        {"write, replace, big",
         one,
         [&](auto& at, auto& s) {
             write(file(at, s, "a.txt"), vfs::WriteMode::replace, HttpServer::bigContent());
         },
         100,
         {{"a.txt", summary(HttpServer::bigContent())}}},
        {"write, name to escape",
         {},
         [&](auto& at, auto& s) {
             write(file(at, s, "%3Cx%3E%20%23%25&\u00fc.txt"), vfs::WriteMode::create, "e");
         },
         100,
         {{"<x> #%&\u00fc.txt", "e"}}},
        {"write, aborted", one,
         [&](auto& at, auto& s) {
             vfs::WriteStream stream = file(at, s, "a.txt").openForWriting(vfs::WriteMode::replace);
             stream.write("half", 4);
             stream.abort();
         },
         100, one},
        {"write, never closed", one,
         [&](auto& at, auto& s) {
             write(file(at, s, "a.txt"), vfs::WriteMode::replace, std::string(100000, 'x'), false);
         },
         100, one},
        {"write over the share's root",
         {},
         [&](auto& at, auto& s) {
             write(vfs::File(at("../../").getResolvedIRI(), s), vfs::WriteMode::replace, "r");
         },
         -10,
         {}},
        // A folder has no body: nginx refuses its GET, rclone lists it when named with "/".
        {"read a folder", tree, [&](auto& at, auto& s) { body(file(at, s, "d")); },
         -vfs::InternalError, tree},
        {"read a folder named with its /", tree,
         [&](auto& at, auto& s) { body(file(at, s, "d/")); }, -vfs::InternalError, tree},
        // The share itself is never removed, whatever it holds: a server would take it away.
        {"removeFolder of the share's root", one,
         [&](auto& at, auto& s) { vfs::Folder(at("../../").getResolvedIRI(), s).removeFolder(); },
         -vfs::ResourceInUse, one},
        {"write under a missing folder",
         {},
         [&](auto& at, auto& s) { write(file(at, s, "no/n.txt"), vfs::WriteMode::create, "n"); },
         -1,
         {}},
    };
    for (const DavServer* server : servers()) {
        const auto system = storage(*server);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const Row& row = rows[i];
            SCOPED_TRACE(std::string(server->name()) + ": " + row.what);
            const std::string base = "/work/" + std::to_string(i) + "/";
            const At at = [&](const std::string& name) {
                return DavProvider::at(*server, base + name);
            };
            vfs::Folder(at(""), system).createFolderRecursive();
            for (const auto& [name, bytes] : row.before)
                if (name.ends_with("/"))
                    vfs::Folder(at(name), system).createFolderRecursive();
                else
                    write(vfs::File(at(name), system), vfs::WriteMode::create, bytes);
            if (row.reason.empty()) {
                EXPECT_EQ(failure([&] { row.change(at, system); }), row.expected);
            } else {
                const auto context = contextOf([&] { row.change(at, system); });
                ASSERT_TRUE(context);
                EXPECT_EQ(context->message().name(), vfs::errorMessageName(-row.expected));
                EXPECT_THAT(context->reason(), ::testing::HasSubstr(row.reason));
            }
            EXPECT_EQ(contentOf(vfs::Folder(at(""), system), ""), row.after);
            if (!row.lastPut.empty() && server->kind() == DavServer::Kind::Nginx) {
                const std::string log = server->requests();
                const auto put = log.rfind("PUT ");
                EXPECT_EQ(put == std::string::npos ? log
                                                   : log.substr(put, log.find('\n', put) - put),
                          row.lastPut);
            }
        }
    }
}

} // namespace
