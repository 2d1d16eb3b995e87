// vexafs cat: content streamed to standard output or to a file replaced only when complete.

#include "HttpServer.hpp"
#include "TempDir.hpp"
#include "Vexafs.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/stat.h>

namespace {

using ::testing::HasSubstr;
using vexa::testing::refused;
using vexa::testing::TempDir;

std::string contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

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

} // namespace
