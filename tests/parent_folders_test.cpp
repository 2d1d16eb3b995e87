#include <vexa/io/filesystem/core/parent_folders.hpp>

#include <foundation/storage/vfs/Exists.hpp>

#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = vexa::testing::vfs;
using vexa::testing::faultyFiles;
using vexa::testing::ScopedStorageSystem;
using vexa::testing::TempDir;
using vexa::testing::u;
using Op = vexa::testing::FaultyProvider::Operation;

vfs::StorageSystemReference host() {
    return Quarrow::VexaStorageSystem::GetStorageSystemReference();
}

// Only a parent that is not there is made, with all it needs above it; a file standing
// where it should be is left for the operation that needs the folder.
TEST(CreateParentIfNeeded, MakesOnlyAMissingParent) {
    TempDir dir;
    dir.make({"file", "folder/"});
    const std::pair<std::string, std::string> cases[] = {
        {"a/b/c/item.txt", "a/b/c"},
        {"folder/item", "folder"},
        {"folder/x/", "folder"},
        {"file/item", "file"},
        {"n/m/", "n"},
    };
    for (const auto& [item, parent] : cases) {
        EXPECT_NO_THROW(core::createParentIfNeeded(vfs::AbsoluteIRI(u(dir / item)), host()))
            << item;
        EXPECT_TRUE(std::filesystem::exists(dir / parent)) << item;
        EXPECT_FALSE(std::filesystem::exists(dir / item)) << item;
    }
    EXPECT_TRUE(std::filesystem::is_regular_file(dir / "file"));
}

// A root asks nothing; a parent that is there is not made again; the storage layer's
// failures reach the caller as they are.
TEST(CreateParentIfNeeded, AsksOnlyWhatItNeeds) {
    TempDir dir;
    dir.make({"folder/"});
    {
        const ScopedStorageSystem storage({faultyFiles(Op::Probe, vfs::IOError)});
        EXPECT_NO_THROW(core::createParentIfNeeded(vfs::AbsoluteIRI(u"file:///"), host()));
        EXPECT_NO_THROW(core::createParentIfNeeded(vfs::AbsoluteIRI(u"/"), host()));
        try {
            core::createParentIfNeeded(vfs::AbsoluteIRI(u(dir / "folder/x")), host());
            ADD_FAILURE() << "the probe's failure was swallowed";
        } catch (const vfs::Exception& error) {
            EXPECT_EQ(error.getErrorCode(), vfs::IOError);
        }
    }
    const ScopedStorageSystem storage({faultyFiles(Op::CreateFolder, vfs::ReadOnlyProvider)});
    EXPECT_NO_THROW(core::createParentIfNeeded(vfs::AbsoluteIRI(u(dir / "folder/x")), host()));
    EXPECT_THROW(core::createParentIfNeeded(vfs::AbsoluteIRI(u(dir / "new/x")), host()),
                 vfs::Exception);
}

} // namespace
