// The HTTP client of the remote providers, against nginx: methods, headers and bodies sent
// whole or pushed piece by piece, and the storage code of each answer.

#include "foundation/storage/http/Client.hpp"

#include <foundation/storage/vfs/Exception.hpp>

#include "HttpServer.hpp"
#include "TempDir.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace foundation::storage;
using vexa::testing::HttpServer;

struct Sent {
    const char* method;
    const char* path;
    std::vector<std::string> headers = {};
    std::string body = {};
    // Pieces pushed with send() one after another, instead of `body`.
    std::vector<std::string> pieces = {};
    bool lengthKnown = false;
    bool withPassword = false; // as user "me" with the server's password
};

struct Expected {
    long status;
    std::optional<int> code; // the storage code of the answer; none for 2xx
    std::string answer = {}; // the answer's body
    // What the served file holds afterwards (the path relative to the content); none: no file.
    const char* file = nullptr;
    std::optional<std::string> content = {};
};

TEST(HttpClient, MethodsHeadersBodiesAndCodes) {
    HttpServer server;
    const std::string big(5 << 20, 'b');
    std::vector<std::string> bigPieces;
    for (std::size_t at = 0; at < big.size(); at += 100'000)
        bigPieces.push_back(big.substr(at, 100'000));
    const std::string move = "Destination: " + server.url("/dav/moved.txt");
    const struct {
        Sent sent;
        Expected expected;
    } rows[] = {
        {{"PUT", "/dav/whole.txt", {}, "whole"}, {201, {}, {}, "dav/whole.txt", "whole"}},
        {{"PUT", "/dav/empty.txt"}, {201, {}, {}, "dav/empty.txt", ""}},
        {{"PUT", "/dav/chunked.txt", {}, {}, {"one ", "", "two"}},
         {201, {}, {}, "dav/chunked.txt", "one two"}},
        {{"PUT", "/dav/sized.txt", {}, {}, {"ab", "cd"}, true},
         {201, {}, {}, "dav/sized.txt", "abcd"}},
        // Pieces larger than what curl takes at once: the transfer pauses and goes on.
        {{"PUT", "/dav/big.bin", {}, {}, bigPieces}, {201, {}, {}, "dav/big.bin", big}},
        {{"PUT", "/dav/whole.txt", {}, "again"}, {204, {}, {}, "dav/whole.txt", "again"}},
        {{"MKCOL", "/dav/missing/folder/"}, {409, vfs::ResourceNotFound}},
        {{"MKCOL", "/dav/folder/"}, {201, {}, {}, "dav/folder", ""}},
        {{"MKCOL", "/dav/folder/"}, {405, vfs::IOError}},
        {{"MOVE", "/dav/sized.txt", {move}}, {204, {}, {}, "dav/moved.txt", "abcd"}},
        {{"MOVE", "/dav/sized.txt", {move}}, {404, vfs::ResourceNotFound, {}, "dav/sized.txt"}},
        {{"DELETE", "/dav/moved.txt"}, {204, {}, {}, "dav/moved.txt"}},
        {{"DELETE", "/dav/moved.txt"}, {404, vfs::ResourceNotFound}},
        {{"POST", "/echo", {"X-Probe: seen"}, "sent body"}, {200, {}, "POST seen sent body"}},
        {{"PATCH", "/echo", {"X-Probe: patched"}, "p"}, {200, {}, "PATCH patched p"}},
        {{"GET", "/echo", {"X-Probe: asked"}}, {200, {}, "GET asked "}},
        {{"GET", "/status/401"}, {401, vfs::PermissionDenied}},
        {{"GET", "/status/403"}, {403, vfs::PermissionDenied}},
        {{"GET", "/status/407"}, {407, vfs::PermissionDenied}},
        {{"GET", "/status/410"}, {410, vfs::ResourceNotFound}},
        {{"GET", "/status/418"}, {418, vfs::IOError}},
        // A streamed body with a password: the first waits for the server's 401 before it
        // sends anything; the scheme learned, the second sends its password at once.
        {{"PUT", "/dav/private/a.txt", {}, {}, {"one ", "two"}, false, true},
         {201, {}, {}, "dav/private/a.txt", "one two"}},
        {{"PUT", "/dav/private/b.txt", {}, {}, {"three"}, false, true},
         {201, {}, {}, "dav/private/b.txt", "three"}},
    };
    http::HttpOptions options;
    options.attempts = 1;
    for (const auto& [sent, expected] : rows) {
        SCOPED_TRACE(std::string(sent.method) + " " + sent.path);
        http::Request request;
        request.method = sent.method;
        request.url = server.url(sent.path);
        request.headers = sent.headers;
        request.body = sent.body;
        if (sent.withPassword) {
            request.credentials.user = "me";
            request.credentials.password = "s3cret";
        }
        std::unique_ptr<http::Transfer> transfer;
        if (!sent.pieces.empty()) {
            request.streamedBody = true;
            if (sent.lengthKnown) {
                std::size_t length = 0;
                for (const std::string& piece : sent.pieces)
                    length += piece.size();
                request.bodyLength = length;
            }
            transfer = std::make_unique<http::Transfer>(options, request);
            for (const std::string& piece : sent.pieces)
                transfer->send(piece);
            transfer->finishBody();
        } else {
            transfer = http::Transfer::answered(options, request);
        }
        EXPECT_EQ(transfer->status(), expected.status);
        const auto failure = transfer->failure();
        EXPECT_EQ(failure ? std::optional(failure->code) : std::nullopt, expected.code);
        EXPECT_EQ(transfer->wholeBody().substr(0, expected.answer.empty() ? 0 : std::string::npos),
                  expected.answer);
        if (expected.file) {
            const std::filesystem::path file = server.content() + "/" + expected.file;
            // Compared, not printed: one body is 5 MiB.
            if (expected.content)
                EXPECT_TRUE((std::filesystem::is_directory(file)
                                 ? ""
                                 : vexa::testing::contentOf(file.string())) == *expected.content);
            else
                EXPECT_FALSE(std::filesystem::exists(file));
        }
    }
    EXPECT_EQ(server.requests("/dav/private/a.txt", 401), 1u);
    EXPECT_EQ(server.requests("/dav/private/b.txt", 401), 0u);
}

} // namespace
