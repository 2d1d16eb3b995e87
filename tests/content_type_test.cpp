#include <vexa/io/filesystem/core/content_type.hpp>
#include <vexa/io/filesystem/core/log.hpp>

#include <virtualfileio/ExceptionContextHandler.hpp>

#include "HostState.hpp"
#include "RemoteStorage.hpp"
#include "S3Server.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/xattr.h>

namespace {

namespace core = vexa::io::filesystem::core;
using foundation::log::RecordCapture;
using ::testing::StartsWith;
using vexa::testing::TempDir;
using vexa::testing::u;

// The recorded type, or "" and one caught-error record for whatever kept it from being read.
TEST(GetContentTypeCaller, RecordedTypeOrNothing) {
    const vexa::testing::RemoteStorage remote; // a server's type, as it sends it
    const vexa::testing::RemoteShare share;
    const vexa::testing::S3Storage s3; // the type the object was stored with
    s3.make({"typed.bin"});
    TempDir dir;
    dir.make({"typed", "plain", "link -> typed", "latin"});
    ASSERT_EQ(::setxattr((dir / "typed").c_str(), "user.http.contentType", "text/csv", 8, 0), 0);
    ASSERT_EQ(::setxattr((dir / "latin").c_str(), "user.http.contentType", "t\xE9xt", 4, 0), 0);
    const struct {
        fl::ustring path;
        fl::ustring type;
        bool logged;
    } cases[] = {
        {u(dir / "typed"), u"text/csv", false},
        {u"file://" + u(dir / "typed"), u"text/csv", false},
        {u(dir / "link"), u"text/csv", false},
        {u(dir / "latin"), u"t\xDCE9xt", false}, // the stored bytes, nothing lost
        {u(dir / "plain"), u"", false},
        {u(dir / "missing"), u"", true},
        {u"typed", u"", true}, // relative text names no location
        {u"", u"", true},
        {remote.url("/files/report.csv"), u"text/csv; charset=utf-8", false},
        {remote.secureUrl("/zoned.txt"), u"text/plain", false},
        {remote.url("/status/404"), u"", true},
        {share.url("/files/report.csv"), u"text/csv", false},
        {share.secureUrl("/files/notes.txt"), u"text/plain", false},
        {share.url("/files/missing.txt"), u"", true},
        {s3.url("typed.bin"), u"binary/octet-stream", false},
        {s3.url("missing.bin"), u"", true},
    };
    const vexa::testing::ScopedLogLevels levels(core::log::caughtErrorLevel);
    for (const auto& c : cases) {
        const RecordCapture capture("vexa::io::filesystem");
        EXPECT_EQ(core::getContentTypeCaller(c.path), c.type) << vexa::testing::utf8(c.path);
        const auto records = capture.records();
        ASSERT_EQ(records.size(), c.logged ? 1u : 0u) << vexa::testing::utf8(c.path);
        if (c.logged) {
            EXPECT_THAT(records[0].message, StartsWith("Exception caught: "));
        }
        EXPECT_FALSE(virtualfileio::ExceptionContextHandler::PendingContext());
    }
    // A storage fault is swallowed the same way; with traces on, entry and exit are marked.
    const vexa::testing::ScopedStorageSystem storage({vexa::testing::faultyFiles(
        vexa::testing::FaultyProvider::Operation::ExtendedAttributes, 9)});
    const vexa::testing::ScopedLogLevels traces(core::log::caughtErrorLevel |
                                                core::log::traceLevel);
    const RecordCapture capture("vexa::io::filesystem");
    EXPECT_EQ(core::getContentTypeCaller(u(dir / "typed")), u"");
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].message, "> fl::ustring vexa::io::filesystem::core::{anonymous}::"
                                  "getContentType(const fl::ustring&) (src/getContentType:22)");
    EXPECT_THAT(records[1].message, StartsWith("Exception caught: "));
    EXPECT_THAT(records[2].message, ::testing::Not(::testing::EndsWith("[throw]")));
}

} // namespace
