#include <foundation/storage/vfs/Exception.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <fl/i18n.hpp>

#include "TempDir.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <tuple>

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace vfs = foundation::storage::vfs;
using virtualfileio::ExceptionContextHandler;

// Real failures of real system calls, raised the way a provider raises them: the code, the
// exception's context and the pending context agree.
TEST(StorageErrors, RealFailuresLeaveTheirContextPending) {
    vexa::testing::TempDir dir;
    dir.makeFolders({"full"});
    dir.makeFile("full/file");
    using Call = int (*)(const char*);
    const Call rmdir = [](const char* p) { return ::rmdir(p); };
    const Call mkdir = [](const char* p) { return ::mkdir(p, 0755); };
    const std::tuple<std::string, Call, int, const char*> cases[] = {
        {dir / "full", rmdir, 0, "folderNotEmpty"},
        {dir / "full", mkdir, 3, "resourceAlreadyExists"},
        {dir / "full/file/x", mkdir, 4, "resourceNotFound"},
        {dir / "none/x", mkdir, 1, "resourceNotFound"},
    };
    for (const auto& [name, call, code, message] : cases) {
        ASSERT_NE(call(name.c_str()), 0) << name;
        const fl::ustring path = fl::i18n::to_ustring(name);
        try {
            vfs::throwFromErrno(errno, "op", path);
        } catch (const vfs::Exception& error) {
            EXPECT_EQ(error.getErrorCode(), code) << name;
            EXPECT_EQ(error.getPath(), path);
            ASSERT_EQ(error.getContexts().size(), 1u);
            EXPECT_EQ(error.getContexts()[0].operation(), "op");
        }
        const auto pending = ExceptionContextHandler::PendingContext();
        ASSERT_TRUE(pending) << name;
        EXPECT_EQ(pending->message().name(), message);
        EXPECT_EQ(pending->location(), path);
        ExceptionContextHandler::ClearPendingContext();
    }
}

} // namespace
