#include <vexa/io/filesystem/core/existence.hpp>

#include <fl/filesystem.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include "RemoteStorage.hpp"
#include "S3Server.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

namespace core = vexa::io::filesystem::core;
using foundation::storage::provider::ExistenceTypeExtended;
using vexa::testing::faultyFiles;
using vexa::testing::outcome;
using vexa::testing::Providers;
using vexa::testing::ScopedStorageSystem;
using vexa::testing::TempDir;
using vexa::testing::u;
using vexa::testing::vfs::AbsoluteIRI;
using virtualfileio::ExceptionContextHandler;
namespace vfs = vexa::testing::vfs;
using Op = vexa::testing::FaultyProvider::Operation;

// The three questions over every value, the out-of-range ones included: the comparisons
// are unsigned, so negative values are nothing.
TEST(ExistenceType, FileFolderAndLinkValues) {
    const struct {
        std::int32_t value;
        bool file, folder, link;
    } cases[] = {
        {0, true, false, false},   {1, true, false, false},         {2, false, true, false},
        {3, false, false, true},   {4, false, false, true},         {5, false, false, true},
        {6, false, false, false},  {7, false, false, false},        {-1, false, false, false},
        {-3, false, false, false}, {INT32_MIN, false, false, false}};
    for (const auto& c : cases) {
        const auto type = static_cast<ExistenceTypeExtended>(c.value);
        EXPECT_EQ(core::isFile(type), c.file) << c.value;
        EXPECT_EQ(core::isFolder(type), c.folder) << c.value;
        EXPECT_EQ(core::isSymlink(type), c.link) << c.value;
    }
}

// The answer with and without throwOnError; a negative number is the code thrown, whose
// failure outcome checks is pending. An answer leaves nothing pending.
int answer(const AbsoluteIRI& iri, bool throwOnError) {
    ExceptionContextHandler::ClearPendingContext();
    const int type = outcome([&] { return core::getExtendedExistenceType(iri, throwOnError); });
    EXPECT_FALSE(ExceptionContextHandler::PendingContext()) << "swallowed, still pending";
    return type;
}

// Real items, and faults of the storage layer's look: only an I/O failure is looked into,
// and only a link found by the native probe turns it into an answer.
TEST(GetExtendedExistenceType, RealItemsAndStorageFaults) {
    TempDir dir;
    dir.makeItemsOfEveryKind();
    dir.make({"viaFile -> file/x"}); // leads nowhere, as "dangling" does
    const struct {
        std::string name;
        int quiet, throwing;
        int fault = -1; // the code the look fails with; -1 for none
    } cases[] = {
        // The native probe meets the loop on the way to loopA/x, and says so.
        {"file", 0, 0},         {"fifo", 1, 1},         {"folder", 2, 2},   {"linkFile", 3, 3},
        {"linkFolder", 4, 4},   {"dangling", 3, 3},     {"loopA", 3, 3},    {"missing", 6, -1},
        {"file/x", 6, -4},      {"loopA/x", 3, 3},      {"file", 6, -9, 9}, {"dangling", 3, 3, 9},
        {"dangling", 6, -1, 1}, {"dangling", 6, -4, 4}, {"file", 6, -2, 2}, {"file", 6, -8, 8},
        {"file", 6, -10, 10},   {"file", 6, -11, 11},   {"viaFile", 3, 3},
        // One trailing "/" names the item itself, for the look and the probe alike.
        {"dangling/", 3, 3},    {"loopA/", 3, 3},       {"linkFolder/", 4, 4}, {"file/", 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name + " failing with " + std::to_string(c.fault));
        const ScopedStorageSystem storage(c.fault < 0 ? Providers{}
                                                      : Providers{faultyFiles(Op::Probe, c.fault)});
        const AbsoluteIRI iri(u(dir / c.name));
        EXPECT_EQ(answer(iri, false), c.quiet);
        EXPECT_EQ(answer(iri, true), c.throwing);
    }
    // Another scheme is probed through its IRI text as a native path: what that probe
    // throws, other than a loop, reaches the caller whatever throwOnError says.
    auto remote = std::make_shared<vexa::testing::FaultyProvider>(ScopedStorageSystem::real("file"),
                                                                  std::vector<std::string>{"mem"});
    remote->failing(Op::Probe, 9);
    const ScopedStorageSystem storage({remote});
    for (const bool throwOnError : {false, true})
        EXPECT_THROW(core::getExtendedExistenceType(AbsoluteIRI(u"mem://h/x"), throwOnError),
                     fl::filesystem::PathNotFound);
}

