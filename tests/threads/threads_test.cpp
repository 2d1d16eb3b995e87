// Behaviour that depends on several threads. These tests also run under ThreadSanitizer
// (label "threads").

#include <vexa/io/filesystem/core/existence.hpp>
#include <vexa/io/filesystem/core/file_list_creator.hpp>
#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/log.hpp>
#include <vexa/io/filesystem/core/packages.hpp>
#include <vexa/io/filesystem/core/result_handler.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/IODevice.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "HostState.hpp"
#include "HttpServer.hpp"
#include "Operations.hpp"
#include "Packages.hpp"
#include "RemoteStorage.hpp"
#include "TempDir.hpp"
#include "Threads.hpp"
#include "Vexafs.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <set>
#include <vector>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = foundation::storage::vfs;
using virtualfileio::ExceptionContextHandler;

constexpr int threadCount = 16;

// Must be the first use of the logger in this process: the test binary runs each test in
// its own process under ctest.
TEST(Threads, FirstUseOfTheLoggerFromManyThreadsGivesOneLogger) {
    std::vector<foundation::log::basic_diagnostic_logger*> seen(threadCount);
    vexa::testing::onThreads(threadCount, [&](int i) { seen[i] = &core::log::getLogger(); });
    EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 1u);
    EXPECT_EQ(seen[0]->channel(), "vexa::io::filesystem");
}

TEST(Threads, StatusCopyOutlivesItsOperationOnAnotherThread) {
    core::Status copy;
    {
        vexa::testing::NoOperation operation;
        operation.SetVFSErrorStatus(vfs::Exception(vfs::PermissionDenied, u"/p"), u"/p");
        copy = operation.GetStatus();
    }
    std::vector<std::string> ids(threadCount);
    vexa::testing::onThreads(threadCount, [&](int i) {
        const core::Status mine = copy; // shares the exception
        ids[i] = core::detail::GetID(mine.exception);
    });
    for (const auto& id : ids)
        EXPECT_EQ(id, "VEXA:virtualfilesystem:permissionDenied");
}

TEST(Threads, PendingContextsBelongToTheirThread) {
    std::vector<std::string> ids(threadCount);
    std::barrier allSet(threadCount);
    vexa::testing::onThreads(threadCount, [&](int i) {
        const int code = i % 12;
        ExceptionContextHandler::SetPendingContext(vfs::makeContext("op", u"/p", code));
        allSet.arrive_and_wait(); // every thread has one pending now
        vexa::testing::NoOperation operation;
        operation.SetErrorExceptionContext(u"/p", u"");
        ids[i] = core::detail::GetID(operation.GetStatus().exception);
    });
    for (int i = 0; i < threadCount; ++i)
        EXPECT_EQ(ids[i], "VEXA:virtualfilesystem:" + std::string(vfs::errorMessageName(i % 12)));
}

TEST(Threads, TraceDepthIsPerThread) {
    foundation::log::RecordCapture capture("vexa::io::filesystem");
    const vexa::testing::ScopedLogLevels levels(core::log::traceLevel);
    std::atomic<int> wrongDepth = 0;
    vexa::testing::onThreads(threadCount, [&](int) {
        for (int round = 0; round < 50; ++round) {
            const core::log::TraceScope outer("outer", "t.cpp", 1);
            const core::log::TraceScope inner("inner", "t.cpp", 2);
            if (core::log::traceDepth() != 2)
                ++wrongDepth;
        }
    });
    EXPECT_EQ(wrongDepth, 0);
    EXPECT_EQ(capture.records().size(), static_cast<std::size_t>(threadCount * 50 * 4));
}

TEST(Threads, NotificationsFromManyThreadsAreAllCounted) {
    auto manager = std::make_shared<Quarrow::PathManagement::PathManager>(
        std::vector<fl::ustring>{u"/tmp", u"/"});
    const vexa::testing::ScopedPathManager installed(manager);
    vexa::testing::onThreads(threadCount, [&](int i) {
        vexa::testing::NoOperation operation;
        fl::ustring folder = u"/tmp/folder" + fl::i18n::to_ustring(std::to_string(i));
        operation.MarkDirOutOfDate(folder);
        if (i == 0)
            operation.RequestPathRefresh();
    });
    EXPECT_EQ(manager->GetNotificationCount(), static_cast<std::size_t>(threadCount));
    for (const auto& entry : manager->GetEntries())
        EXPECT_EQ(entry.notifications, static_cast<std::size_t>(threadCount));
}

