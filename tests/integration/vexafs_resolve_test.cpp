// vexafs resolve as a user and a script see it.

#include "CurrentFolder.hpp"
#include "DavServer.hpp"
#include "HttpServer.hpp"
#include "TempDir.hpp"
#include "TimeZone.hpp"
#include "Vexafs.hpp"

#include <chrono>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using vexa::testing::refused;
using vexa::testing::TempDir;

// The record of one name, with its attributes when they are given: readable, writable,
// modified and size.
std::string shown(const std::string& name, const std::string& path, const std::string& kind,
                  const std::vector<std::string>& attributes = {}) {
    if (attributes.empty())
        return name + "\n  path: " + path + "\n  kind: " + kind + "\n";
    return name + "\n  path:     " + path + "\n  kind:     " + kind +
           "\n  readable: " + attributes[0] + "\n  writable: " + attributes[1] +
           "\n  modified: " + attributes[2] + "\n  size:     " + attributes[3] + "\n";
}

// A file, a folder, a link followed and not, a name found on the search path, in local time
// to the microsecond; what is not there, and text that names nothing. Web addresses: the
// server's size, time and kind over https with the run's certificate (as an option or from
// the environment), refusals as nothing, and a failure with the server's or the network's
// own words.
TEST(VexafsResolve, NamesAndWebAddressesAsTheHostResolvesThem) {
    const vexa::testing::ScopedTimeZone inZone("<+0530>-5:30"); // for vexafs too
    const vexa::testing::HttpServer server;
    const std::string file = server.secureUrl("/files/a%20b%20%C3%BC.txt");
    const std::string shownFile = server.secureUrl("/files/a%20b%20\xC3\xBC.txt");
    const std::string caFile = server.caFile();
    TempDir dir;
    dir.makeItemsOfEveryKind();
    dir.make({"lib/", "lib/only.m", "lib/dangling", "caf\xE9", "with space", "trail "});
    ASSERT_EQ(::truncate((dir / "file").c_str(), 5), 0);
    const timespec times[] = {{0, UTIME_OMIT}, {1614834367, 123456789}};
    for (const char* name : {"file", "lib/only.m"})
        ASSERT_EQ(::utimensat(AT_FDCWD, (dir / name).c_str(), times, 0), 0);
    const std::string d = dir.real();
    const vexa::testing::CurrentFolder inside(d);
    const std::vector<std::string> fileAttributes = {"yes", "yes", "2021-03-04T10:36:07.123456",
                                                     "5"};
    // A folder's write probe makes its time the time of the call.
    const std::string folderAttributes = "  readable: yes\n  writable: yes\n  modified: "
                                         "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:"
                                         "[0-9]{2}\\.[0-9]{6}\n  size:     0\n";
    const vexa::testing::VexafsRun runs[] = {
        {{"resolve", "--attributes", "file", "linkFile", "--path", "lib", "only.m"},
         0,
         shown("file", d + "/file", "file", fileAttributes) +
             shown("linkFile", d + "/linkFile", "link", fileAttributes) +
             shown("only.m", d + "/lib/only.m", "file",
                   {"yes", "yes", "2021-03-04T10:36:07.123456", "1"})},
        {{"resolve", "--attributes", "--follow-links", "linkFile", "linkFolder"},
         0,
         ContainsRegex("^" + shown("linkFile", d + "/file", "file", fileAttributes) +
                       "linkFolder\n  path:     " + d + "/folder\n  kind:     folder\n" +
                       folderAttributes + "$")},
        {{"resolve", "--attributes", "linkFolder"},
         0,
         ContainsRegex("^linkFolder\n  path:     " + d + "/linkFolder\n  kind:     link\n" +
                       folderAttributes + "$")},
        {{"resolve", "--attributes", "missing", ""},
         0,
         shown("missing", "", "nothing", {"no", "no", "", "0"}) +
             shown("", "", "nothing", {"no", "no", "", "0"})},
        {{"resolve", "--follow-links", "dangling", "loopA", "--json"},
         0,
         "[\n {\"input\": \"dangling\", \"path\": \"\", \"kind\": \"nothing\"},\n {\"input\": "
         "\"loopA\", \"path\": \"\", \"kind\": \"nothing\"}\n]\n"},
        {{"resolve", "dangling", "caf\xE9", "file://" + d + "/caf%E9"},
         0,
         shown("dangling", d + "/dangling", "link") + shown("caf\xE9", d + "/caf\xE9", "file") +
             shown("file://" + d + "/caf%E9", "file://" + d + "/caf%E9", "file")},
        {{"resolve", "--native", "file://" + d + "/folder/"},
         0,
         shown("file://" + d + "/folder/", d + "/folder/", "folder")},
        // Stand-alone, the search by name comes first and passes a link that leads nowhere.
        {{"resolve", "--standalone", "--path", "lib", "dangling"},
         0,
         shown("dangling", d + "/lib/dangling", "file")},
        // A link shown as itself that leads nowhere has no attributes to read.
        refused({"resolve", "--attributes", "dangling"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:ioError")),
        // IRI text is read as the library reads it: trimmed, what an IRI cannot hold escaped,
        // and text that names no location is nothing.
        {{"resolve", "file://" + d + "/with space", "file://" + d + "/trail ", "http://[::1/x"},
         0,
         shown("file://" + d + "/with space", "file://" + d + "/with%20space", "file") +
             shown("file://" + d + "/trail ", "", "nothing") +
             shown("http://[::1/x", "", "nothing")},
        {{"exist", "file://" + d + "/with space"}, 0, HasSubstr("  type: 0\n")},
        {{"resolve", "--attributes", "--ca-file", caFile, file},
         0,
         shown(file, shownFile, "file", {"yes", "no", "2021-03-04T10:36:07.000000", "7"})},
        {{"--ca-file", caFile, "resolve", server.secureUrl("/files/sub/"),
          server.url("/status/404")},
         0,
         shown(server.secureUrl("/files/sub/"), server.secureUrl("/files/sub/"), "folder") +
             shown(server.url("/status/404"), "", "nothing")},
        refused({"resolve", file}, HasSubstr("Reason: SSL certificate problem")),
        refused({"content-type", file}, HasSubstr("Reason: SSL certificate problem")),
        refused({"resolve", server.url("/status/500")},
                HasSubstr("Identifier: VEXA:virtualfilesystem:ioError\nReason: HTTP 500\n")),
        {{"resolve", "--ca-file", "/nonexistent.pem", file},
         ::testing::Ne(0),
         "",
         HasSubstr("--ca-file: File does not exist")},
    };
    vexa::testing::expectRuns(runs);
    // A share's items: their kind from the share, writable, times from its properties.
    const vexa::testing::DavServer share(vexa::testing::DavServer::Kind::Nginx);
    const std::string notes = share.url("/files/notes.txt"), work = share.url("/work");
    const vexa::testing::VexafsRun onShare[] = {
        {{"exist", notes, share.url("/files/sub"), share.url("/files/none")},
         0,
         notes + "\n  type: 0\n  kind: file\n" + share.url("/files/sub") +
             "\n  type: 2\n  kind: folder\n" + share.url("/files/none") +
             "\n  type: 6\n  kind: nothing\n"},
        {{"resolve", "--attributes", notes},
         0,
         shown(notes, notes, "file", {"yes", "yes", "2021-03-04T10:36:07.000000", "6"})},
        {{"resolve", "--attributes", work},
         0,
         ContainsRegex("^" + work + "\n  path:     " + work + "\n  kind:     folder\n  " +
                       "readable: yes\n  writable: yes\n")},
        {{"content-type", share.url("/files/report.csv")},
         0,
         HasSubstr("content type: text/csv\n")},
        {{"cat", share.url("/files/%3Cb%3E.txt")}, 0, "<b>.txt"},
        {{"--ca-file", share.caFile(), "exist", share.secureUrl("/files/sub/deeper/leaf.txt")},
         0,
         HasSubstr("kind: file\n")},
        // A server that cannot look is no share: nothing there, as for the library.
        {{"exist", share.url("/nodav/x.txt")}, 0, HasSubstr("kind: nothing\n")},
        refused({"cat", share.url("/files/sub")}, HasSubstr("Identifier: VEXA:")),
    };
    vexa::testing::expectRuns(onShare);
    EXPECT_TRUE(std::filesystem::is_empty(share.content() + "/work"));

    ASSERT_EQ(::setenv("VEXAFS_CA_FILE", caFile.c_str(), 1), 0);
    const vexa::testing::VexafsRun fromEnvironment[] = {
        {{"exist", file, server.url("/files/"), server.url("/status/403")},
         0,
         file + "\n  type: 0\n  kind: file\n" + server.url("/files/") +
             "\n  type: 2\n  kind: folder\n" + server.url("/status/403") +
             "\n  type: 6\n  kind: nothing\n"},
        {{"content-type", server.secureUrl("/files/report.csv")},
         0,
         HasSubstr("content type: text/csv; charset=utf-8\n")},
        // Text with a space reaches the server escaped.
        {{"exist", server.url("/files/a b \xC3\xBC.txt")}, 0, HasSubstr("  kind: file\n")},
        {{"cat", server.url("/files/a b \xC3\xBC.txt")}, 0, "spaced\n"},
        {{"content-type", server.url("/files/a b \xC3\xBC.txt"), server.url("/status/404")},
         0,
         HasSubstr("\xBC.txt\n  content type: text/plain\n" + server.url("/status/404") +
                   "\n  content type: \n")},
        // A storage that cannot be reached is a failure, not an item without a type.
        refused({"content-type", server.url("/status/500")}, HasSubstr("Reason: HTTP 500\n")),
        refused({"content-type", server.url("/loop/a")}, HasSubstr("Reason: ")),
        refused({"content-type", vexa::testing::HttpServer::closedUrl("/x")},
                HasSubstr("Identifier: VEXA:virtualfilesystem:ioError\nReason: ")),
    };
    vexa::testing::expectRuns(fromEnvironment);
    ::unsetenv("VEXAFS_CA_FILE");

    // A failed look is told as the look met it: one look's worth of requests per item (a 500
    // tried three times, a loop followed through ten redirects), none asked again; a server
    // that says nothing holds the call for the --timeout given, once. An item found is looked
    // at once for its kind and attributes, and read once to know it can be (no reason: it
    // succeeds).
    const vexa::testing::ScriptedServer silent({{.bytes = {}, .silent = true}});
    const struct {
        std::vector<std::string> args;
        std::string path; // counted in the server's log
        std::size_t requests;
        std::string reason;
    } looks[] = {
        {{"resolve", "--attributes", server.url("/files/report.csv")}, "/files/report.csv", 2, ""},
        {{"exist", server.url("/loop/a")}, "/loop/b", 5, "Maximum (10) redirects followed"},
        {{"exist", server.url("/status/500")}, "/status/500", 3, "HTTP 500"},
        {{"resolve", server.url("/status/500")}, "/status/500", 3, "HTTP 500"},
        {{"--timeout", "1", "exist", silent.url("/x")}, "", 1, "Operation timed out"},
        {{"--timeout", "1", "resolve", silent.url("/x")}, "", 1, "Operation timed out"},
    };
    // nginx logs a request once it has answered it, which may be after vexafs has ended: a
    // count is read once it has reached `least` and then stayed put for a moment.
    const auto count = [&](const std::string& path, std::size_t least) {
        const auto read = [&] {
            return path.empty() ? silent.requests().size() : server.requests(path);
        };
        std::size_t now = read();
        for (int wait = 0; wait < 100 && now < least; ++wait, now = read())
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        for (std::size_t last = now + 1; last != now;) {
            last = now;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            now = read();
        }
        return now;
    };
    for (const auto& look : looks) {
        const std::string shown = ::testing::PrintToString(look.args);
        const std::size_t before = count(look.path, 0);
        const auto start = std::chrono::steady_clock::now();
        const auto result = vexa::testing::vexafs(look.args);
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_EQ(result.exitCode, look.reason.empty() ? 0 : 1) << shown;
        if (!look.reason.empty()) {
            EXPECT_THAT(result.err, HasSubstr("Reason: " + look.reason)) << shown;
        }
        EXPECT_EQ(count(look.path, before + look.requests) - before, look.requests) << shown;
        EXPECT_LT(took, std::chrono::milliseconds(1800)) << shown;
    }
}

} // namespace
