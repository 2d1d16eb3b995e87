// The file list creator on real folders: both adders over the same patterns, recursion in
// post-order, links, the length limit, the root prefix and the IRIs of the entries.

#include <vexa/io/filesystem/core/file_list_creator.hpp>

#include <foundation/log/basic_diagnostic_logger.hpp>

#include "CurrentFolder.hpp"
#include "HostState.hpp"
#include "S3Server.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"
#include "Unprivileged.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace {

namespace core = vexa::io::filesystem::core;
namespace vfs = foundation::storage::vfs;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using vexa::testing::TempDir;
using vexa::testing::u;
using vexa::testing::utf8;
using Names = std::vector<std::string>;

// Entries below `root` without it, so that the tables read short.
Names below(const std::string& root, const Names& entries) {
    Names shortened;
    for (const std::string& entry : entries)
        shortened.push_back(
            !root.empty() && entry.starts_with(root + "/") ? entry.substr(root.size() + 1) : entry);
    return shortened;
}

Names addFiles(const std::string& pattern, bool recursive, const std::string& root) {
    core::FileListCreator creator;
    creator.AddFiles(u(pattern), boost::none, false, recursive, false);
    EXPECT_TRUE(creator.GetIRIList().empty());
    return below(root, utf8(creator.GetNameList()));
}

Names addToList(const std::string& pattern, bool recursive, const std::string& root) {
    core::FileListCreator creator;
    creator.AddToList(pattern, recursive);
    EXPECT_TRUE(creator.GetNameList().empty());
    return below(root, creator.GetList());
}

// tree: a.txt, b/ (c.txt, d/ (e.txt)), lnk -> b, z.txt; empty/; care/ with names that need
// care; été/x.txt; esc/ with names an IRI escapes, each also a folder holding them again.
class Creator : public ::testing::Test {
protected:
    void SetUp() override {
        dir.make({"tree/", "tree/b/", "tree/b/d/", "empty/", "care/", "\xC3\xA9t\xC3\xA9/",
                  "tree/a.txt", "tree/b/c.txt", "tree/b/d/e.txt", "tree/z.txt",
                  "\xC3\xA9t\xC3\xA9/x.txt", "tree/lnk -> b"});
        for (const std::string& name : care)
            dir.make({"care/" + name});
        dir.make({"esc/"});
        for (const std::string& name : escaped) {
            dir.make({"esc/" + name + "/"});
            for (const std::string& inner : escaped)
                dir.make({"esc/" + name + "/" + inner});
        }
    }

    TempDir dir;
    const std::string root = dir.real();
    // In listing order; only "." and ".." are a folder's own names, other dot names are not.
    const Names care = {
        "*",      "-", "...", "..x", ".hidden", ".x", "?", "caf\xE9", std::string(255, 'n'),
        "sp ace", "x."};
    const Names escaped = {"%",        "%41", "#x",  "?q=1", "sp ace", "caf\xE9", "\xFF\xFE",
                           "\xC3\xA9", "...", "..x", ". .",  "a%2Fb",  "[i]",     "~-_"};
};