// Queries on many threads while the host's storage system is replaced and given providers:
// every query sees one whole system, old or new, and the answers do not change.
TEST(Threads, StorageQueriesWhileTheStorageSystemChanges) {
    const vexa::testing::TempDir dir;
    dir.make({"file", "dangling -> missing"});
    const vfs::AbsoluteIRI file = vexa::testing::iriOf(dir / "file");
    const vfs::AbsoluteIRI dangling = vexa::testing::iriOf(dir / "dangling");
    const auto original = vexa::testing::hostStorage();
    std::atomic<int> wrong = 0;
    vexa::testing::onThreads(threadCount, [&](int i) {
        for (int round = 0; round < 50; ++round) {
            if (i == 0) {
                auto system = std::make_shared<vfs::StorageSystem>();
                system->addProvider(original->findProvider("file"));
                Quarrow::VexaStorageSystem::SetStorageSystemReference(
                    vfs::StorageSystemReference(system));
                system->addProvider(original->findProvider("file"));
                continue;
            }
            wrong += core::getExtendedExistenceType(file, false) != 0;
            wrong += core::getExtendedExistenceType(dangling, true) != 3;
        }
    });
    Quarrow::VexaStorageSystem::SetStorageSystemReference(original);
    EXPECT_EQ(wrong, 0);
}

// Folders listed and claimed on many threads while packages are added: every listing is
// whole, and the nearest root claims.
TEST(Threads, FoldersListedAndClaimedWhilePackagesAreAdded) {
    const vexa::testing::TempDir dir;
    dir.make({"pkg/", "pkg/sub/", "pkg/sub/a.m"});
    const vexa::testing::ScopedPackageRegistry scoped(true);
    const vfs::Folder sub = vexa::testing::folderAt(dir / "pkg/sub");
    std::atomic<int> wrong = 0;
    vexa::testing::onThreads(threadCount, [&](int i) {
        for (int round = 0; round < 20; ++round) {
            if (round == i % 4)
                core::GetCurrentPackageRegistry()->AddPackage(
                    {i % 2 ? u"outer" : u"inner",
                     fl::i18n::to_ustring(dir / (i % 2 ? "" : "pkg"))});
            core::FileListCreator creator;
            creator.AddFiles(fl::i18n::to_ustring(dir / "pkg/*"), boost::none, true, true, false);
            wrong += creator.GetNameList().size() != 2 || creator.GetIRIList().size() != 2;
            const auto claimed = core::GetClaimingPackage(sub);
            // A thread that has added the inner package sees it claim, whatever the others do.
            wrong += i % 2 == 0 && round >= i % 4 && (!claimed || claimed->name != u"inner");
        }
    });
    EXPECT_EQ(wrong, 0);
}

// Remote looks from many threads at once: each answer right, each thread on a connection of
// its own (nginx numbers them) that it keeps from one request to the next.
TEST(Threads, RemoteLooksKeepOneConnectionPerThread) {
    const vexa::testing::RemoteStorage remote;
    const auto connection = [&] {
        vfs::IODevice body(vexa::testing::fileAt(remote.server().url("/connection")));
        char number[32];
        return std::string(number, body.read(number));
    };
    std::vector<std::string> first(threadCount), second(threadCount);
    std::atomic<int> wrong = 0;
    vexa::testing::onThreads(threadCount, [&](int i) {
        first[i] = connection();
        for (const auto& [path, type] :
             {std::pair{"/files/notes.txt", 0}, {"/files/", 2}, {"/status/404", 6}})
            if (core::getExtendedExistenceType(vfs::AbsoluteIRI(remote.url(path)), false) != type)
                ++wrong;
        second[i] = connection();
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(std::set(first.begin(), first.end()).size(), std::size_t{threadCount});
}

// vexafs copying a tree eight files at a time, from a disk and from a web server: its workers
// share the progress, the storage system and the first failure (a sanitizer build of
// vexafs exits 66 on a race).
TEST(Threads, VexafsCopiesWithEightJobs) {
    const vexa::testing::HttpServer server;
    const vexa::testing::TempDir dir;
    dir.make({"tree/"});
    for (int folder = 0; folder < 6; ++folder) {
        const std::string name = "tree/" + std::to_string(folder);
        dir.make({name + "/"});
        for (int i = 0; i < 10; ++i)
            dir.make({name + "/" + std::to_string(i)});
    }
    for (const std::string& source : {dir / "tree", server.url("/files/")}) {
        const auto copied = vexa::testing::vexafs(
            {"cp", "--recursive", "--jobs", "8", source, dir / "copy", "--json"});
        EXPECT_EQ(copied.exitCode, 0) << source << copied.err;
        std::filesystem::remove_all(dir / "copy");
    }
}

} // namespace
