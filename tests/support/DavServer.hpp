#pragma once

// Real WebDAV shares for the dav(s) provider's tests and benchmark, on 127.0.0.1, each with
// its configuration, content and logs in a fresh folder, stopped with this object:
//
//   Nginx    nginx with its WebDAV module and the dav-ext module (PROPFIND, OPTIONS), plain
//            and with TLS (a certificate made for the run, trusted through caFile()); PUT
//            makes missing folders; ETag and Content-Type only in the headers; how each
//            request's body came (its length, chunks, an Expect), in requests()
//   Rclone   `rclone serve webdav`: its own order of properties and namespace declarations,
//            getetag and getcontenttype sent, other statuses (MKCOL of an existing folder
//            succeeds, If-None-Match is ignored), and a listing cache, so that after the
//            start its content changes only through the server
//
// The content, the same on both, made before the server starts:
//
//   /files/                 notes.txt, report.csv, big.bin (1 MiB), sub/ (inner.txt,
//                           deeper/leaf.txt), and one file for each name that needs escaping:
//                           escapedNames
//   /empty/                 nothing
//   /many/                  manyEntries files, "e0000" and on, empty
//   /work/                  a folder for the changes a test makes
// nginx only:
//   /nodav/                 the same share without PROPFIND (405), holding x.txt
//   /private/               asks for a password: user "me", password "s3cret"; holds s.txt

#include "HttpServer.hpp"
#include "RunProgram.hpp"
#include "ServerProcess.hpp"
#include "TempDir.hpp"

#include <array>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include <utime.h>

namespace vexa::testing {

class DavServer {
public:
    enum class Kind { Nginx, Rclone };
    // The time of every item of the content: 2021-03-04 05:06:07 UTC.
    static constexpr std::time_t fileTime = HttpServer::fileTime;
    static constexpr int manyEntries = 3000;
    // Names with a space, "%", "#", "&", "<" and a non-ASCII letter, each held by a file of
    // /files/ whose content is the name.
    static constexpr std::array<std::string_view, 6> escapedNames = {
        "a b.txt", "100%.txt", "c#d.txt", "x&y.txt", "<b>.txt", "\u00fcber.txt"};

    explicit DavServer(Kind kind) : kind_(kind) {
        makeContent();
        if (kind == Kind::Nginx)
            makeCertificate(dir_);
        for (int attempt = 0;; ++attempt) {
            // Another process may take a port between the look and the server's bind.
            port_ = freePort();
            do
                securePort_ = freePort();
            while (securePort_ == port_);
            if (kind == Kind::Nginx ? startNginx() : startRclone())
                break;
            if (attempt == 3)
                throw std::runtime_error("the WebDAV server did not start: " + log());
        }
    }
    DavServer(const DavServer&) = delete;
    DavServer& operator=(const DavServer&) = delete;

    Kind kind() const noexcept { return kind_; }
    const char* name() const noexcept { return kind_ == Kind::Nginx ? "nginx" : "rclone"; }
    // "dav://127.0.0.1:PORT" and `path`; over TLS ("davs://") where the server has it (nginx),
    // else the same as url().
    std::string url(std::string_view path) const { return origin("dav", port_).append(path); }
    std::string secureUrl(std::string_view path) const {
        return kind_ == Kind::Nginx ? origin("davs", securePort_).append(path) : url(path);
    }
    // The same share as "http://" (what the provider asks), for a bare client.
    std::string httpUrl(std::string_view path) const { return origin("http", port_).append(path); }
    // `path` asked for as user "me" with `password`.
    std::string urlAs(std::string_view password, std::string_view path) const {
        return "dav://me:" + std::string(password) + "@127.0.0.1:" + std::to_string(port_) +
               std::string(path);
    }
    std::string caFile() const { return dir_ / "cert.pem"; }
    // nginx: each request so far, a line "METHOD CONTENT-LENGTH TRANSFER-ENCODING", "-" for
    // a header not sent.
    std::string requests() const { return text(dir_ / "requests.log"); }
    // The folder served as "/": read it, but change the content through the server.
    std::string content() const { return dir_ / "share"; }

private:
    static std::string origin(const char* scheme, int port) {
        return std::string(scheme) + "://127.0.0.1:" + std::to_string(port);
    }

