#pragma once

// A real web server for the http(s) provider's tests and benchmark: nginx on 127.0.0.1, with
// its configuration, content, logs and temporary files in a fresh folder, one process
// (master_process off) that ends with this object, and with the test process should that
// die first. Its content:
//
//   /files/                 autoindex: notes.txt, report.csv (text/csv; charset=utf-8),
//                           "a b ü.txt", "x&y#z?%.txt", "a:b.txt", big.bin (1 MiB), sub/
//   /files/sub/             autoindex: inner.txt, deeper/ (holding leaf.txt)
//   /page/                  a folder whose index.html is served instead of a listing
//   /refusing/405.txt, /refusing/501.txt   HEAD answered 405 or 501, GET served
//   /status/N               N for 401, 403, 404, 407, 410, 418, 500
//   /hop/1 -> /hop/2 -> /hop/3 -> /files/notes.txt     302, 301, 307
//   /loop/a <-> /loop/b
//   /zoned.txt              Last-Modified with a time zone (+0100), ETag "zoned-1"
//   /unsized                a body in chunks: no Content-Length
//   /slow.bin               4000 bytes at 100 bytes a second
//   /cut.bin                Content-Length 100000, then the connection closes after some
//                           10 kB: a proxy to a body that stalls, with a short read timeout
//   /connection             the number of the connection that asked
//   /status/300, /status/302   300 and 302 without Location: nothing to follow
//   /status/204, /status/206   answers without a body
//   /trickle.bin            a body sent at 2 bytes a second
//   /dav/                   writable: PUT, DELETE, MKCOL, MOVE (no PROPFIND)
//   /echo                   answers "METHOD X-Probe-header BODY" of the request
//
// https: the same on a second port, with a certificate made for the run for the IP
// 127.0.0.1, trusted through caFile(). Every request is logged: requests(path) counts them.
//
// ScriptedServer, below, answers what nginx will not: nothing at all, a status line
// trickled, a failure a chosen number of times before the answer.

#include "RunProgram.hpp"
#include "ServerProcess.hpp"
#include "TempDir.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

namespace vexa::testing {

// A descriptor closed with its owner.
class Socket {
public:
    explicit Socket(int fd = -1) noexcept : fd_(fd) {}
    Socket(Socket&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Socket& operator=(Socket other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Socket() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    int get() const noexcept { return fd_; }

private:
    int fd_;
};

// A port of 127.0.0.1 bound by `socket`, chosen by the system.
inline int bindLoopback(const Socket& socket) {
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (socket.get() < 0 ||
        ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no free port");
    return ntohs(address.sin_port);
}

// A port nothing listens on, for now.
inline int freePort() {
    return bindLoopback(Socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)));
}

// The start of a test nginx's configuration, as every test server writes it: one process,
// its files relative to its own folder (-p), `module` loaded; the http block is left open.
inline std::string nginxHead(std::string_view module) {
    return std::string(R"(
master_process off;
pid nginx.pid;
error_log error.log;
load_module /usr/lib/nginx/modules/)") +
           std::string(module) + R"(;
events { worker_connections 256; }
http {
    access_log access.log;
    client_body_temp_path temp/body;
    proxy_temp_path temp/proxy;
    fastcgi_temp_path temp/fastcgi;
    uwsgi_temp_path temp/uwsgi;
    scgi_temp_path temp/scgi;
)";
}

// key.pem and cert.pem in `dir`: a self-signed EC certificate for 127.0.0.1, made in
// milliseconds, its own CA.
inline void makeCertificate(const TempDir& dir) {
    const auto made =
        runProgram("/usr/bin/openssl",
                   {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                    "-nodes", "-keyout", dir / "key.pem", "-out", dir / "cert.pem", "-days", "2",
                    "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1"});
    if (made.exitCode != 0)
        throw std::runtime_error("openssl failed: " + made.err);
}

class HttpServer {
public:
    // The time of every file with a known time: 2021-03-04 05:06:07 UTC.
    static constexpr std::time_t fileTime = 1614834367;
    static constexpr std::size_t bigSize = 1 << 20;

