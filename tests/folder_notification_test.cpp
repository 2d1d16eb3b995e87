#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/result_handler.hpp>

#include "HostState.hpp"
#include "Operations.hpp"
#include "TempDir.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace core = vexa::io::filesystem::core;
namespace log = core::log;
using foundation::log::RecordCapture;
using Quarrow::PathManagement::PathManager;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using vexa::testing::NoOperation;

fl::ustring u(const std::string& utf8) {
    return fl::i18n::to_ustring(utf8);
}

// A real search path: root/lib and root/lib/+pkg, root/tools, and root itself, with a
// sibling root/library that must never be taken for being below root/lib.
class FolderNotification : public ::testing::Test {
protected:
    FolderNotification() {
        for (const char* folder : {"lib/+pkg", "lib/@cls", "lib/private", "lib/+pkg/sub", "tools",
                                   "library", "lib/+notes.txt.d"})
            std::filesystem::create_directories(dir.path() / folder);
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

TEST_F(FolderNotification, EntriesAtOrAboveTheFolderAreNotified) {
    struct Case {
        std::string folder;
        std::vector<std::size_t> expected; // lib, tools, library, root
    };
    const Case cases[] = {
        {dir / "lib/+pkg/sub", {1, 0, 0, 1}}, {dir / "lib", {1, 0, 0, 1}},
        {dir / "lib/", {1, 0, 0, 1}},         {dir / "library", {0, 0, 1, 1}},
        {dir / "elsewhere", {0, 0, 0, 1}},    {"/", {0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        auto freshManager = std::make_shared<PathManager>(manager->GetSearchPath());
        const vexa::testing::ScopedPathManager scoped(freshManager);
        manager = freshManager;
        NoOperation operation;
        fl::ustring folder = u(c.folder);
        operation.MarkDirOutOfDate(folder);
        EXPECT_EQ(notified(), c.expected) << c.folder;
        EXPECT_EQ(manager->GetNotificationCount(), 1u) << c.folder;
        EXPECT_EQ(operation.GetStatus().code, 1) << c.folder;
    }
}

TEST_F(FolderNotification, PatternNotifiesItsFolderAndRewritesTheArgument) {
    NoOperation operation;
    fl::ustring pattern = u(dir / "lib//+pkg/*.m");
    operation.MarkDirOutOfDate(pattern);
    EXPECT_EQ(pattern, u(dir / "lib/+pkg"));
    EXPECT_EQ(notified(), (std::vector<std::size_t>{1, 0, 0, 1}));
}

TEST_F(FolderNotification, RelativeFolderIsTakenFromTheCurrentFolder) {
    const vexa::testing::ScopedCurrentFolder current(dir.path() / "tools");
    NoOperation operation;
    fl::ustring folder = u"../lib/+pkg";
    operation.MarkDirOutOfDate(folder);
    // ".." leaves tools: the folder is below lib, not below tools.
    EXPECT_EQ(notified(), (std::vector<std::size_t>{1, 0, 0, 1}));
    EXPECT_EQ(folder, u"../lib/+pkg");
}

TEST_F(FolderNotification, TooLongFolderIsAnErrorAndNotifiesNothing) {
    const std::string prefix = dir / "lib/";
    NoOperation operation;
    fl::ustring tooLong = u(prefix) + fl::ustring(4353 - prefix.size(), u'x');
    ASSERT_EQ(tooLong.size(), 4353u);
    operation.MarkDirOutOfDate(tooLong);
    EXPECT_EQ(manager->GetNotificationCount(), 0u);
    EXPECT_EQ(operation.GetStatus().code, 2);
    EXPECT_EQ(core::detail::GetID(operation.GetStatus().exception), "VEXA:FILE:PATHMAX");

    NoOperation atLimit;
    fl::ustring longest = u(prefix) + fl::ustring(4352 - prefix.size(), u'x');
    atLimit.MarkDirOutOfDate(longest);
    EXPECT_EQ(manager->GetNotificationCount(), 1u);
    EXPECT_EQ(atLimit.GetStatus().code, 1);
}

TEST_F(FolderNotification, FolderThatCannotBeAbsolutizedIsDroppedSilently) {
    RecordCapture capture("vexa::io::filesystem");
    const vexa::testing::ScopedLogLevels levels(log::caughtErrorLevel);
    NoOperation operation;
    fl::ustring empty;
    operation.MarkDirOutOfDate(empty);
    EXPECT_EQ(manager->GetNotificationCount(), 0u);
    EXPECT_TRUE(capture.records().empty());
    EXPECT_EQ(operation.GetStatus().code, 1);
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
    std::filesystem::create_directories(dir.path() / "tools/+new");
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

} // namespace