    void addFile(const std::string& name, const std::string& bytes) const {
        const std::filesystem::path path = dir_.path() / "share" / name;
        std::filesystem::create_directories(path.parent_path());
        if (!(std::ofstream(path, std::ios::binary) << bytes))
            throw std::runtime_error("cannot write " + path.string());
    }

    void makeContent() const {
        addFile("files/notes.txt", "hello\n");
        addFile("files/report.csv", "a,b\n1,2\n");
        addFile("files/big.bin", HttpServer::bigContent());
        addFile("files/sub/inner.txt", "inner\n");
        addFile("files/sub/deeper/leaf.txt", "leaf\n");
        for (const std::string_view name : escapedNames)
            addFile("files/" + std::string(name), std::string(name));
        for (int i = 0; i < manyEntries; ++i) {
            char name[16];
            std::snprintf(name, sizeof name, "many/e%04d", i);
            addFile(name, "");
        }
        addFile("nodav/x.txt", "x\n");
        addFile("private/s.txt", "secret\n");
        const std::filesystem::path share = dir_.path() / "share";
        std::filesystem::create_directories(share / "empty");
        std::filesystem::create_directories(share / "work");
        // Every item, folders last (a file made in a folder changes its time).
        const utimbuf times{fileTime, fileTime};
        for (const auto& item : std::filesystem::recursive_directory_iterator(share))
            if (!item.is_directory())
                ::utime(item.path().c_str(), &times);
        for (const auto& item : std::filesystem::recursive_directory_iterator(share))
            if (item.is_directory())
                ::utime(item.path().c_str(), &times);
        ::utime(share.c_str(), &times);
        // Whatever user nginx serves as reads and writes the tree: the temporary folder is
        // private.
        std::filesystem::permissions(dir_.path(), std::filesystem::perms(0755));
        for (const auto& item : std::filesystem::recursive_directory_iterator(share))
            std::filesystem::permissions(item.path(), item.is_directory()
                                                          ? std::filesystem::perms(0777)
                                                          : std::filesystem::perms(0666));
        std::filesystem::permissions(share, std::filesystem::perms(0777));
        std::filesystem::create_directories(dir_.path() / "temp");
    }

    // Paths are relative to the prefix (-p): the folder of this server.
    bool startNginx() {
        std::ofstream(dir_ / "htpasswd") << "me:{PLAIN}s3cret\n";
        std::ofstream(dir_ / "nginx.conf") << nginxHead("ngx_http_dav_ext_module.so") << R"(
    types { text/plain txt; text/csv csv; }
    default_type application/octet-stream;
    keepalive_requests 1000000;
    client_max_body_size 0;
    log_format framing '$request_method $http_content_length $http_transfer_encoding $http_expect';
    access_log requests.log framing;
    server {
        listen 127.0.0.1:)" << port_ << R"(;
        listen 127.0.0.1:)" << securePort_ << R"( ssl;
        ssl_certificate cert.pem;
        ssl_certificate_key key.pem;
        root share;
        dav_methods PUT DELETE MKCOL COPY MOVE;
        dav_ext_methods PROPFIND OPTIONS;
        create_full_put_path on;
        location /nodav/ { dav_ext_methods off; }
        location /private/ { auth_basic share; auth_basic_user_file htpasswd; }
    }
}
)";
        return process_.start("/usr/sbin/nginx",
                              {"-p", dir_.path().string(), "-c", dir_ / "nginx.conf", "-e",
                               dir_ / "error.log", "-g", "daemon off;"},
                              dir_ / "error.log", {port_, securePort_});
    }

    bool startRclone() {
        return process_.start("/usr/bin/rclone",
                              {"serve", "webdav", content(), "--addr",
                               "127.0.0.1:" + std::to_string(port_), "--config",
                               dir_ / "rclone.conf", "--cache-dir", dir_ / "cache"},
                              dir_ / "error.log", {port_});
    }

    static std::string text(const std::filesystem::path& file) {
        std::ifstream in(file);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    std::string log() const { return text(dir_ / "error.log"); }

    Kind kind_;
    TempDir dir_;
    int port_ = 0;
    int securePort_ = 0;
    ServerProcess process_;
};

} // namespace vexa::testing
