#include <vexa/io/filesystem/core/parent_folders.hpp>

#include <foundation/storage/vfs/Exists.hpp>

#include "RemoteStorage.hpp"
#include "S3Server.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = vexa::testing::vfs;
using vexa::testing::failure;
using vexa::testing::faultyFiles;
using vexa::testing::hostStorage;
using vexa::testing::iriOf;
using vexa::testing::ScopedStorageSystem;
using vexa::testing::TempDir;
using vexa::testing::utf8;
using Op = vexa::testing::FaultyProvider::Operation;

// Only a parent that is not there is made, with all it needs above it; a file standing
// where it should be is left for the operation that needs the folder. A root asks nothing,
// a parent that is there is not made again, and the storage layer's failures reach the
// caller as they are.
TEST(CreateParentIfNeeded, MakesOnlyAMissingParent) {
    TempDir dir;
    dir.make({"file", "folder/"});
    const auto parentOf = [](const std::string& item) {
        return failure([&] { core::createParentIfNeeded(iriOf(item), hostStorage()); });
    };
    const std::pair<std::string, std::string> cases[] = {
        {"a/b/c/item.txt", "a/b/c"},
        {"folder/item", "folder"},
        {"folder/x/", "folder"},
        {"file/item", "file"},
        {"n/m/", "n"},
    };
    for (const auto& [item, parent] : cases) {
        EXPECT_EQ(parentOf(dir / item), 100) << item;
        EXPECT_TRUE(std::filesystem::exists(dir / parent)) << item;
        EXPECT_FALSE(std::filesystem::exists(dir / item)) << item;
    }
    EXPECT_TRUE(std::filesystem::is_regular_file(dir / "file"));
    {
        // On a WebDAV share, made folder by folder as on a disk.
        const vexa::testing::RemoteShare share;
        const std::string work = share.server().content() + "/work";
        vexa::testing::fileAt(share.server().url("/work/file")).createFile();
        vexa::testing::folderAt(share.server().url("/work/folder")).createFolderRecursive();
        for (const auto& [item, parent] : cases) {
            EXPECT_EQ(parentOf(share.server().url("/work/" + item)), 100) << item;
            EXPECT_TRUE(std::filesystem::exists(work + "/" + parent)) << item;
            EXPECT_FALSE(std::filesystem::exists(work + "/" + item)) << item;
        }
        EXPECT_TRUE(std::filesystem::is_regular_file(work + "/file"));
    }
    {
        const ScopedStorageSystem storage({faultyFiles(Op::Probe, vfs::IOError)});
        EXPECT_EQ(parentOf("file:///"), 100);
        EXPECT_EQ(parentOf("/"), 100);
        EXPECT_EQ(parentOf(dir / "folder/x"), -vfs::IOError);
    }
    {
        // In a bucket, a marker for every folder made, so that each exists while empty.
        const vexa::testing::S3Storage s3;
        s3.make({"kept/"});
        for (const auto& [item, made] : std::vector<std::pair<std::string, std::string>>{
                 {"a/b/c.txt", "a/b/"}, {"kept/x", "kept/"}, {"a/b/d/", "a/b/"}, {"top", ""}}) {
            EXPECT_EQ(parentOf(utf8(s3.url(item))), 100) << item;
            EXPECT_EQ(vfs::exists(vfs::AbsoluteIRI(s3.url(made)), hostStorage()), 1) << item;
            EXPECT_EQ(vfs::exists(vfs::AbsoluteIRI(s3.url(item)), hostStorage()), 2) << item;
        }
        const auto cursor = s3.provider().listTree(vfs::AbsoluteIRI(s3.url("a/")));
        const auto markers = cursor->next();
        ASSERT_EQ(markers.size(), 1u);
        EXPECT_EQ(utf8(markers[0].name), "b");
    }
    const ScopedStorageSystem storage({faultyFiles(Op::CreateFolder, vfs::ReadOnlyProvider)});
    EXPECT_EQ(parentOf(dir / "folder/x"), 100);
    EXPECT_EQ(parentOf(dir / "new/x"), -vfs::ReadOnlyProvider);
}

} // namespace
