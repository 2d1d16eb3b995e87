#include <Quarrow/PathManagement/PathManager.hpp>
#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <host/EngineDispatcher.hpp>
#include <host/HostArray.hpp>
#include <host/Standalone.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <foundation/core/except/Exception.hpp>

#include "CurrentFolder.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

#include <memory>

namespace {

namespace cwf = Quarrow::current_working_folder;
using foundation::core::except::Exception;
using foundation::core::except::IInternalException;

TEST(CurrentFolder, Absolutize) {
    const vexa::testing::CurrentFolder inside("/tmp");
    const auto& folder = cwf::GetCurrentWorkingFolder();
    struct Case {
        fl::ustring text;
        fl::ustring iri;
    };
    const Case cases[] = {
        {u"/data/x.csv", u"file:///data/x.csv"},
        {u"x.csv", u"file:///tmp/x.csv"},
        {u"C:x", u"file:///tmp/C:x"},           // a drive letter is no scheme
        {u"notes:v2", u"file:///tmp/notes:v2"}, // nor a colon without "//"
        {u"https://example.com/a", u"https://example.com/a"},
        {u"c://x", u"file:///tmp/c://x"}, // one letter is a drive, not a scheme
        {u"Svn+SSH.2-x://h/a", u"svn+ssh.2-x://h/a"},
        {u"9p://x", u"file:///tmp/9p://x"}, // a scheme starts with a letter
        {u"", u"file:///tmp"},              // the folder part of a bare name
    };
    for (const auto& c : cases)
        EXPECT_EQ(folder.absolutize(c.text).toString(), c.iri) << fl::i18n::to_string(c.text);
    EXPECT_THROW(folder.absolutize(u"http://h:99999/x"), cwf::FailedToAbsolutizeException);
    EXPECT_EQ(folder.getPath(), u"/tmp");
    EXPECT_EQ(folder.get().getLocation().toString(), u"file:///tmp");
}

TEST(HostArrays, ValuesAndReferences) {
    HostArray* flag = createLogicalScalar(true);
    EXPECT_EQ(flag->kind(), HostArray::Kind::Logical);
    EXPECT_TRUE(flag->logicalValue());
    EXPECT_THROW(flag->text(), Exception<IInternalException>);
    matrix::destroyArray(flag);

    matrix::ArrayRef narrow = matrix::create(std::string("caf\xC3\xA9 \xFF"));
    EXPECT_EQ(narrow->text(), u"caf\u00e9 \xDCFF");
    EXPECT_EQ(narrow->numberOfElements(), 6u);
    EXPECT_THROW(narrow->logicalValue(), Exception<IInternalException>);

    matrix::ArrayRef shared = narrow;
    EXPECT_EQ(shared->references(), 2);
    HostArray* raw = to_vexa(std::move(shared));
    EXPECT_FALSE(shared);
    EXPECT_EQ(raw->references(), 2);
    matrix::destroyArray(raw);
    EXPECT_EQ(narrow->references(), 1);
}

// The first item of that name in the current folder, then along the search path in order.
TEST(FindFirstFileName, CurrentFolderThenSearchPath) {
    vexa::testing::TempDir dir;
    dir.make({"here/", "one/", "two/", "two/sub/", "one/pkg/", "here/local.m", "one/local.m",
              "one/first.m", "two/first.m", "two/sub/deep.m", "two/broken.m",
              "one/broken.m -> missing"});
    const vexa::testing::CurrentFolder inside(dir / "here");
    const auto previous = EngineDispatcher::getDispatcher().SetCurrentPathManager(
        std::make_shared<Quarrow::PathManagement::PathManager>(std::vector<fl::ustring>{
            vexa::testing::u(dir / "one"), vexa::testing::u(dir / "two")}));
    const struct {
        std::string name;
        std::string found; // in the temporary folder; "" for nothing
    } cases[] = {
        {"local.m", "here/local.m"},
        {"first.m", "one/first.m"},
        {"sub/deep.m", "two/sub/deep.m"},
        {"broken.m", "two/broken.m"}, // a link that leads nowhere is no item
        {"pkg", "one/pkg"},           // a folder is one
        {"none.m", ""},
        {"", ""},
        {dir / "one/first.m", ""}, // a path, not a name
    };
    for (const auto& c : cases) {
        fl::ustring out = u"stale";
        svFindFirstFileNameW(vexa::testing::u(c.name), false, out);
        EXPECT_EQ(vexa::testing::utf8(out), c.found.empty() ? "" : dir / c.found) << c.name;
    }
    // A folder the storage layer cannot look into holds nothing, and its failure is not left
    // for a later report.
    {
        const vexa::testing::ScopedStorageSystem storage(
            {vexa::testing::faultyFiles(vexa::testing::FaultyProvider::Operation::Probe,
                                        vexa::testing::vfs::PermissionDenied)});
        fl::ustring out;
        svFindFirstFileNameW(u"local.m", false, out);
        EXPECT_EQ(out, u"");
        EXPECT_FALSE(virtualfileio::ExceptionContextHandler::PendingContext());
    }
    EngineDispatcher::getDispatcher().SetCurrentPathManager(previous);
}

} // namespace
