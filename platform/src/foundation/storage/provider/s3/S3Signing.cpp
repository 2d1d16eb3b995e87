// The s3 provider's settings (options, else the AWS environment variables, else the shared
// credentials and config files), the address of a bucket and key, and signed requests.

#include "S3Request.hpp"

#include <fl/ascii.hpp>

#include <openssl/evp.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <map>

namespace foundation::storage::provider::s3 {
namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

// The settings of one section of an INI file as the AWS tools write them ("[name]", then
// "key = value" lines); empty when the file or the section is not there.
std::map<std::string, std::string> section(const std::string& file, const std::string& name) {
    std::map<std::string, std::string> values;
    std::ifstream in(file);
    bool inside = false;
    for (std::string line; std::getline(in, line);) {
        const std::string text = trimmed(line);
        if (text.empty() || text[0] == '#' || text[0] == ';')
            continue;
        if (text.front() == '[') {
            inside = text.back() == ']' && trimmed(text.substr(1, text.size() - 2)) == name;
            continue;
        }
        const auto equals = text.find('=');
        if (inside && equals != std::string::npos)
            values.emplace(trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1)));
    }
    return values;
}

std::string orElse(std::string value, const std::string& other) {
    return value.empty() ? other : value;
}

std::string hexSha256(std::string_view data) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    EVP_Digest(data.data(), data.size(), digest.data(), &length, EVP_sha256(), nullptr);
    static constexpr char hex[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < length; ++i)
        text.append({hex[digest[i] >> 4], hex[digest[i] & 15]});
    return text;
}

} // namespace

S3Options resolved(S3Options options) {
    if (!options.fromEnvironment) {
        if (options.region.empty())
            options.region = "us-east-1";
    } else {
        const std::string home = environment("HOME");
        options.profile = orElse(options.profile, orElse(environment("AWS_PROFILE"), "default"));
        const auto credentials =
            section(orElse(environment("AWS_SHARED_CREDENTIALS_FILE"), home + "/.aws/credentials"),
                    options.profile);
        // The config file names every profile but the default one "profile NAME".
        const auto config =
            section(orElse(environment("AWS_CONFIG_FILE"), home + "/.aws/config"),
                    options.profile == "default" ? "default" : "profile " + options.profile);
        const auto fromFiles = [&](const char* key) {
            for (const auto* values : {&credentials, &config})
                if (const auto found = values->find(key); found != values->end())
                    return found->second;
            return std::string();
        };
        options.endpoint = orElse(options.endpoint, orElse(environment("AWS_ENDPOINT_URL_S3"),
                                                           environment("AWS_ENDPOINT_URL")));
        options.region =
            orElse(options.region, orElse(environment("AWS_REGION"),
                                          orElse(environment("AWS_DEFAULT_REGION"),
                                                 orElse(fromFiles("region"), "us-east-1"))));
        // A key id and its secret belong together: both from one place.
        if (options.accessKeyId.empty()) {
            if (!environment("AWS_ACCESS_KEY_ID").empty()) {
                options.accessKeyId = environment("AWS_ACCESS_KEY_ID");
                options.secretAccessKey = environment("AWS_SECRET_ACCESS_KEY");
                options.sessionToken = environment("AWS_SESSION_TOKEN");
            } else {
                options.accessKeyId = fromFiles("aws_access_key_id");
                options.secretAccessKey = fromFiles("aws_secret_access_key");
                options.sessionToken = fromFiles("aws_session_token");
            }
        }
    }
    if (!options.pathStyle)
        options.pathStyle = !options.endpoint.empty();
    if (options.endpoint.empty())
        options.endpoint = "https://s3." + options.region + ".amazonaws.com";
    while (options.endpoint.ends_with('/'))
        options.endpoint.pop_back();
    return options;
}

Place placeOf(const vfs::AbsoluteIRI& location) {
    const auto& url = location.toIRI().url();
    Place place{std::string(url.host()), std::string(url.path())};
    if (place.key.starts_with('/'))
        place.key.erase(0, 1);
    return place;
}

std::string folderKey(std::string key) {
    if (!key.empty() && !key.ends_with('/'))
        key += '/';
    return key;
}

std::string escaped(std::string_view text, bool keepSlash) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (fl::ascii::isUnreserved(static_cast<char32_t>(byte)) || (keepSlash && c == '/'))
            out += c;
        else
            out.append({'%', hex[byte >> 4], hex[byte & 15]});
    }
    return out;
}

std::string queryText(const Query& query) {
    std::string text;
    for (const auto& [name, value] : query) {
        text += text.empty() ? '?' : '&';
        text += escaped(name, false);
        text += '=';
        text += escaped(value, false);
    }
    return text;
}

http::Request requestFor(const S3Options& options, const Place& place, std::string method,
                         const Query& query, std::string body) {
    http::Request request;
    request.method = std::move(method);
    const std::string key = escaped(place.key, true);
    if (*options.pathStyle) {
        request.url = options.endpoint + '/' + escaped(place.bucket, false);
        if (!key.empty())
            request.url += '/' + key;
    } else {
        const auto host = options.endpoint.find("://") + 3;
        request.url = options.endpoint.substr(0, host) + place.bucket + '.' +
                      options.endpoint.substr(host) + '/' + key;
    }
    request.url += queryText(query);
    if (!options.accessKeyId.empty()) {
        request.credentials.user = options.accessKeyId;
        request.credentials.password = options.secretAccessKey;
        request.credentials.awsSigV4 = "aws:amz:" + options.region + ":s3";
        // curl signs the hash of the body it sends; S3 wants the same hash in this header.
        request.headers.push_back("x-amz-content-sha256: " + hexSha256(body));
        if (!options.sessionToken.empty())
            request.headers.push_back("x-amz-security-token: " + options.sessionToken);
    }
    request.body = std::move(body);
    return request;
}

} // namespace foundation::storage::provider::s3
