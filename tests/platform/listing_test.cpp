// The host's listing services on real folders: which names a pattern matches, in which
// order, in both forms, and what a folder that cannot be read gives.

#include <host/Listing.hpp>

#include <virtualfileio/ExceptionContextHandler.hpp>

#include "CurrentFolder.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"
#include "Unprivileged.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>

#include <sys/stat.h>

namespace {

namespace cwf = Quarrow::current_working_folder;
using foundation::storage::provider::ItemType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vexa::testing::TempDir;
using vexa::testing::u;
using vexa::testing::utf8;
using Names = std::vector<std::string>;

// The UTF-16 form's names, as UTF-8.
Names listed(const std::string& pattern) {
    std::vector<FileNameWithStat> entries{{u"left over", ItemType::File}};
    ioGetDirList(u(pattern), entries, false);
    Names names;
    for (const auto& entry : entries)
        names.push_back(utf8(entry.name));
    return names;
}

// The 8-bit form's block, split; {"null"} for no block.
Names listedBytes(const std::string& pattern,
                  boost::optional<const cwf::ICurrentWorkingFolder&> current = boost::none) {
    char* block = ioGetDirList(pattern.c_str(), 0, current);
    if (block == nullptr)
        return {"null"};
    Names names;
    for (const char* name = block; *name != '\0'; name += std::strlen(name) + 1)
        names.emplace_back(name);
    utFree(block);
    return names;
}

class Listing : public ::testing::Test {
protected:
    void SetUp() override {
        dir.make({"empty/", "all/", "all/sub/", "all/a.txt", "all/b.csv", "all/c d.txt",
                  "all/*star", "all/q?mark", "all/qXmark", "all/.hidden", "all/..x", "all/...",
                  "all/-dash", "all/caf\xE9", "all/\xC3\xA9t\xC3\xA9", "all/sub/inner.txt",
                  "all/" + longest, "all/lnk -> sub", "all/dangling -> missing"});
        ASSERT_EQ(::mkfifo((dir / "all/fifo").c_str(), 0644), 0);
    }

