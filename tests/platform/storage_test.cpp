// The storage layer on real items: the file provider behind exists, existsExtended, File,
// Folder and IODevice, and the storage system that finds providers by scheme.

#include <foundation/core/except/IException.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/IODevice.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"
#include "Unprivileged.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/optional/optional_io.hpp>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <tuple>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

namespace pt = boost::posix_time;
namespace vfs = foundation::storage::vfs;
namespace provider = foundation::storage::provider;
using ::testing::ElementsAre;
using vexa::testing::contentOf;
using vexa::testing::contextOf;
using vexa::testing::failure;
using vexa::testing::fileAt;
using vexa::testing::folderAt;
using vexa::testing::hostStorage;
using vexa::testing::iriOf;
using vexa::testing::outcome;
using vexa::testing::TempDir;
using vexa::testing::u;
using vfs::AbsoluteIRI;
using Op = vexa::testing::FaultyProvider::Operation;

class Storage : public ::testing::Test {
protected:
    Storage() { dir.makeItemsOfEveryKind(); }
    TempDir dir;
    const vfs::StorageSystemReference host = hostStorage();
};

// Each item looked at once; existsExtended tells the item itself, exists follows links. A
// link whose target runs through a file leads nowhere, as a dangling one does.
TEST_F(Storage, ExistenceOfRealItems) {
    dir.make({"viaFile -> file/x"});
    struct Case {
        std::string name;
        int extended, plain; // negative: the code thrown
    };
    const Case cases[] = {
        {"file", 0, 0},       {"fifo", 1, 0},      {"folder", 2, 1},  {"linkFile", 3, 0},
        {"linkFolder", 4, 1}, {"dangling", -9, 2}, {"loopA", -9, -9}, {"loopA/x", -9, -9},
        {"file/x", -4, 2},    {"missing", -1, 2},  {"folder/", 2, 1}, {"linkFolder/", 4, 1},
        {"viaFile", -9, 2},   {"file/", 0, 0}, // a trailing "/" is no segment: the file itself
    };
    for (const auto& c : cases) {
        const AbsoluteIRI location = iriOf(dir / c.name);
        EXPECT_EQ(outcome([&] { return vfs::existsExtended(location, host); }), c.extended)
            << c.name;
        EXPECT_EQ(outcome([&] { return vfs::exists(location, host); }), c.plain) << c.name;
        if (c.extended < 0) { // a failure names the native path
            EXPECT_EQ(contextOf([&] { vfs::existsExtended(location, host); })->location(),
                      u(dir / c.name));
        }
    }
    // IRIs that name no local item, and a scheme without a provider.
    for (const auto& [text, extended, plain] : std::vector<std::tuple<std::string, int, int>>{
             {"file://elsewhere/x", -1, 2}, {"mem://h/x", -11, -11}}) {
        EXPECT_EQ(outcome([&] { return vfs::existsExtended(iriOf(text), host); }), extended);
        EXPECT_EQ(outcome([&] { return vfs::exists(iriOf(text), host); }), plain);
    }
}

// A refused look is a failure, never "nothing there": from an unprivileged process.
TEST_F(Storage, RefusedLookIsPermissionDenied) {
    dir.make({"private/", "private/f"});
    ASSERT_EQ(::chmod((dir / "private").c_str(), 0700), 0);
    const AbsoluteIRI inside = iriOf(dir / "private/f");
    EXPECT_TRUE(vexa::testing::holdsUnprivileged([&] {
        return outcome([&] { return vfs::existsExtended(inside, host); }) == -2 &&
               outcome([&] { return vfs::exists(inside, host); }) == -2 &&
               failure([&] { vfs::IODevice{vfs::File(inside, host)}; }) == -2;
    }));
}

