#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/result_handler.hpp>

#include "CurrentFolder.hpp"
#include "HostState.hpp"
#include "Operations.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace {

namespace core = vexa::io::filesystem::core;
namespace log = core::log;
using foundation::log::RecordCapture;
using Quarrow::PathManagement::PathManager;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using vexa::testing::NoOperation;

using vexa::testing::u;

// A real search path: root/lib and root/lib/+pkg, root/tools, and root itself, with a
// sibling root/library that must never be taken for being below root/lib.
class FolderNotification : public ::testing::Test {
protected:
    FolderNotification() {
        dir.make({"lib/", "lib/+pkg/", "lib/@cls/", "lib/private/", "lib/+pkg/sub/", "tools/",
                  "library/", "lib/+notes.txt.d/"});
        manager = std::make_shared<PathManager>(std::vector<fl::ustring>{
            u(dir / "lib"), u(dir / "tools"), u(dir / "library"), u(dir.path().string())});
        installed.emplace(manager);
    }

    // Notifications per entry, in search-path order.
    std::vector<std::size_t> notified() const {
        std::vector<std::size_t> counts;
        for (const auto& entry : manager->GetEntries())
            counts.push_back(entry.notifications);
        return counts;
    }

    vexa::testing::TempDir dir;
    std::shared_ptr<PathManager> manager;
    std::optional<vexa::testing::ScopedPathManager> installed;
};

// A pattern notifies its folder and the argument is rewritten to it; a relative folder (a
// bare pattern's "" too) is taken from the current folder; a folder over the length limit
// is an error; one that cannot be made absolute is dropped without a word.
TEST_F(FolderNotification, EntriesAtOrAboveTheFolderAreNotified) {
    const vexa::testing::CurrentFolder inside(dir / "tools");
    RecordCapture capture("vexa::io::filesystem");
    const vexa::testing::ScopedLogLevels levels(log::caughtErrorLevel);
    const std::string prefix = dir / "lib/";
    const std::string longest = prefix + std::string(4352 - prefix.size(), 'x');
    struct Case {
        std::string folder;
        std::vector<std::size_t> notified; // lib, tools, library, root
        std::size_t notifications;
        std::string id;
        std::optional<std::string> after = {}; // the argument afterwards, when it changed
    };
    const Case cases[] = {
        {dir / "lib/+pkg/sub", {1, 0, 0, 1}, 1, ""},
        {dir / "lib", {1, 0, 0, 1}, 1, ""},
        {dir / "lib/", {1, 0, 0, 1}, 1, ""},
        {dir / "library", {0, 0, 1, 1}, 1, ""},
        {dir / "elsewhere", {0, 0, 0, 1}, 1, ""},
        {"/", {0, 0, 0, 0}, 1, ""},
        {dir / "lib//+pkg/*.m", {1, 0, 0, 1}, 1, "", dir / "lib/+pkg"},
        {"../lib/+pkg", {1, 0, 0, 1}, 1, ""}, // ".." leaves tools
        {longest, {1, 0, 0, 1}, 1, ""},
        {longest + "x", {0, 0, 0, 0}, 0, "VEXA:FILE:PATHMAX"},
        {"*.m", {0, 1, 0, 1}, 1, "", ""}, // the current folder, tools
        {"", {0, 1, 0, 1}, 1, ""},
        {"http://h:99999/x", {0, 0, 0, 0}, 0, ""}, // no such port: no location
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.folder.substr(0, 100));
        manager = std::make_shared<PathManager>(manager->GetSearchPath());
        const vexa::testing::ScopedPathManager scoped(manager);
        NoOperation operation;
        fl::ustring folder = u(c.folder);
        operation.MarkDirOutOfDate(folder);
        EXPECT_EQ(notified(), c.notified);
        EXPECT_EQ(manager->GetNotificationCount(), c.notifications);
        EXPECT_EQ(operation.GetStatus().code, c.id.empty() ? 1 : 2);
        EXPECT_EQ(core::detail::GetID(operation.GetStatus().exception), c.id);
        EXPECT_EQ(folder, u(c.after.value_or(c.folder)));
    }
    EXPECT_TRUE(capture.records().empty());
}

TEST_F(FolderNotification, HostWithoutPathManagerIsLoggedNotReported) {
    RecordCapture capture("vexa::io::filesystem");
    const vexa::testing::ScopedLogLevels levels(log::caughtErrorLevel | log::traceLevel);
    const vexa::testing::ScopedPathManager none(nullptr);
    NoOperation operation;
    fl::ustring folder = u(dir / "lib");
    operation.MarkDirOutOfDate(folder);
    EXPECT_EQ(operation.GetStatus().code, 1);
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_THAT(records[0].message,
                HasSubstr("virtual void vexa::io::filesystem::core::FileManipulator::"
                          "MarkDirOutOfDate(fl::ustring&) (src/FileManip:337)"));
    EXPECT_EQ(records[1].level, log::caughtErrorLevel);
    EXPECT_THAT(records[1].message, StartsWith("Exception caught: "));
    EXPECT_THAT(records[1].message, HasSubstr("the host has no path manager"));
    EXPECT_THAT(records[2].message, ::testing::Not(HasSubstr("[throw]")));

    // A refresh is not best effort: the failure reaches the caller.
    EXPECT_ANY_THROW(operation.RequestPathRefresh());
}

TEST_F(FolderNotification, RefreshRescansEveryEntry) {
    NoOperation operation;
    operation.RequestPathRefresh();
    auto entries = manager->GetEntries();
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0].specialSubfolders,
              (std::vector<fl::ustring>{u"+notes.txt.d", u"+pkg", u"@cls", u"private"}));
    for (const auto& entry : entries) {
        EXPECT_EQ(entry.scans, 1u);
        EXPECT_FALSE(entry.outOfDate);
    }
    // A change marks the entries above it; a partial refresh rescans only those, a full
    // one everything again.
    dir.make({"tools/+new/"});
    fl::ustring folder = u(dir / "tools/+new");
    operation.MarkDirOutOfDate(folder);
    manager->Refresh(1);
    entries = manager->GetEntries();
    EXPECT_EQ(entries[0].scans, 1u);
    EXPECT_EQ(entries[1].scans, 2u);
    EXPECT_EQ(entries[1].specialSubfolders, std::vector<fl::ustring>{u"+new"});
    EXPECT_EQ(entries[3].scans, 2u);
    operation.RequestPathRefresh();
    EXPECT_EQ(manager->GetEntries()[0].scans, 2u);
}

// Entries are kept as absolute local folders, joined to the current folder as written
// (from the root too); a location that names no local folder is refused and changes nothing.
TEST_F(FolderNotification, SearchPathEntriesAreAbsoluteLocalFolders) {
    {
        const vexa::testing::CurrentFolder atRoot("/");
        manager->SetSearchPath({u"tmp", u"/x/../y", u"file:///z"});
        EXPECT_EQ(manager->GetSearchPath(), (std::vector<fl::ustring>{u"/tmp", u"/x/../y", u"/z"}));
    }
    const auto before = manager->GetSearchPath();
    EXPECT_THROW(manager->SetSearchPath({u"lib", u"file://server/share"}),
                 Quarrow::current_working_folder::FailedToAbsolutizeException);
    EXPECT_EQ(manager->GetSearchPath(), before);
}

} // namespace
