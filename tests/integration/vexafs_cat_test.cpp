// vexafs cat: content streamed to standard output or to a file replaced only when complete.

#include "HttpServer.hpp"
#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <chrono>
#include <csignal>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ::testing::HasSubstr;
using vexa::testing::contentOf;
using vexa::testing::contentsUnder;
using vexa::testing::refused;
using vexa::testing::TempDir;

void write(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

// Every byte arrives, whatever its value, however many reads it takes and whether a file or
// a web server holds it; a replaced file keeps its mode, and a link to it stays a link. What
// cannot be read in full (a body the server cuts short) leaves an existing output file as it
// was, and nothing else behind.
TEST(VexafsCat, CopiesEveryByteOrLeavesTheOutputAlone) {
    const vexa::testing::HttpServer server;
    TempDir dir;
    std::string binary(200'000, '\0');
    for (std::size_t i = 0; i < binary.size(); ++i)
        binary[i] = static_cast<char>(i * 7919 % 251);
    write(dir / "data.bin", binary);
    write(dir / "kept", "kept as it was");
    write(dir / "private", "old");
    ::chmod((dir / "private").c_str(), 0600);
    dir.make({"link -> private", "folder/"});
    const vexa::testing::VexafsRun runs[] = {
        {{"cat", dir / "data.bin"}, 0, binary},
        {{"cat", "file://" + dir / "data.bin", "--output", dir / "copy"}, 0, ""},
        {{"cat", dir / "data.bin", "-o", dir / "link"}, 0, ""},
        refused({"cat", dir / "missing", "-o", dir / "kept"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:resourceNotFound")),
        refused({"cat", dir / "folder", "-o", dir / "kept"}, HasSubstr("Identifier: VEXA:")),
        refused({"cat", dir / "data.bin", "-o", dir / "no/such/folder/x"}, HasSubstr("Error: ")),
        {{"cat", server.url("/files/big.bin")}, 0, vexa::testing::HttpServer::bigContent()},
        {{"cat", "--ca-file", server.caFile(), server.secureUrl("/hop/1"), "-o", dir / "notes"},
         0,
         ""},
        refused({"cat", server.url("/cut.bin"), "-o", dir / "kept"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:ioError\nReason: transfer closed")),
        refused({"cat", server.url("/status/404"), "-o", dir / "kept"},
                HasSubstr("Identifier: VEXA:virtualfilesystem:resourceNotFound\nReason: HTTP 404")),
    };
    vexa::testing::expectRuns(runs);
    EXPECT_EQ(contentOf(dir / "copy"), binary);
    EXPECT_EQ(contentOf(dir / "private"), binary);
    EXPECT_EQ(std::filesystem::status(dir / "private").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_TRUE(std::filesystem::is_symlink(dir / "link"));
    EXPECT_EQ(contentOf(dir / "notes"), "hello\n");
    EXPECT_EQ(contentOf(dir / "kept"), "kept as it was");
    // data.bin, kept, private, link, folder, copy and notes
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 7);
}

// A writer that keeps a fifo open and sends nothing: its reader waits for good.
struct HeldOpen {
    explicit HeldOpen(const std::string& fifo) : fd(::open(fifo.c_str(), O_RDWR | O_CLOEXEC)) {}
    HeldOpen(const HeldOpen&) = delete;
    HeldOpen& operator=(const HeldOpen&) = delete;
    ~HeldOpen() {
        if (fd >= 0)
            ::close(fd);
    }
    int fd;
};

// A transfer interrupted half way ends as the signal would end it (128 + its number), each
// target as it was or whole and nothing else beside them: a body from a slow server, and a
// folder copied by four threads, one of which waits on a fifo while the others commit.
TEST(VexafsCat, AnInterruptedTransferLeavesNothingBehind) {
    const vexa::testing::HttpServer server;
    TempDir dir;
    dir.make({"tree/", "tree/sub/"});
    for (int i = 0; i < 12; ++i)
        write(dir / ("tree/" + std::string(i % 2 ? "sub/" : "") + std::to_string(i)),
              "content " + std::to_string(i));
    ASSERT_EQ(::mkfifo((dir / "tree/sub/fifo").c_str(), 0644), 0);
    const HeldOpen fifo(dir / "tree/sub/fifo");
    ASSERT_GE(fifo.fd, 0);
    const std::string slow = server.url("/slow.bin");
    const struct {
        int signal;
        std::vector<std::string> args; // the last one, the target, in the row's own folder
    } rows[] = {
        {SIGINT, {"cat", slow, "-o", "kept"}},
        {SIGTERM, {"cat", slow, "-o", "kept"}},
        {SIGHUP, {"cat", slow, "-o", "kept"}},
        {SIGINT, {"cp", "-r", "-j", "4", dir / "tree", "copy"}},
    };
    const auto folderOf = [&](std::size_t row) { return dir / std::to_string(row); };
    std::deque<vexa::testing::RunningProgram> transfers;
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        std::filesystem::create_directory(folderOf(i));
        write(folderOf(i) + "/kept", "kept as it was");
        auto args = rows[i].args;
        args.back() = folderOf(i) + "/" + args.back();
        transfers.emplace_back(VEXAFS_PATH, args);
    }
    const auto entries = [&](std::size_t row) {
        return std::distance(std::filesystem::directory_iterator(folderOf(row)), {});
    };
    // Whether the program has a file open in `folder`: the content on its way, which has no
    // name there until it is complete.
    const auto writingInto = [](pid_t pid, const std::string& folder) {
        std::error_code error;
        for (const auto& fd :
             std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd", error))
            if (std::filesystem::read_symlink(fd, error).string().starts_with(folder + "/"))
                return true;
        return false;
    };
    for (std::size_t i = 0; i < transfers.size(); ++i) {
        ASSERT_TRUE(transfers[i].running());
        // The server sends 100 bytes a second, and the fifo nothing: the transfer is under
        // way once the program writes into the folder, and far from done.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!writingInto(transfers[i].pid(), folderOf(i)) &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_TRUE(writingInto(transfers[i].pid(), folderOf(i))) << i;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        transfers[i].signal(rows[i].signal);
    }
    for (std::size_t i = 0; i < transfers.size(); ++i) {
        EXPECT_EQ(transfers[i].wait(), 128 + rows[i].signal) << i;
        EXPECT_EQ(contentOf(folderOf(i) + "/kept"), "kept as it was") << i;
        // The copy holds the files that were committed, each whole, and nothing else.
        const bool copied = rows[i].args[0] == "cp";
        EXPECT_EQ(entries(i), copied ? 2 : 1) << i;
        if (!copied)
            continue;
        for (const auto& [name, content] : contentsUnder(folderOf(i) + "/copy"))
            EXPECT_EQ(content, contentsUnder(dir / "tree")[name]) << name;
    }
}

} // namespace