// What a fifo opened for reading before any writer gives to a read made once a writer has
// it open: the writer, a child process, writes "late" a moment after the read has begun,
// and is gone when this returns.
std::string readOfLateWriter(const std::string& fifo) {
    vfs::IODevice device{fileAt(fifo)};
    const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (writer < 0)
        return "no writer";
    const pid_t child = ::fork();
    if (child == 0) {
        const timespec pause{0, 200'000'000};
        ::nanosleep(&pause, nullptr);
        ::_exit(::write(writer, "late", 4) == 4 ? 0 : 1);
    }
    ::close(writer); // the child's copy is the one writer left, so the read cannot outlive it
    std::vector<char> buffer(16);
    std::string got;
    try {
        got.assign(buffer.data(), device.read(buffer));
    } catch (const vfs::Exception& error) {
        got = "failed with " + std::to_string(error.getErrorCode());
    }
    if (child > 0)
        ::waitpid(child, nullptr, 0);
    return got;
}

// A file's attributes, its extended attributes (those of the user namespace only) and its
// content, also through a link.
TEST_F(Storage, FileAttributesAndContent) {
    const std::string file = dir / "file";
    ASSERT_EQ(::truncate(file.c_str(), 5), 0);
    const timespec times[] = {{0, UTIME_OMIT}, {1614834367, 123456789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    ASSERT_EQ(::setxattr(file.c_str(), "user.http.contentType", "text/csv", 8, 0), 0);
    ASSERT_EQ(::setxattr(file.c_str(), "user.empty", "", 0, 0), 0);
    ASSERT_EQ(::setxattr(file.c_str(), "trusted.hidden", "x", 1, 0), 0);
    const pt::ptime expected = pt::time_from_string("2021-03-04 05:06:07.123456");
    for (const char* name : {"file", "linkFile"}) {
        SCOPED_TRACE(name);
        const auto attributes = fileAt(dir / name).getAttributes();
        EXPECT_TRUE(attributes.isWritable());
        EXPECT_EQ(attributes.getLastModified(), expected);
        EXPECT_EQ(attributes.getSize(), 5u);
        const auto extended = fileAt(dir / name).getExtendedAttributes();
        EXPECT_THAT(extended.all(),
                    ElementsAre(std::pair{"empty", ""}, std::pair{"http.contentType", "text/csv"}));
        EXPECT_EQ(extended.getOptAttributeAs<std::string>("http.contentType"),
                  std::string("text/csv"));
        EXPECT_FALSE(extended.getOptAttributeAs<int>("http.contentType"));
    }
    EXPECT_EQ(folderAt(dir / "linkFolder").getAttributes().getLastModified(),
              folderAt(dir / "folder").getAttributes().getLastModified());
    EXPECT_TRUE(fileAt(dir / "folder").getExtendedAttributes().all().empty());
    for (const auto& [name, code] : std::vector<std::pair<std::string, int>>{
             {"missing", -1}, {"dangling", -9}, {"loopA", -9}, {"file/x", -4}}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(failure([&] { fileAt(dir / name).getAttributes(); }), code);
        EXPECT_EQ(failure([&] { folderAt(dir / name).getAttributes(); }), code);
        EXPECT_EQ(failure([&] { fileAt(dir / name).getExtendedAttributes(); }), code);
    }

    std::vector<char> buffer(16);
    vfs::IODevice device{fileAt(dir / "file")};
    EXPECT_EQ(device.read(buffer), 5u);
    EXPECT_EQ(device.read(buffer), 0u);
    // A fifo opens without a writer and reads as empty; once a writer has it open, a read
    // waits for what it writes. A folder cannot be read.
    EXPECT_EQ(vfs::IODevice(fileAt(dir / "fifo")).read(buffer), 0u);
    EXPECT_EQ(readOfLateWriter(dir / "fifo"), "late");
    EXPECT_EQ(failure([&] { vfs::IODevice{fileAt(dir / "folder")}; }), -10);
    EXPECT_EQ(failure([&] { vfs::IODevice{fileAt(dir / "missing")}; }), -1);
}

TEST_F(Storage, FilesAndFoldersMadeAndListed) {
    const vfs::Folder folder = folderAt(dir / "folder");
    for (const char* name : {"a.txt", "b.csv", "c d.txt", "?x"})
        EXPECT_EQ(failure([&] { vfs::File(folder, u(name)).createFile(); }), 100) << name;
    EXPECT_EQ(failure([&] { vfs::File(folder, u"a.txt").createFile(); }), -3);
    EXPECT_EQ(failure([&] { vfs::File(folder, u"a/b").createFile(); }), -1); // no such name
    EXPECT_THAT(folder.listAll(u""), ElementsAre(u"?x", u"a.txt", u"b.csv", u"c d.txt"));
    EXPECT_THAT(folder.listAll(u"*.txt"), ElementsAre(u"a.txt", u"c d.txt"));
    EXPECT_THAT(folder.listAll(u"?.*"), ElementsAre(u"a.txt", u"b.csv"));
    EXPECT_THAT(folder.listAll(u"*x*"), ElementsAre(u"?x", u"a.txt", u"c d.txt"));
    vfs::File(folder, u"b.csv").removeFile();
    EXPECT_EQ(failure([&] { vfs::File(folder, u"b.csv").removeFile(); }), -1);
    EXPECT_EQ(failure([&] { folderAt(dir / "file").listAll(u""); }), -4);
    EXPECT_EQ(failure([&] { folderAt(dir / "missing").listAll(u""); }), -1);

    // A large folder comes in several pages, each entry in one of them; a filter matching a
    // few names finds them whichever pages they are in, and one matching none finds nothing.
    const vfs::Folder large = folderAt(dir / "large");
    large.createFolderRecursive();
    std::vector<fl::ustring> names;
    for (int i = 0; i < 3000; ++i) {
        char number[8];
        std::snprintf(number, sizeof number, "%04d", i);
        names.push_back(u"n_" + u(number) + u"_" + fl::ustring(90, u'x'));
        vfs::File(large, names.back()).createFile();
    }
    const auto cursor = hostStorage()->findProvider("file")->listPages(large.getLocation(), u"");
    std::size_t pages = 0, listed = 0;
    for (auto page = cursor->next(); !page.empty(); page = cursor->next(), ++pages)
        listed += page.size();
    EXPECT_GT(pages, 1u);
    EXPECT_EQ(listed, names.size());
    EXPECT_EQ(large.listAll(u""), names);
    EXPECT_THAT(large.listAll(u"n_?000_*"), ElementsAre(names[0], names[1000], names[2000]));
    EXPECT_THAT(large.listAll(u"n_?000"), ElementsAre());
    {
        // A store that breaks off after the first page: the listing fails as a whole.
        const vexa::testing::ScopedStorageSystem breaking(
            {vexa::testing::faultyFiles(Op::LaterPage, vfs::IOError)});
        EXPECT_EQ(failure([&] { folderAt(dir / "large").listAll(u""); }), -vfs::IOError);
        EXPECT_EQ(failure([&] { folderAt(dir / "large").listEntries(u"n_1*"); }), -vfs::IOError);
    }

    // A chain made at once; what is there already is kept; what stands in the way fails.
    const struct {
        std::string name;
        int result;
    } folders[] = {{"new/a/b/c", 100}, {"new/a", 100},   {"linkFolder/x/y", 100},
                   {"file", -3},       {"file/x/y", -4}, {"dangling", -3}};
    for (const auto& f : folders)
        EXPECT_EQ(failure([&] { folderAt(dir / f.name).createFolderRecursive(); }), f.result)
            << f.name;
    EXPECT_EQ(vfs::exists(iriOf(dir / "new/a/b/c"), host), vfs::existence::folder);
    EXPECT_EQ(vfs::exists(iriOf(dir / "folder/x/y"), host), vfs::existence::folder);
}

std::set<std::string> namesIn(const TempDir& dir) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        names.insert(entry.path().filename().string());
    return names;
}

// New content through a write stream, ended each way a stream ends. Whatever the ending, the
// item holds the old content or all of the new, and the folder gains no name but the item's.
TEST(WriteStream, EndedEachWay) {
    enum End { Close, Abort, Destroy, FullDisk, Race };
    using enum vfs::WriteMode;
    const struct {
        std::string name;
        vfs::WriteMode mode;
        End end;
        int result;          // 100, or minus the code thrown
        std::string content; // afterwards, where the name leads
    } cases[] = {
        {"new", create, Close, 100, "new content"},
        {"new", create, Abort, 100, "<nothing>"},
        {"new", create, Destroy, 100, "<nothing>"},
        {"new", create, FullDisk, -8, "<nothing>"},
        {"new", create, Race, -3, "theirs"}, // made by another while the stream was open
        {"file", create, Close, -3, "x"},
        {"dangling", create, Close, -3, "<nothing>"},
        {"missing/new", create, Close, -1, "<nothing>"},
        {"file", replace, Close, 100, "new content"},
        {"linkFile", replace, Close, 100, "new content"}, // written through, still a link
        {"new", replace, Close, 100, "new content"},
        {"file", replace, Abort, 100, "x"},
        {"file", replace, Destroy, 100, "x"},
        {"file", replace, FullDisk, -8, "x"},
        {"dangling", replace, Close, -9, "<nothing>"},
        {"folder", replace, Close, -10, "<nothing>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name + (c.mode == create ? " created" : " replaced") + ", ending " +
                     std::to_string(c.end));
        TempDir dir;
        dir.makeItemsOfEveryKind();
        ASSERT_EQ(::chmod((dir / "file").c_str(), 0640), 0);
        const vexa::testing::ScopedStorageSystem storage(
            c.end == FullDisk ? vexa::testing::Providers{vexa::testing::faultyFiles(
                                    Op::Write, vfs::NoSpaceLeft, 2)}
                              : vexa::testing::Providers{});
        auto names = namesIn(dir);
        EXPECT_EQ(failure([&] {
                      vfs::WriteStream stream = fileAt(dir / c.name).openForWriting(c.mode);
                      for (const std::string piece : {"new ", "con", "tent"})
                          stream.write(piece.data(), piece.size());
                      if (c.end == Race)
                          std::ofstream(dir / c.name) << "theirs";
                      if (c.end == Abort)
                          stream.abort();
                      if (c.end != Destroy && c.end != Abort)
                          stream.close();
                  }),
                  c.result);
        EXPECT_EQ(contentOf(dir / c.name), c.content);
        if (c.content != "<nothing>" && c.content != "x")
            names.insert(c.name);
        EXPECT_EQ(namesIn(dir), names) << "a name was left behind or lost";
        struct stat st {};
        ASSERT_EQ(::lstat((dir / "linkFile").c_str(), &st), 0);
        EXPECT_TRUE(S_ISLNK(st.st_mode));
        ASSERT_EQ(::stat((dir / "file").c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 07777, 0640u) << "a replaced file keeps its mode";
    }
}

// Moves within the provider, never over an item; folders removed only when empty. A failure
// changes nothing.
TEST_F(Storage, RenamedAndRemoved) {
    dir.make({"full/", "full/inside", "empty/"});
    const struct {
        std::string from, to;
        int result;
    } moves[] = {
        {"file", "moved", 100},   {"folder", "moved/", 100}, {"file", "empty", -3},
        {"file", "linkFile", -3}, {"fifo", "dangling", -3},  {"missing", "x", -1},
        {"file", "none/x", -1},
    };
    for (const auto& m : moves) {
        const auto before = namesIn(dir);
        EXPECT_EQ(failure([&] { fileAt(dir / m.from).rename(iriOf(dir / m.to)); }), m.result)
            << m.from << " to " << m.to;
        if (m.result == 100) {
            EXPECT_FALSE(before.contains("moved"));
            EXPECT_TRUE(namesIn(dir).contains("moved"));
            EXPECT_FALSE(namesIn(dir).contains(m.from));
            fileAt(dir / "moved").rename(iriOf(dir / m.from));
        }
        EXPECT_EQ(namesIn(dir), before);
    }
    // Another store is another provider: a copy, which the caller decides on.
    EXPECT_EQ(failure([&] { fileAt(dir / "file").rename(iriOf("http://127.0.0.1:9/x")); }), -11);

    const std::pair<std::string, int> removals[] = {
        {"full", -vfs::FolderNotEmpty},
        {"file", -4},
        {"linkFolder", -4},
        {"missing", -1},
        {"empty", 100},
    };
    for (const auto& [name, result] : removals) {
        EXPECT_EQ(failure([&] { folderAt(dir / name).removeFolder(); }), result) << name;
        EXPECT_EQ(std::filesystem::exists(std::filesystem::symlink_status(dir / name)),
                  result != 100 && name != "missing")
            << name;
    }
}

// A provider that implements only the look and the listings, and says no more than "nothing"
// about anything; below "/refused" it fails by throwing alone, leaving nothing pending
// itself, and so does the second page of "/pages".
struct LookOnlyProvider : provider::StorageProvider {
    std::vector<std::string> schemes() const override { return {"mem"}; }
    provider::ItemStatus look(const AbsoluteIRI& at, provider::Facts) const override {
        refuseBelow(at, u"mem://h/refused");
        return {};
    }
    std::unique_ptr<provider::FolderCursor> listPages(const AbsoluteIRI& at,
                                                      const fl::ustring&) const override {
        refuseBelow(at, u"mem://h/refused");
        return std::make_unique<OnePageThenRefused>(*this, at);
    }
    std::unique_ptr<provider::FolderCursor> listTree(const AbsoluteIRI& at) const override {
        return listPages(at, u"");
    }

    void refuseBelow(const AbsoluteIRI& at, fl::ustring_view prefix) const {
        if (at.toString().starts_with(prefix))
            throw vfs::Exception(vfs::PermissionDenied, describe(at));
    }
    struct OnePageThenRefused : provider::FolderCursor {
        OnePageThenRefused(const LookOnlyProvider& owner, AbsoluteIRI at)
            : owner(owner), at(std::move(at)) {}
        std::span<provider::FolderEntry> next() override {
            if (pages++ > 0)
                owner.refuseBelow(at, u"mem://h/pages");
            return pages == 1 ? std::span(page) : std::span<provider::FolderEntry>();
        }
        const LookOnlyProvider& owner;
        AbsoluteIRI at;
        int pages = 0;
        std::vector<provider::FolderEntry> page{{u"a", provider::ItemType::File, {}, {}, {}}};
    };
};

TEST(StorageSystem, ProvidersByScheme) {
    auto system = std::make_shared<vfs::StorageSystem>();
    const vfs::StorageSystemReference storage(system);
    const auto files = vexa::testing::ScopedStorageSystem::real("file");
    system->addProvider(files);
    auto faulty = std::make_shared<vexa::testing::FaultyProvider>(
        files, std::vector<std::string>{"file", "mem"});
    faulty->failing(Op::Probe, vfs::NoSpaceLeft);
    system->addProvider(faulty);
    EXPECT_THAT(system->schemes(), ElementsAre("file", "mem"));
    EXPECT_EQ(system->findProvider("file"), faulty);
    EXPECT_EQ(system->findProvider("http"), nullptr);
    EXPECT_EQ(outcome([&] { return vfs::exists(iriOf("/"), storage); }), -8);
    EXPECT_EQ(outcome([&] { return vfs::exists(iriOf("http://h/"), storage); }), -11);
    // A bare "nothing" is "not found"; what a provider does not implement is unsupported.
    system->addProvider(std::make_shared<LookOnlyProvider>());
    EXPECT_EQ(outcome([&] { return vfs::exists(iriOf("mem://h/x"), storage); }), 2);
    EXPECT_EQ(outcome([&] { return vfs::existsExtended(iriOf("mem://h/x"), storage); }), -1);
    EXPECT_EQ(failure([&] { vfs::File(iriOf("mem://h/x"), storage).createFile(); }), -11);
    EXPECT_EQ(failure([&] { vfs::Folder(iriOf("mem://h/x/y"), storage).createFolderRecursive(); }),
              -11);
    // What it only throws is reported as every failure is: its context pending, named by
    // what the storage system was asked.
    const AbsoluteIRI refused = iriOf("mem://h/refused");
    const std::pair<std::function<void()>, std::string> thrown[] = {
        {[&] { vfs::exists(refused, storage); }, "exists"},
        {[&] { vfs::existsExtended(refused, storage); }, "existsExtended"},
        {[&] { vfs::File(refused, storage).getAttributes(); }, "attributes"},
        {[&] { vfs::File(refused, storage).getExtendedAttributes(); }, "extendedAttributes"},
        {[&] { vfs::Folder(refused, storage).getAttributes(); }, "attributes"},
        {[&] { vfs::Folder(refused, storage).createFolderRecursive(); }, "createFolder"},
        {[&] { vfs::Folder(refused, storage).listAll(u""); }, "list"},
        {[&] { vfs::Folder(refused, storage).listPages(u"*"); }, "list"},
        {[&] { vfs::Folder(iriOf("mem://h/pages"), storage).listEntries(u""); }, "list"},
        {[&] {
             const auto pages = vfs::Folder(iriOf("mem://h/pages"), storage).listPages(u"");
             EXPECT_EQ(pages->next().size(), 1u);
             pages->next();
         },
         "list"},
        {[&] { vfs::Folder(refused, storage).listTree(); }, "list"},
        {[&] {
             const auto tree = vfs::Folder(iriOf("mem://h/pages"), storage).listTree();
             EXPECT_EQ(tree->next().size(), 1u);
             tree->next();
         },
         "list"},
    };
    for (const auto& [call, operation] : thrown) {
        virtualfileio::ExceptionContextHandler::ClearPendingContext();
        EXPECT_EQ(failure(call), -vfs::PermissionDenied) << operation;
        virtualfileio::ExceptionContextHandler::ClearPendingContext();
        try {
            call();
        } catch (const vfs::Exception& error) {
            ASSERT_EQ(error.getContexts().size(), 1u) << operation;
            EXPECT_EQ(error.getContexts()[0].operation(), operation);
        }
        EXPECT_TRUE(virtualfileio::ExceptionContextHandler::PendingContext()) << operation;
    }
    EXPECT_THROW(vfs::StorageSystemReference(nullptr),
                 foundation::core::except::IInternalException);
}

// Real failures of real system calls, raised the way a provider raises them: the code, the
// exception's context and the pending context agree.
TEST(StorageErrors, RealFailuresLeaveTheirContextPending) {
    TempDir dir;
    dir.make({"full/", "full/file"});
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
        const fl::ustring path = u(name);
        try {
            vfs::throwFromErrno(errno, "op", path);
        } catch (const vfs::Exception& error) {
            EXPECT_EQ(error.getErrorCode(), code) << name;
            EXPECT_EQ(error.getPath(), path);
            ASSERT_EQ(error.getContexts().size(), 1u);
            EXPECT_EQ(error.getContexts()[0].operation(), "op");
        }
        const auto pending = virtualfileio::ExceptionContextHandler::PendingContext();
        ASSERT_TRUE(pending) << name;
        EXPECT_EQ(pending->message().name(), message);
        EXPECT_EQ(pending->location(), path);
        virtualfileio::ExceptionContextHandler::ClearPendingContext();
    }
}

} // namespace
