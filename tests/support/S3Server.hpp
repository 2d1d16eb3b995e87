#pragma once

// A real S3 server for the s3 provider's tests: s3rver (installed by scripts/setup) on
// 127.0.0.1 with a free port, its objects in a fresh folder, the bucket "bucket" made at
// start, and one process that ends with this object, and with the test process should that
// die first. It takes the key id S3RVER with any secret and any signature: signatures are
// checked against botocore instead (s3_provider_test). S3Storage installs a provider for it
// in the host's storage system for one test.

#include "HttpServer.hpp"
#include "ServerProcess.hpp"
#include "Storage.hpp"
#include "Text.hpp"

#include <foundation/storage/provider/RemoteProviders.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#ifndef S3RVER_PATH
#error "S3RVER_PATH: the s3rver that scripts/setup installs"
#endif

namespace vexa::testing {

class S3Server {
public:
    static constexpr const char* bucket = "bucket";

    S3Server() {
        if (!std::filesystem::exists(S3RVER_PATH))
            throw std::runtime_error("no " S3RVER_PATH ": run scripts/setup");
        for (int attempt = 0;; ++attempt) {
            // Another process may take the port between the look and the server's bind.
            port_ = freePort();
            if (start())
                break;
            if (attempt == 3)
                throw std::runtime_error("s3rver did not start: " + log());
        }
    }
    S3Server(const S3Server&) = delete;
    S3Server& operator=(const S3Server&) = delete;

    std::string endpoint() const { return "http://127.0.0.1:" + std::to_string(port_); }
    // Settings for a provider of this server, none from the environment.
    provider::S3Options options() const {
        provider::S3Options options;
        options.endpoint = endpoint();
        options.accessKeyId = "S3RVER";
        options.secretAccessKey = "S3RVER";
        options.fromEnvironment = false;
        return options;
    }
    // The folder that holds the objects.
    std::filesystem::path folder() const { return dir_ / "data"; }

private:
    bool start() {
        std::filesystem::create_directories(dir_ / "data");
        // Without the legacy provider, node 17+ fails the MD5 of a continuation token: 500.
        // Node takes a moment to load the server.
        return process_.start(S3RVER_PATH,
                              {"-d", dir_ / "data", "-a", "127.0.0.1", "-p", std::to_string(port_),
                               "--configure-bucket", bucket, "--silent"},
                              dir_ / "s3rver.log", {port_},
                              {"NODE_OPTIONS=--openssl-legacy-provider"}, std::chrono::seconds(20));
    }

    std::string log() const {
        std::ifstream in(dir_ / "s3rver.log");
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    TempDir dir_;
    int port_ = 0;
    ServerProcess process_;
};

// The AWS environment variables that lead a program's s3 provider (vexafs's) to `server`,
// for one test; the previous values come back at the end.
class S3Environment {
public:
    explicit S3Environment(const S3Server& server) {
        const provider::S3Options options = server.options();
        for (const auto& [name, value] :
             {std::pair<const char*, std::string>{"AWS_ENDPOINT_URL_S3", options.endpoint},
              {"AWS_ACCESS_KEY_ID", options.accessKeyId},
              {"AWS_SECRET_ACCESS_KEY", options.secretAccessKey},
              {"AWS_REGION", "us-east-1"}}) {
            const char* old = std::getenv(name);
            saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
            ::setenv(name, value.c_str(), 1);
        }
    }
    ~S3Environment() {
        for (const auto& [name, value] : saved_)
            value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
    }
    S3Environment(const S3Environment&) = delete;
    S3Environment& operator=(const S3Environment&) = delete;

private:
    std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

// The host's storage system serving s3 from a fresh S3Server for one test; the previous
// system comes back at the end.
class S3Storage {
public:
    explicit S3Storage(int maxKeys = 1000)
        : provider_(provider::makeS3Provider(optionsWith(server_, maxKeys))),
          storage_({provider_}) {}

    const S3Server& server() const noexcept { return server_; }
    const provider::StorageProvider& provider() const noexcept { return *provider_; }
    // Objects and folder markers made for a test's rows: "dir/" a marker, else an object.
    void make(std::initializer_list<std::string_view> keys) const {
        for (const std::string_view key : keys) {
            const vfs::AbsoluteIRI location(url(key));
            if (key.ends_with('/')) {
                provider_->createFolder(location);
                continue;
            }
            const auto stream =
                provider_->openForWriting(location, vfs::WriteMode::replace, std::nullopt);
            stream->write(key); // its own key as its content
            stream->commit();
        }
    }
    // "s3://bucket/" + key.
    static fl::ustring url(std::string_view key) {
        return u(std::string("s3://") + S3Server::bucket + "/" + std::string(key));
    }

private:
    static provider::S3Options optionsWith(const S3Server& server, int maxKeys) {
        provider::S3Options options = server.options();
        options.maxKeys = maxKeys;
        return options;
    }

    S3Server server_;
    std::shared_ptr<const provider::StorageProvider> provider_;
    ScopedStorageSystem storage_;
};

} // namespace vexa::testing