    TempDir dir;
    const std::string longest = std::string(251, 'n') + ".txt"; // 255 bytes, the most
};

TEST_F(Listing, NamesMatchingTheLastComponentInCodeUnitOrder) {
    const std::string all = dir / "all/";
    const struct {
        std::string pattern;
        Names names;
    } cases[] = {
        {dir / "empty/*", {".", ".."}}, // every folder has its own two names
        {dir / "empty/?", {"."}},
        {dir / "empty/.?", {".."}},
        {all + "*",
         {"*star", "-dash", ".", "..", "...", "..x", ".hidden", "a.txt", "b.csv", "c d.txt",
          "caf\xE9", "dangling", "fifo", "lnk", longest, "q?mark", "qXmark", "sub",
          "\xC3\xA9t\xC3\xA9"}},
        // Only "." and ".." are the folder's own names; other names of dots are entries.
        {all + ".*", {".", "..", "...", "..x", ".hidden"}},
        {all + "..?", {"...", "..x"}},
        {all + "..*", {"..", "...", "..x"}},
        {all + "*.txt", {"a.txt", "c d.txt", longest}},
        {all + "*star", {"*star"}},             // "*" in a real name is matched like any unit
        {all + "q?mark", {"q?mark", "qXmark"}}, // "?" stays a wildcard
        {all + "caf?", {"caf\xE9"}},            // a byte that is not UTF-8 is one unit
        {all + "?t?", {"\xC3\xA9t\xC3\xA9"}},
        {all + "n*x.txt", {}},
        // Without wildcards: the one entry of that name, whatever it is or leads to.
        {all + "a.txt", {"a.txt"}},
        {all + "dangling", {"dangling"}},
        {all + ".", {"."}},
        {all + "..", {".."}},
        {all + "...", {"..."}},
        {all + "..x", {"..x"}},
        {all + longest, {longest}},
        {all + "caf\xE9", {"caf\xE9"}},
        {all + "missing", {}},
        {all + "A.TXT", {}},
        {all + "a.txt/.", {}},
        // Folders that cannot be listed, and patterns that name no entry.
        {dir / "missing/*", {}},
        {all + "a.txt/*", {}},
        {all + "lnk/*", {".", "..", "inner.txt"}},
        {all + "sub/../*.csv", {"b.csv"}},
        {dir / "all//sub///*", {".", "..", "inner.txt"}},
        {all, {}},
        {"/", {}},
        {"", {}},
        {all + "a.txt" + std::string(1, '\0'), {"a.txt"}}, // the 8-bit form ends at a NUL
    };
    for (const auto& c : cases) {
        EXPECT_EQ(listedBytes(c.pattern), c.names.empty() ? Names{"null"} : c.names) << c.pattern;
        if (c.pattern.find('\0') == std::string::npos) {
            EXPECT_EQ(listed(c.pattern), c.names) << c.pattern;
        }
    }
    EXPECT_THAT(listed(all + std::string("a.txt\0", 6)), IsEmpty()); // no name holds U+0000
}

// Each entry's type is that of the entry itself, not of what a link leads to, in a listing
// and for the one entry a name without wildcards gives.
TEST_F(Listing, EntriesSayWhatTheyAre) {
    std::vector<FileNameWithStat> entries;
    ioGetDirList(u(dir / "all/*"), entries, true);
    std::map<std::string, ItemType> types;
    for (const auto& entry : entries)
        types[utf8(entry.name)] = entry.type;
    for (const auto& [name, type] : {std::pair{".", ItemType::Folder},
                                     {"..", ItemType::Folder},
                                     {"a.txt", ItemType::File},
                                     {"sub", ItemType::Folder},
                                     {"lnk", ItemType::Link},
                                     {"dangling", ItemType::Link},
                                     {"fifo", ItemType::Other}}) {
        EXPECT_EQ(types[name], type) << name;
        ioGetDirList(u(dir / "all/" + name), entries, false);
        ASSERT_EQ(entries.size(), 1u) << name;
        EXPECT_EQ(entries[0].type, type) << name;
    }
}

// A folder the process joined to a relative pattern: the host's current folder, or the
// one the caller gives the 8-bit form.
TEST_F(Listing, RelativePatternsFromTheCurrentFolder) {
    class Fixed : public cwf::ICurrentWorkingFolder {
    public:
        explicit Fixed(std::string folder) : folder_(u(folder)) {}
        fl::ustring getPath() const override { return folder_; }
        void setPath(const fl::ustring&) override {}
        foundation::storage::vfs::AbsoluteIRI absolutize(const fl::ustring& text) const override {
            return foundation::storage::vfs::AbsoluteIRI(text.empty() ? folder_
                                                                      : folder_ + u"/" + text);
        }

    private:
        fl::ustring folder_;
    } sub(dir / "all/sub");
    const vexa::testing::CurrentFolder inside(dir / "all");
    EXPECT_THAT(listed("*.csv"), ElementsAre("b.csv"));
    EXPECT_THAT(listed("sub/*.txt"), ElementsAre("inner.txt"));
    EXPECT_THAT(listedBytes("*.txt", sub), ElementsAre("inner.txt"));
    EXPECT_THAT(listedBytes("../*.csv", sub), ElementsAre("b.csv"));
    EXPECT_THAT(listedBytes("*.csv"), ElementsAre("b.csv"));
}

// A folder the process may not read has no entries: the listing of its parent goes on, and
// nothing is left pending. Through the storage layer, so its faults count too.
TEST_F(Listing, UnreadableFoldersHaveNoEntries) {
    std::filesystem::permissions(dir.path(), std::filesystem::perms::all);
    ASSERT_EQ(::chmod((dir / "all/sub").c_str(), 0), 0);
    EXPECT_TRUE(vexa::testing::holdsUnprivileged([&] {
        virtualfileio::ExceptionContextHandler::ClearPendingContext();
        return listed(dir / "all/sub/*").empty() &&
               listedBytes(dir / "all/sub/*") == Names{"null"} &&
               listed(dir / "all/sub/inner.txt").empty() &&
               listed(dir / "all/s*") == Names{"sub"} &&
               !virtualfileio::ExceptionContextHandler::PendingContext();
    }));
    ASSERT_EQ(::chmod((dir / "all/sub").c_str(), 0755), 0);

    // A disk that cannot list, or breaks off after the first page: no entries, not some.
    using Op = vexa::testing::FaultyProvider::Operation;
    for (const Op fault : {Op::List, Op::LaterPage}) {
        const vexa::testing::ScopedStorageSystem failingDisk(
            {vexa::testing::faultyFiles(fault, vexa::testing::vfs::IOError)});
        virtualfileio::ExceptionContextHandler::ClearPendingContext();
        EXPECT_THAT(listed(dir / "all/*"), IsEmpty());
        EXPECT_EQ(listedBytes(dir / "all/*"), Names{"null"});
        EXPECT_THAT(listed(dir / "all/a.txt"), ElementsAre("a.txt")); // one name needs no listing
        EXPECT_FALSE(virtualfileio::ExceptionContextHandler::PendingContext());
    }
}

} // namespace