    HttpServer() {
        makeContent();
        makeCertificate(dir_);
        for (int attempt = 0;; ++attempt) {
            // Another process may take a port between the look and nginx's bind: try again.
            port_ = freePort();
            do
                securePort_ = freePort();
            while (securePort_ == port_);
            writeConfiguration();
            if (start())
                break;
            if (attempt == 3)
                throw std::runtime_error("nginx did not start: " + errorLog());
        }
    }
    ~HttpServer() { stop(); }
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // "http://127.0.0.1:PORT" and `path`; secureUrl the same over https.
    std::string url(std::string_view path) const { return origin("http", port_).append(path); }
    std::string secureUrl(std::string_view path) const {
        return origin("https", securePort_).append(path);
    }
    // The same on a port where nothing listens: a refused connection.
    static std::string closedUrl(std::string_view path) {
        return origin("http", freePort()).append(path);
    }

    // The certificate that makes the https port trusted.
    std::string caFile() const { return dir_ / "cert.pem"; }
    // How many requests for `path` (as the request line names it) the server has answered,
    // with `status` only where one is given.
    std::size_t requests(std::string_view path, int status = 0) const {
        std::string requestLine(1, ' ');
        requestLine.append(path).append(" HTTP/");
        const std::string answer = "\" " + std::to_string(status) + " ";
        std::ifstream in(dir_ / "access.log");
        std::size_t count = 0;
        for (std::string line; std::getline(in, line);)
            count += line.find(requestLine) != std::string::npos &&
                     (status == 0 || line.find(answer) != std::string::npos);
        return count;
    }

