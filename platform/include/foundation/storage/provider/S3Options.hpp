#pragma once

// What an s3 provider is made with (makeS3Provider in RemoteProviders.hpp).

#include <foundation/storage/provider/HttpOptions.hpp>

#include <optional>
#include <string>

namespace foundation::storage::provider {

// Where the objects are and who asks for them. Every empty field is filled when the
// provider is made: from AWS_ENDPOINT_URL_S3 or AWS_ENDPOINT_URL, AWS_REGION or
// AWS_DEFAULT_REGION, AWS_ACCESS_KEY_ID, AWS_SECRET_ACCESS_KEY and AWS_SESSION_TOKEN, and
// then from the profile (AWS_PROFILE, else "default") of the shared credentials file
// (AWS_SHARED_CREDENTIALS_FILE, else ~/.aws/credentials) and config file (AWS_CONFIG_FILE,
// else ~/.aws/config). Without a key id the requests go unsigned.
struct S3Options {
    HttpOptions http;
    // "https://host[:port]"; empty: AWS's endpoint of the region.
    std::string endpoint;
    std::string region; // empty: as above, else "us-east-1"
    std::string accessKeyId;
    std::string secretAccessKey;
    std::string sessionToken;
    std::string profile;
    // "host/bucket/key" rather than "bucket.host/key"; none: path style for an endpoint of
    // one's own, virtual-hosted for AWS's.
    std::optional<bool> pathStyle;
    // The keys a listing page asks for: S3 gives at most 1000.
    int maxKeys = 1000;
    // Whether empty fields are taken from the environment and the shared files.
    bool fromEnvironment = true;
};

} // namespace foundation::storage::provider
