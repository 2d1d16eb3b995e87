#include <vexa/io/filesystem/core/attributes.hpp>

#include <virtualfileio/ExceptionContextHandler.hpp>

#include "RemoteStorage.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"
#include "TimeZone.hpp"
#include "Unprivileged.hpp"

#include <boost/date_time/posix_time/posix_time.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

namespace core = vexa::io::filesystem::core;
namespace pt = boost::posix_time;
namespace vfs = vexa::testing::vfs;
using Item = boost::variant<vfs::File, vfs::Folder>;
using Op = vexa::testing::FaultyProvider::Operation;
using vexa::testing::TempDir;
using vexa::testing::u;
using virtualfileio::ExceptionContextHandler;

// The item at `path`, as a file or as a folder, through the host's storage system.
Item itemAt(const std::string& path, bool folder) {
    return folder ? Item(vexa::testing::folderAt(path)) : Item(vexa::testing::fileAt(path));
}

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

// Sets the modification time to `seconds` after 1970 (UTC) and `nanoseconds`.
void setModified(const std::string& path, long seconds, long nanoseconds = 0) {
    const timespec times[] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

// 2021-03-04 05:06:07.123456789 UTC; kept to the microsecond.
constexpr long someSecond = 1614834367;
constexpr long someNanoseconds = 123456789;

struct Zone {
    std::string tz;
    pt::time_duration offset;  // local time minus UTC
    pt::ptime someSecondThere; // someSecond in local time
};
// Zones away from UTC, one on each side, one with half an hour: a conversion done the wrong
// way, twice, or in whole hours only shows in one of them.
const Zone zones[] = {
    {"<+0530>-5:30", pt::hours(5) + pt::minutes(30),
     pt::time_from_string("2021-03-04 10:36:07.123456")},
    {"<-03>3", pt::hours(-3), pt::time_from_string("2021-03-04 02:06:07.123456")},
};

// Stand for the time of the call, in local time (`offset` being local minus UTC), and for
// that converted to local time a second time.
const pt::ptime now = pt::not_a_date_time;
const pt::ptime nowTwice = pt::ptime(pt::pos_infin);

void expectAttributes(core::PathAttributes got, const core::PathAttributes& expected,
                      pt::time_duration offset) {
    if (expected.lastModified.is_special()) {
        const pt::ptime time = pt::second_clock::universal_time() +
                               (expected.lastModified.is_not_a_date_time() ? offset : offset * 2);
        // time(2), behind second_clock, may lag a clock tick behind the file system's clock.
        EXPECT_TRUE(got.lastModified >= time - pt::seconds(3) &&
                    got.lastModified <= time + pt::seconds(2))
            << got.lastModified;
        got.lastModified = expected.lastModified;
    }
    EXPECT_EQ(got, expected);
}

// Real items, in a zone away from UTC. A folder's write probe changes the folder, so its
// time is that of the probe: now.
TEST(GetAttributes, RealItems) {
    const Zone& zone = zones[0];
    const vexa::testing::ScopedTimeZone inZone(zone.tz);
    TempDir dir;
    dir.makeItemsOfEveryKind();
    ASSERT_EQ(::truncate((dir / "file").c_str(), 5), 0);
    setModified(dir / "file", someSecond, someNanoseconds);
    setModified(dir / "fifo", someSecond, someNanoseconds);
    const struct {
        std::string name;
        bool folder;
        core::PathAttributes expected;
    } cases[] = {
        {"file", false, {true, true, zone.someSecondThere, 5}},
        {"linkFile", false, {true, true, zone.someSecondThere, 5}}, // what the link leads to
        {"fifo", false, {true, true, zone.someSecondThere, 0}},     // opened without a writer
        {"folder", true, {true, true, now, 0}},                     // empty, still listed
        {"linkFolder", true, {true, true, now, 0}},
        {"folder", false, {false, true, now, 4096}}, // a folder cannot be read as a file
    };
    for (const auto& c : cases) {
        const Item item = itemAt(dir / c.name, c.folder);
        // The path argument is never read: any text gives the same record.
        for (const fl::ustring& path :
             {u(dir / c.name), fl::ustring(), fl::ustring(u"/elsewhere")}) {
            SCOPED_TRACE(c.name);
            core::PathAttributes got = core::getAttributes(item, path);
            if (c.name == "folder" && !c.folder)
                got.size = c.expected.size; // the file system's own figure
            expectAttributes(got, c.expected, zone.offset);
            EXPECT_EQ(entriesOf(dir / "folder").size(), 0u) << "probe file left";
        }
    }
}

// Probes answer for the process that asks: root may write anywhere, nobody (run in a child)
// only where the mode lets it, and no probe file stays behind either way.
TEST(GetAttributes, ProbesAnswerForTheProcessThatAsks) {
    TempDir dir;
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    const struct {
        std::string name;
        bool folder;
        mode_t mode;
        bool rootReads, rootWrites, nobodyReads, nobodyWrites;
    } cases[] = {
        {"read-only", true, 0555, true, true, true, false},
        {"write-only", true, 0333, true, true, false, true}, // made in, not listed
        {"file-write-only", false, 0222, true, true, false, true},
        {"file-no-access", false, 0000, true, true, false, false},
    };
    for (const auto& c : cases) {
        dir.make({c.folder ? c.name + "/" : c.name});
        ASSERT_EQ(::chmod((dir / c.name).c_str(), c.mode), 0);
    }
    // One bit per case that answered otherwise.
    const auto wrongAnswers = [&](bool asRoot) {
        int wrong = 0;
        for (std::size_t i = 0; i < std::size(cases); ++i) {
            const auto& c = cases[i];
            const auto got = core::getAttributes(itemAt(dir / c.name, c.folder), {});
            if (got.readable != (asRoot ? c.rootReads : c.nobodyReads) ||
                got.writable != (asRoot ? c.rootWrites : c.nobodyWrites))
                wrong |= 1 << i;
        }
        return wrong;
    };
    if (::getuid() == 0) {
        EXPECT_EQ(wrongAnswers(true), 0);
    }
    EXPECT_EQ(vexa::testing::runAsUnprivileged([&] { return wrongAnswers(false); }), 0);
    for (const auto& c : cases) {
        if (c.folder) {
            EXPECT_EQ(entriesOf(dir / c.name).size(), 0u) << c.name;
        }
    }
}

// Faults a disk will not make on demand, one storage operation at a time (the n-th call of
// it, where a worker asks more than once). A fault that is answered leaves nothing pending.
// With removal failing, every probe's file stays: a name made twice, after many probes or in
// a child forked between two of them (the child as nobody), fails its second making.
TEST(GetAttributes, StorageFaults) {
    const Zone& zone = zones[1];
    const vexa::testing::ScopedTimeZone inZone(zone.tz);
    const pt::ptime real = zone.someSecondThere;
    const struct {
        bool folder;
        Op operation;
        int code, onlyCall;
        core::PathAttributes expected; // unused when it throws
        int thrown;                    // the code raised, or -1
        std::size_t left;              // files left in the folder
        int calls = 1;                 // each expected to answer the same
        bool childAfterFirst = false;  // which makes one call of its own
    } cases[] = {
        {true, Op::List, 2, 0, {false, true, now, 0}, -1, 0},
        {true, Op::CreateFile, 8, 0, {true, false, real, 0}, -1, 0},
        {true, Op::RemoveFile, 7, 0, {true, true, now, 0}, -1, 1},
        {true, Op::RemoveFile, 7, 0, {true, true, now, 0}, -1, 40, 40},
        {true, Op::RemoveFile, 7, 0, {true, true, now, 0}, -1, 3, 2, true},
        {true, Op::Probe, 9, 0, {}, 9, 0}, // the folder's time cannot be read
        {false, Op::Open, 2, 0, {false, true, real, 5}, -1, 0},
        {false, Op::Attributes, 9, 1, {}, 9, 0}, // writability cannot be read
        {false, Op::Attributes, 9, 2, {true, true, nowTwice, 5}, -1, 0},
        {false, Op::Attributes, 9, 3, {true, true, real, 0}, -1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(static_cast<int>(c.operation)) + " call " +
                     std::to_string(c.onlyCall) + (c.folder ? " folder" : " file"));
        TempDir dir;
        dir.make({"folder/", "folder/file"});
        ASSERT_EQ(::truncate((dir / "folder/file").c_str(), 5), 0);
        setModified(dir / "folder/file", someSecond, someNanoseconds);
        setModified(dir / "folder", someSecond, someNanoseconds);
        const std::string path = c.folder ? dir / "folder" : dir / "folder/file";
        const vexa::testing::ScopedStorageSystem storage(
            {vexa::testing::faultyFiles(c.operation, c.code, c.onlyCall)});
        ExceptionContextHandler::ClearPendingContext();
        for (int call = 0; call < c.calls; ++call) {
            if (call == 1 && c.childAfterFirst) {
                ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
                ASSERT_EQ(::chmod(path.c_str(), 0777), 0);
                EXPECT_TRUE(vexa::testing::holdsUnprivileged(
                    [&] { return core::getAttributes(itemAt(path, c.folder), {}).writable; }));
            }
            try {
                const core::PathAttributes got = core::getAttributes(itemAt(path, c.folder), {});
                EXPECT_EQ(c.thrown, -1);
                EXPECT_FALSE(ExceptionContextHandler::PendingContext());
                expectAttributes(got, c.expected, zone.offset);
            } catch (const vfs::Exception& error) {
                EXPECT_EQ(error.getErrorCode(), c.thrown);
            }
        }
        std::vector<std::string> files = entriesOf(dir / "folder");
        std::erase(files, "file");
        ASSERT_EQ(files.size(), c.left);
        // A file left behind is named by a random (version-4) UUID and nothing else.
        static const std::regex uuid4("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-"
                                      "[0-9a-f]{12}");
        for (const auto& name : files)
            EXPECT_TRUE(std::regex_match(name, uuid4)) << name;
    }
}

// Times come back in local time, to the microsecond. One that cannot be converted (before
// 1970) is a failure for a folder; for a file it gives the current time instead, converted a
// second time.
TEST(GetAttributes, TimesInLocalTime) {
    for (const Zone& zone : zones) {
        SCOPED_TRACE(zone.tz);
        const vexa::testing::ScopedTimeZone inZone(zone.tz);
        TempDir dir;
        dir.make({"new/", "old/", "new.txt", "old.txt"});
        for (const char* name : {"new", "new.txt"})
            setModified(dir / name, someSecond, someNanoseconds);
        for (const char* name : {"old", "old.txt"})
            setModified(dir / name, -86400, 500000000); // 1969-12-31 00:00:00.5 UTC
        // No write probe, so that it leaves the folders' times as they are.
        const vexa::testing::ScopedStorageSystem storage(
            {vexa::testing::faultyFiles(Op::CreateFile, vfs::PermissionDenied)});
        const auto attributesOf = [&](const std::string& name, bool folder) {
            return core::getAttributes(itemAt(dir / name, folder), {});
        };
        expectAttributes(attributesOf("new.txt", false), {true, true, zone.someSecondThere, 1},
                         zone.offset);
        expectAttributes(attributesOf("new", true), {true, false, zone.someSecondThere, 0},
                         zone.offset);
        EXPECT_THROW(attributesOf("old", true), std::out_of_range);
        expectAttributes(attributesOf("old.txt", false), {true, true, nowTwice, 1}, zone.offset);
    }
}

// Remote items: a web server takes no new file, so no folder there is writable; times are
// the server's Last-Modified (any zone it is given in), else its Date, in local time. A file
// the server does not have fails the writability query, which lets its failure out.
TEST(GetAttributes, RemoteItems) {
    const Zone& zone = zones[0];
    const vexa::testing::ScopedTimeZone inZone(zone.tz);
    const vexa::testing::RemoteStorage remote;
    const pt::ptime someSecondThere = zone.someSecondThere - pt::microseconds(123456);
    const struct {
        std::string path;
        bool folder;
        core::PathAttributes expected;
    } cases[] = {
        {"/files/notes.txt", false, {true, false, someSecondThere, 6}},
        {"/unsized", false, {true, false, now, 0}}, // the server's Date
        {"/files/", true, {true, false, now, 0}},
        {"/page/", true, {false, false, someSecondThere, 0}}, // its index.html; not listed
    };
    for (const auto& c : cases)
        for (const fl::ustring& text : {remote.url(c.path), remote.secureUrl(c.path)}) {
            SCOPED_TRACE(vexa::testing::utf8(text));
            expectAttributes(core::getAttributes(itemAt(vexa::testing::utf8(text), c.folder), text),
                             c.expected, zone.offset);
        }
    EXPECT_FALSE(ExceptionContextHandler::PendingContext());
    EXPECT_THROW(core::getAttributes(itemAt(remote.server().url("/status/404"), false), {}),
                 vfs::Exception);
    ExceptionContextHandler::ClearPendingContext();
}

} // namespace