    // The folder served as "/": more content may be added while the server runs.
    std::string content() const { return dir_ / "www"; }
    // The bytes of /files/big.bin.
    static std::string bigContent() {
        std::string bytes(bigSize, '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i * 7 % 251);
        return bytes;
    }

private:
    static std::string origin(const char* scheme, int port) {
        return std::string(scheme) + "://127.0.0.1:" + std::to_string(port);
    }

    void addFile(const std::string& name, const std::string& bytes, bool knownTime = true) const {
        const std::filesystem::path path = dir_.path() / "www" / name;
        std::filesystem::create_directories(path.parent_path());
        if (!(std::ofstream(path, std::ios::binary) << bytes))
            throw std::runtime_error("cannot write " + path.string());
        const utimbuf times{fileTime, fileTime};
        if (knownTime && ::utime(path.c_str(), &times) != 0)
            throw std::runtime_error("cannot set the time of " + path.string());
    }

    void makeContent() const {
        addFile("files/notes.txt", "hello\n");
        addFile("files/report.csv", "a,b\n1,2\n");
        addFile("files/a b \u00fc.txt", "spaced\n");
        addFile("files/x&y#z?%.txt", "marks\n");
        addFile("files/a:b.txt", "colon\n");
        addFile("files/big.bin", bigContent());
        addFile("files/sub/inner.txt", "inner\n");
        addFile("files/sub/deeper/leaf.txt", "leaf\n");
        addFile("page/index.html",
                "<html><head><title>Home</title></head><body><a href=\"x\">x</a></body></html>\n");
        addFile("refusing/405.txt", "no head\n");
        addFile("refusing/501.txt", "no head\n");
        addFile("slow.bin", std::string(4000, 's'), false);
        addFile("trickle.bin", std::string(4000, 't'), false);
        addFile("whole/cut.bin", std::string(100000, 'c'), false);
        // Whatever user nginx serves as reads the tree: the temporary folder is private.
        std::filesystem::permissions(dir_.path(), std::filesystem::perms(0755));
        std::filesystem::create_directories(dir_.path() / "temp");
        std::filesystem::create_directories(dir_.path() / "www" / "dav" / "private");
    }

    // Paths are relative to the prefix (-p): the folder of this server.
    void writeConfiguration() const {
        const std::string port = std::to_string(port_);
        std::string statuses;
        for (const char* code :
             {"204", "206", "300", "302", "401", "403", "404", "407", "410", "418", "500"})
            statuses += std::string("location = /status/") + code + " { return " + code + "; }\n";
        // /dav/private/ asks for a password: user "me", password "s3cret".
        std::ofstream(dir_ / "htpasswd") << "me:{PLAIN}s3cret\n";
        std::ofstream(dir_ / "nginx.conf") << nginxHead("ngx_http_echo_module.so") << R"(
    types { text/plain txt; text/csv csv; text/html html; }
    default_type application/octet-stream;
    charset_types text/csv;
    keepalive_requests 1000000;
    server {
        listen 127.0.0.1:)" << port << R"(;
        listen 127.0.0.1:)" << securePort_ << R"( ssl;
        ssl_certificate cert.pem;
        ssl_certificate_key key.pem;
        root www;
        autoindex on;
        location /files/ { charset utf-8; }
        location = /refusing/405.txt { if ($request_method = HEAD) { return 405; } }
        location = /refusing/501.txt { if ($request_method = HEAD) { return 501; } }
        )" << statuses << R"(
        location = /hop/1 { return 302 /hop/2; }
        location = /hop/2 { return 301 /hop/3; }
        location = /hop/3 { return 307 /files/notes.txt; }
        location = /loop/a { return 302 /loop/b; }
        location = /loop/b { return 302 /loop/a; }
        location = /zoned.txt {
            add_header Last-Modified "Thu, 04 Mar 2021 06:06:07 +0100";
            add_header ETag '"zoned-1"';
            return 200 "zoned\n";
        }
        location = /unsized { echo "streamed"; }
        location = /slow.bin { limit_rate 100; }
        location = /trickle.bin { limit_rate 2; }
        location = /cut.bin {
            proxy_pass http://127.0.0.1:)" << port
                                           << R"(/whole/cut.bin;
            proxy_buffering off;
            proxy_read_timeout 300ms;
        }
        location /whole/ { limit_rate_after 10000; limit_rate 1; }
        location = /connection { return 200 "$connection"; }
        location /dav/ { dav_methods PUT DELETE MKCOL MOVE; client_max_body_size 0; }
        location /dav/private/ {
            dav_methods PUT DELETE MKCOL MOVE;
            auth_basic share;
            auth_basic_user_file htpasswd;
        }
        location = /echo {
            echo_read_request_body;
            echo -n "$request_method $http_x_probe $request_body";
        }
    }
}
)";
    }

    bool start() {
        return process_.start("/usr/sbin/nginx",
                              {"-p", dir_.path().string(), "-c", dir_ / "nginx.conf", "-e",
                               dir_ / "error.log", "-g", "daemon off;"},
                              dir_ / "error.log", {port_, securePort_});
    }

    void stop() { process_.stop(); }

    std::string errorLog() const {
        std::ifstream in(dir_ / "error.log");
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    TempDir dir_;
    int port_ = 0;
    int securePort_ = 0;
    ServerProcess process_;
};

// A server on 127.0.0.1 that answers as a test writes it. The n-th connection gets the n-th
// answer of the script (the last one again once the script runs out) once its request has
// come, and is closed after it; the times the requests came, and the requests themselves
// (head and a body of a Content-Length), are kept.
class ScriptedServer {
public:
    struct Answer {
        std::string bytes;      // sent as they are
        int bytesPerSecond = 0; // 0: at once
        bool silent = false;    // nothing at all, the connection held open
    };
    // An answer with `status`, the header lines `headers` (each ending in "\r\n") and `body`.
    static Answer answer(int status, std::string headers = {}, std::string body = {}) {
        return {"HTTP/1.1 " + std::to_string(status) + " Scripted\r\n" + headers +
                "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" +
                body};
    }