// A failure the caller has not reported yet survives a query that answers for its own.
TEST(GetExtendedExistenceType, EarlierPendingFailureSurvivesAnAnswer) {
    TempDir dir;
    dir.make({"dangling -> missing"});
    // A missing item answered from the look; a link whose look failed, found by the probe.
    for (const bool faulty : {false, true}) {
        const ScopedStorageSystem storage(faulty ? Providers{faultyFiles(Op::Probe, vfs::IOError)}
                                                 : Providers{});
        const std::string name = faulty ? "dangling" : "missing";
        ExceptionContextHandler::SetPendingContext(
            vfs::makeContext("earlier", u"/earlier", vfs::NoSpaceLeft));
        core::getExtendedExistenceType(AbsoluteIRI(u(dir / name)), false);
        const auto pending = ExceptionContextHandler::PendingContext();
        ASSERT_TRUE(pending) << name;
        EXPECT_EQ(pending->operation(), "earlier") << name;
    }
    ExceptionContextHandler::ClearPendingContext();
}

// Remote items through the same call: a server's refusals are answers like a missing file;
// a failure of the server or the network is an I/O failure, whose native probe of the
// IRI text finds nothing there and lets that failure out.
TEST(GetExtendedExistenceType, RemoteItems) {
    const vexa::testing::RemoteStorage remote;
    const vexa::testing::RemoteShare share;
    const struct {
        std::string path;
        int quiet, throwing;
        bool onShare = false; // a WebDAV share's, whose answer gives the kind
    } cases[] = {
        {"/files/notes.txt", 0, 0},
        {"/files/sub/", 2, 2},
        {"/status/404", 6, -1},
        {"/status/403", 6, -2},
        {"/files/notes.txt", 0, 0, true},
        {"/files/sub", 2, 2, true},
        {"/files/missing.txt", 6, -1, true},
        {"/private/s.txt", 6, -2, true},
    };
    for (const auto& c : cases)
        for (const fl::ustring& text :
             c.onShare ? std::vector{share.url(c.path), share.secureUrl(c.path)}
                       : std::vector{remote.url(c.path), remote.secureUrl(c.path)}) {
            const AbsoluteIRI iri(text);
            EXPECT_EQ(answer(iri, false), c.quiet) << c.path;
            EXPECT_EQ(answer(iri, true), c.throwing) << c.path;
        }
    for (const std::string path : {"/status/500", "/loop/a"})
        for (const bool throwOnError : {false, true})
            EXPECT_THROW(
                core::getExtendedExistenceType(AbsoluteIRI(remote.url(path)), throwOnError),
                fl::filesystem::PathNotFound)
                << path;
    ExceptionContextHandler::ClearPendingContext();
    // Objects in a bucket: a prefix is a folder with or without its marker; a key that is
    // also a prefix is the object.
    const vexa::testing::S3Storage s3;
    s3.make({"lib/k.txt", "lib/dir/", "lib/implied/x", "lib/both", "lib/both/x"});
    const std::pair<const char*, int> objects[] = {
        {"lib/k.txt", 0},    {"lib/dir/", 2}, {"lib/dir", 2},  {"lib/implied", 2},
        {"lib/implied/", 2}, {"lib/both", 0}, {"lib/none", 6}, {"", 2}};
    for (const auto& [key, kind] : objects)
        EXPECT_EQ(answer(AbsoluteIRI(s3.url(key)), false), kind) << key;
}

} // namespace