TEST_F(Creator, BothAddersOverTheSamePatterns) {
    const Names tree = {"tree/a.txt", "tree/b", "tree/lnk", "tree/z.txt"};
    const Names content = {"tree/b/c.txt", "tree/b/d/e.txt", "tree/b/d", "tree/b"};
    // In post-order; AddToList lists a link, AddFiles enters it.
    const Names treeDeep = {"tree/a.txt", "tree/b/c.txt",   "tree/b/d/e.txt",   "tree/b/d",
                            "tree/b",     "tree/lnk/c.txt", "tree/lnk/d/e.txt", "tree/lnk/d",
                            "tree/lnk",   "tree/z.txt"};
    const Names treeListed = {"tree/a.txt", "tree/b/c.txt", "tree/b/d/e.txt", "tree/b/d",
                              "tree/b",     "tree/lnk",     "tree/z.txt"};
    Names careNames;
    for (const std::string& name : care)
        careNames.push_back("care/" + name);

    const struct {
        std::string pattern;
        bool recursive;
        Names files, list; // AddFiles, AddToList
    } cases[] = {
        {"empty/*", true, {}, {}},                        // "." and ".." are left out
        {"empty/.?", false, {"empty//.."}, {"empty/.."}}, // ... unless ".." is all there is
        {"tree/*", false, tree, tree},
        {"tree/*", true, treeDeep, treeListed},
        {"tree/*.txt", true, {"tree/a.txt", "tree/z.txt"}, {"tree/a.txt", "tree/z.txt"}},
        {"tree/?", true, content, content},
        {"tree/b/*",
         true,
         {"tree/b/c.txt", "tree/b/d/e.txt", "tree/b/d"},
         {"tree/b/c.txt", "tree/b/d/e.txt", "tree/b/d"}},
        {"tree/lnk/*", false, {"tree/lnk/c.txt", "tree/lnk/d"}, {"tree/lnk/c.txt", "tree/lnk/d"}},
        // A name without wildcards: AddFiles lists the entry it resolves to; AddToList takes
        // the name for the folder (extract_filename of a name), a relative one that then
        // names no folder to enter.
        {"tree/b", true, content, {"b/b"}},
        {"tree/lnk", false, {"tree/b"}, {"lnk/lnk"}},
        {"care/*", false, careNames, careNames},
        {"tree/missing*", true, {}, {}},
        {"missing/*", true, {}, {}},
        {"tree/a.txt/*", true, {}, {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(addFiles(root + "/" + c.pattern, c.recursive, root), c.files) << c.pattern;
        EXPECT_EQ(addToList(root + "/" + c.pattern, c.recursive, root), c.list) << c.pattern;
    }

    // A relative pattern is taken from the current folder; the entries name it in full.
    const vexa::testing::CurrentFolder inside(root + "/tree");
    EXPECT_THAT(addFiles("*.txt", false, root), ElementsAre("tree/a.txt", "tree/z.txt"));
    EXPECT_THAT(addToList("*.txt", false, root), ElementsAre("tree/a.txt", "tree/z.txt"));
    EXPECT_THAT(addFiles("b/*.txt", false, root), ElementsAre("tree/b/c.txt"));
    EXPECT_THAT(addToList("b/*.txt", false, root), ElementsAre("b/c.txt")); // the prefix as typed
}

// 4352 units (AddFiles) or bytes (AddToList) are listed, one more is ignored. The pattern
// reaches its length through a run of separators, which the listing reads as one; "été"
// makes bytes and units differ by two.
TEST_F(Creator, PatternsUpToTheLengthLimit) {
    const std::string folder = root + "/\xC3\xA9t\xC3\xA9";
    const std::size_t units = u(folder).size() + 1; // with the final "*"
    const struct {
        std::size_t length; // of the pattern in UTF-16 units
        std::size_t files, list;
    } cases[] = {{4352, 1, 0}, {4353, 0, 0}, {4350, 1, 1}, {4351, 1, 0}};
    for (const auto& c : cases) {
        const std::string pattern = folder + std::string(c.length - units, '/') + "*";
        ASSERT_EQ(u(pattern).size(), c.length);
        EXPECT_EQ(addFiles(pattern, false, root).size(), c.files) << c.length;
        EXPECT_EQ(addToList(pattern, false, root).size(), c.list) << c.length;
    }
}

// The root is a prefix without a separator of its own, but the lone ".." gets one anyway.
TEST_F(Creator, TheRootAsPrefix) {
    for (const Names& entries : {addFiles("/*", false, ""), addToList("/*", false, "")}) {
        EXPECT_THAT(entries, Contains("/tmp"));
        EXPECT_THAT(entries, Each(Not(StartsWith("//"))));
    }
    EXPECT_THAT(addFiles("/.?", false, ""), ElementsAre("//.."));
    EXPECT_THAT(addToList("/.?", false, ""), ElementsAre("//.."));
}

// Each entry's IRI, in step with the names: from its path, or from the base given; a path
// that cannot form one gets the placeholder and is listed all the same.
TEST_F(Creator, IRIsInStepWithTheNames) {
    core::FileListCreator creator;
    creator.AddFiles(u(root + "/tree/*"), boost::none, true, true, false);
    creator.AddFiles(u(root + "/care/*"), boost::none, true, false, false);
    creator.AddFiles(u(root + "/tree/*.txt"), vfs::CanonicalAbsoluteIRI(u"http://h/x/"), true,
                     false, false);
    const auto names = creator.GetNameList();
    const auto iris = creator.GetIRIList();
    ASSERT_EQ(names.size(), iris.size());
    EXPECT_EQ(names.size(), 10u + 11u + 2u);
    for (std::size_t i = 0; i + 2 < names.size(); ++i)
        EXPECT_EQ(iris[i].toString(), vfs::toCanonicalAbsoluteIRI(u"file", names[i]).toString())
            << utf8(names[i]);
    EXPECT_EQ(utf8(iris[6].toString()), "file://" + root + "/tree/lnk/d/e.txt"); // below a link
    EXPECT_EQ(utf8(iris[12].toString()), "file://" + root + "/care/...");        // no dot segment
    EXPECT_EQ(utf8(iris[16].toString()), "file://" + root + "/care/%3F");
    EXPECT_EQ(utf8(iris[17].toString()), "file://" + root + "/care/caf%E9");
    EXPECT_EQ(utf8(iris[21].toString()), "http://h/x/a.txt");
    EXPECT_EQ(utf8(iris[22].toString()), "http://h/x/z.txt");
    EXPECT_EQ(creator.GetStatus().code, core::Status::success);
    EXPECT_FALSE(creator.GetStatus().exception);
    EXPECT_TRUE(creator.GetList().empty());

    // A storage that lists a name holding U+0000, which no file IRI can carry.
    const vexa::testing::ScopedLogLevels caught(core::log::caughtErrorLevel);
    const foundation::log::RecordCapture log("vexa::io::filesystem");
    auto odd = std::make_shared<vexa::testing::FaultyProvider>(
        vexa::testing::ScopedStorageSystem::real("file"));
    odd->listingAlso(fl::ustring(u"a\0b", 3));
    const vexa::testing::ScopedStorageSystem storage({odd});
    core::FileListCreator placeholder;
    placeholder.AddFiles(u(root + "/tree/a*"), boost::none, true, true, false);
    EXPECT_THAT(below(root, utf8(placeholder.GetNameList())),
                ElementsAre(std::string("tree/a\0b", 8), "tree/a.txt"));
    ASSERT_EQ(placeholder.GetIRIList().size(), 2u);
    EXPECT_EQ(placeholder.GetIRIList()[0].toString(), u"dummyscheme:///dummyIRI");
    EXPECT_EQ(utf8(placeholder.GetIRIList()[1].toString()), "file://" + root + "/tree/a.txt");
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_THAT(log.records()[0].message, HasSubstr("Exception caught: "));
}

// Below the first level an entry's IRI is made from its folder's and its own name: the same
// text as made from its whole path, or from the base one segment at a time.
TEST_F(Creator, IRIsBelowAFolderAsFromTheWholePath) {
    for (const bool fromBase : {false, true}) {
        const vfs::CanonicalAbsoluteIRI base(u"http://h/x?q#f");
        core::FileListCreator creator;
        creator.AddFiles(u(root + "/esc/*"), fromBase ? boost::make_optional(base) : boost::none,
                         true, true, false);
        const auto names = creator.GetNameList();
        const auto iris = creator.GetIRIList();
        ASSERT_EQ(names.size(), escaped.size() * (escaped.size() + 1));
        ASSERT_EQ(iris.size(), names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            vfs::CanonicalAbsoluteIRI expected = vfs::toCanonicalAbsoluteIRI(u"file", names[i]);
            if (fromBase) {
                expected = base;
                for (const std::string& segment : below(root + "/esc", {utf8(names[i])}))
                    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
                        end = segment.find('/', at);
                        expected =
                            vfs::CanonicalAbsoluteIRI(expected, u(segment.substr(at, end - at)));
                    }
            }
            EXPECT_EQ(iris[i].toIRI().uriText(), expected.toIRI().uriText()) << utf8(names[i]);
        }
        // The list read without a copy, and the walk handed out as it goes, read the same.
        std::size_t visited = 0;
        const core::FileListCreator::Visit sameEntry = [&](fl::ustring_view name,
                                                           std::string_view iri) {
            EXPECT_EQ(name, names[visited % names.size()]);
            EXPECT_EQ(iri, iris[visited % names.size()].toIRI().uriText());
            ++visited;
        };
        creator.VisitNames(sameEntry);
        creator.VisitFiles(u(root + "/esc/*"), fromBase ? boost::make_optional(base) : boost::none,
                           true, true, false, sameEntry);
        EXPECT_EQ(visited, 2 * names.size());
    }
}

// The listing goes on past a folder the process may not read: the folder is listed, its
// content is not, and what follows it is.
TEST_F(Creator, AnUnreadableSubfolderIsListedWithoutItsContent) {
    dir.make({"tree/b/locked/", "tree/b/locked/secret.txt"});
    std::filesystem::permissions(dir.path(), std::filesystem::perms::all);
    ASSERT_EQ(::chmod((dir / "tree/b/locked").c_str(), 0), 0);
    const Names expected = {"tree/b/c.txt", "tree/b/d/e.txt", "tree/b/d", "tree/b/locked"};
    EXPECT_TRUE(vexa::testing::holdsUnprivileged([&] {
        return addFiles(root + "/tree/b/*", true, root) == expected &&
               addToList(root + "/tree/b/*", true, root) == expected;
    }));
    ::chmod((dir / "tree/b/locked").c_str(), 0755);
}

// Objects of a bucket as a folder tree: prefixes are folders, with or without a marker.
TEST(CreatorOfObjects, PatternsOverABucket) {
    const vexa::testing::S3Storage s3;
    s3.make({"lst/a.txt", "lst/b/c.txt", "lst/b/d/e.txt", "lst/empty/", "lst/z.csv"});
    const std::string root = utf8(s3.url("lst"));
    EXPECT_THAT(addFiles(root + "/*", false, root), ElementsAre("a.txt", "b", "empty", "z.csv"));
    EXPECT_THAT(addFiles(root + "/*", true, root),
                ElementsAre("a.txt", "b/c.txt", "b/d/e.txt", "b/d", "b", "empty", "z.csv"));
    EXPECT_THAT(addFiles(root + "/*.csv", true, root), ElementsAre("z.csv"));
    EXPECT_THAT(addFiles(root + "/b", false, root), ElementsAre("b"));
    core::FileListCreator creator; // each entry's IRI, its name escaped
    s3.make({"lst/sp%20ace+%25.txt"});
    creator.AddFiles(u(root + "/sp*"), boost::none, true, false, false);
    ASSERT_EQ(creator.GetIRIList().size(), 1u);
    EXPECT_EQ(creator.GetIRIList()[0].toIRI().uriText(), root + "/sp%20ace+%25.txt");
}

} // namespace