    explicit ScriptedServer(std::vector<Answer> script) : script_(std::move(script)) {
        port_ = bindLoopback(listening_);
        int ends[2];
        if (::listen(listening_.get(), 16) != 0 || ::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("cannot listen");
        stopRead_ = Socket(ends[0]);
        stopWrite_ = Socket(ends[1]);
        acceptor_ = std::thread([this] { accepting(); });
    }
    ~ScriptedServer() {
        // A readable pipe ends every wait of every thread.
        (void)!::write(stopWrite_.get(), "x", 1);
        acceptor_.join();
        for (std::thread& thread : answering_)
            thread.join();
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::string url(std::string_view path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
    }
    std::vector<std::chrono::steady_clock::time_point> requests() const {
        std::lock_guard lock(mutex_);
        return requests_;
    }
    std::vector<std::string> requestTexts() const {
        std::lock_guard lock(mutex_);
        return texts_;
    }

private:
    // Whether `fd` is ready within `milliseconds` (-1: until it is), not stopped first.
    bool ready(int fd, short events, int milliseconds = -1) const {
        pollfd watched[] = {{fd, events, 0}, {stopRead_.get(), POLLIN, 0}};
        return ::poll(watched, 2, milliseconds) >= 0 && watched[1].revents == 0 &&
               watched[0].revents != 0;
    }

    void accepting() {
        while (ready(listening_.get(), POLLIN)) {
            Socket connection(::accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (connection.get() < 0)
                continue;
            std::lock_guard lock(mutex_);
            answering_.emplace_back([this, c = std::move(connection)]() mutable { answer(c); });
        }
    }

    void answer(const Socket& connection) {
        std::string request;
        char chunk[4096];
        while (request.find("\r\n\r\n") == std::string::npos) {
            if (!ready(connection.get(), POLLIN))
                return;
            const ssize_t got = ::read(connection.get(), chunk, sizeof chunk);
            if (got <= 0)
                return;
            request.append(chunk, static_cast<std::size_t>(got));
        }
        static constexpr std::string_view lengthHeader = "\r\nContent-Length: ";
        if (const auto at = request.find(lengthHeader); at != std::string::npos) {
            const std::size_t whole = request.find("\r\n\r\n") + 4 +
                                      std::stoul(request.substr(at + lengthHeader.size(), 20));
            while (request.size() < whole && ready(connection.get(), POLLIN, 5000)) {
                const ssize_t got = ::read(connection.get(), chunk, sizeof chunk);
                if (got <= 0)
                    break;
                request.append(chunk, static_cast<std::size_t>(got));
            }
        }
        Answer reply;
        {
            std::lock_guard lock(mutex_);
            reply = script_.at(std::min(requests_.size(), script_.size() - 1));
            requests_.push_back(std::chrono::steady_clock::now());
            texts_.push_back(request);
        }
        if (reply.silent) {
            ready(connection.get(), 0); // until the server stops
            return;
        }
        const std::size_t pace = reply.bytesPerSecond ? reply.bytesPerSecond : reply.bytes.size();
        for (std::size_t sent = 0; sent < reply.bytes.size(); sent += pace) {
            if (sent > 0 && (ready(connection.get(), 0, 1000) || stopped()))
                return;
            const std::string_view part = std::string_view(reply.bytes).substr(sent, pace);
            if (::send(connection.get(), part.data(), part.size(), MSG_NOSIGNAL) < 0)
                return;
        }
    }

    bool stopped() const {
        pollfd stop{stopRead_.get(), POLLIN, 0};
        return ::poll(&stop, 1, 0) != 0;
    }

    std::vector<Answer> script_;
    Socket listening_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    int port_ = 0;
    Socket stopRead_, stopWrite_;
    mutable std::mutex mutex_;
    std::vector<std::chrono::steady_clock::time_point> requests_;
    std::vector<std::string> texts_;
    std::vector<std::thread> answering_;
    std::thread acceptor_;
};

} // namespace vexa::testing
