// vexafs ls and package as a user and a script run them.

#include "DavServer.hpp"
#include "HttpServer.hpp"
#include "S3Server.hpp"
#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <cstdlib>

namespace {

using ::testing::HasSubstr;
using ::testing::Ne;
using vexa::testing::TempDir;

// A real tree listed in post-order, with IRIs beside the names; links entered by the
// UTF-16 listing only; names that are not UTF-8 kept as bytes, escaped in JSON. Folders
// claimed by the nearest package root. IRI patterns listed by their storage: a web server's
// index pages, a file IRI's folder; a page that is no index is a failure.
TEST(VexafsLsAndPackage, ListsARealTreeAndTellsWhichPackageClaims) {
    const vexa::testing::HttpServer server;
    const std::string sub = server.url("/files/sub/");
    const vexa::testing::DavServer share(vexa::testing::DavServer::Kind::Nginx);
    const std::string shared = share.url("/files/"), sharedSub = share.url("/files/sub/");
    const vexa::testing::S3Storage s3;
    const vexa::testing::S3Environment toS3(s3.server());
    s3.make({"l/a.txt", "l/b/c.txt", "l/b/d/e.txt", "l/empty/", "l/sp%20ace"});
    const std::string l = "s3://bucket/l/";
    TempDir dir;
    dir.make(
        {"t/", "t/b/", "empty/", "t/a.txt", "t/b/c.txt", "t/sp ace", "t/caf\xE9", "t/lnk -> b"});
    const std::string root = dir.real(), t = root + "/t/", iri = "file://" + t;
    const vexa::testing::VexafsRun runs[] = {
        {{"ls", t + "*"},
         0,
         t + "a.txt\n" + t + "b\n" + t + "caf\xE9\n" + t + "lnk\n" + t + "sp ace\n"},
        {{"ls", "--recursive", t + "*.txt", t + "?"},
         0,
         t + "a.txt\n" + t + "b/c.txt\n" + t + "b\n"},
        {{"ls", "-r", "--iri", t + "[bl]*", t + "l*", t + "sp*"},
         0,
         t + "lnk/c.txt\t" + iri + "lnk/c.txt\n" + t + "lnk\t" + iri + "lnk\n" + t + "sp ace\t" +
             iri + "sp%20ace\n"},
        {{"ls", "--bytes", "-r", t + "l*", t + "b*"}, 0, t + "lnk\n" + t + "b/c.txt\n" + t + "b\n"},
        {{"ls", "--json", "--iri", t + "c*"},
         0,
         "{\"name\": \"" + t + "caf\\udce9\", \"iri\": \"" + iri + "caf%E9\"}\n"},
        {{"ls", "--json", "--bytes", root + "/empty/.?"},
         0,
         "{\"name\": \"" + root + "/empty/..\"}\n"},
        {{"ls", "--iri", root + "/empty/.?"}, 0, root + "/empty//..\n"},
        {{"ls", "-r", root + "/missing/*", root + "/empty/*"}, 0, ""},
        {{"ls", "--bytes", "--iri", t + "*"}, Ne(0), "", HasSubstr("excludes")},
        {{"ls", sub + "*"}, 0, sub + "deeper\n" + sub + "inner.txt\n"},
        {{"ls", "-r", "--json", sub + "*", server.url("/files/*.csv")},
         0,
         "{\"name\": \"" + sub + "deeper/leaf.txt\"}\n{\"name\": \"" + sub +
             "deeper\"}\n{\"name\": \"" + sub + "inner.txt\"}\n{\"name\": \"" +
             server.url("/files/report.csv") + "\"}\n"},
        {{"ls", "--iri", "-r", iri + "b*"},
         0,
         iri + "b/c.txt\t" + iri + "b/c.txt\n" + iri + "b\t" + iri + "b\n"},
        {{"ls", server.url("/page/*")}, 1, "", HasSubstr("Reason: not an index page")},
        {{"ls", l + "*", "s3://bucket/none/*"},
         0,
         l + "a.txt\n" + l + "b\n" + l + "empty\n" + l + "sp%20ace\n"},
        {{"ls", "-r", l + "*"}, // one tree listing, in the order of folder by folder
         0,
         l + "a.txt\n" + l + "b/c.txt\n" + l + "b/d/e.txt\n" + l + "b/d\n" + l + "b\n" + l +
             "empty\n" + l + "sp%20ace\n"},
        {{"ls", "-r", "--iri", l + "b*", l + "e*"},
         0,
         l + "b/c.txt\t" + l + "b/c.txt\n" + l + "b/d/e.txt\t" + l + "b/d/e.txt\n" + l + "b/d\t" +
             l + "b/d\n" + l + "b\t" + l + "b\n" + l + "empty\t" + l + "empty\n"},
        {{"ls", server.url("/files/none/*"), server.url("/files/n*"), server.url("/files/x*")},
         0,
         server.url("/files/notes.txt\n") + server.url("/files/x&y%23z%3F%25.txt\n")},
        // A share's listing: names from its hrefs, folder by folder when recursive.
        {{"ls", "-r", sharedSub + "*", shared + "<*", shared + "x*"},
         0,
         sharedSub + "deeper/leaf.txt\n" + sharedSub + "deeper\n" + sharedSub + "inner.txt\n" +
             shared + "%3Cb%3E.txt\n" + shared + "x&y.txt\n"},
        {{"--ca-file", share.caFile(), "ls", share.secureUrl("/files/*.csv"),
          share.url("/empty/*")},
         0,
         share.secureUrl("/files/report.csv\n")},
        {{"ls", share.url("/nodav/*")}, 1, "", HasSubstr("unsupportedOperation")},
        {{"package", root + "/a/b", root + "/a/bc", "/", "--package", "outer=" + root, "--package",
          "inner=" + root + "/a/b", "--json"},
         0,
         "[\n {\"input\": \"" + root + "/a/b\", \"claimed\": true, \"package\": \"inner\", " +
             "\"root\": \"" + root + "/a/b\"},\n {\"input\": \"" + root +
             "/a/bc\", \"claimed\": true, \"package\": \"outer\", \"root\": \"" + root +
             "\"},\n {\"input\": \"/\", \"claimed\": false, \"package\": \"\", \"root\": "
             "\"\"}\n]\n"},
        {{"package", root}, 0, root + "\n  claimed: no\n  package: \n  root:    \n"},
        {{"package", root, "--package", "nameless"}, Ne(0), "", HasSubstr("NAME=ROOT")},
    };
    vexa::testing::expectRuns(runs);

    // The remote storage library, and libcurl with it, is loaded by a listing that reaches a
    // server and by no other: the loader names each library it opens.
    ::setenv("LD_DEBUG", "files", 1);
    const auto local = vexa::testing::vexafs({"ls", "-r", t + "*"});
    const auto remote = vexa::testing::vexafs({"ls", sub + "*"});
    ::unsetenv("LD_DEBUG");
    const auto loaded = [](const std::string& err, const char* library) {
        return err.find(library) != std::string::npos;
    };
    EXPECT_TRUE(loaded(local.err, "libvexa_platform"));
    EXPECT_FALSE(loaded(local.err, "libvexa_remote_storage"));
    EXPECT_TRUE(loaded(remote.err, "libvexa_remote_storage"));
}

} // namespace
