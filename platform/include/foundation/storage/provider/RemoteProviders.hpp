#pragma once

// The providers of other machines' storage. Their code, and the libraries it needs
// (libcurl), is a library of its own, libvexa_remote_storage.so beside the platform's,
// loaded at the first call that reaches one of them: a program that only reaches local
// files never loads it. What each one serves is known without loading it, so its schemes
// count as IRI prefixes from the start. The host's storage system starts with one of each,
// made with the default options; a host program that wants others replaces it:
//
//     Quarrow::VexaStorageSystem::GetStorageSystemReference()->addProvider(
//         foundation::storage::provider::makeHttpProvider(options));
//
// A library that cannot be loaded fails the call that needed it with UnsupportedOperation,
// the loader's reason beside it.

#include <foundation/storage/provider/HttpOptions.hpp>
#include <foundation/storage/provider/S3Options.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>

#include <memory>

namespace foundation::storage::provider {

// `http` and `https`, read-only: every change fails with ReadOnlyProvider. A location's path
// ending in "/" names a folder, listed from the links of its index page. A look is one HEAD
// request (a ranged GET of byte 0 where the server refuses HEAD), made again while it fails
// in a way that may pass; it tells every fact: Last-Modified (else Date), Content-Length
// (else 0), never writable, and "http.contentType" and "http.etag" as the server sends them.
// Connections are kept per thread and reused by the next request to the same server.
std::shared_ptr<const StorageProvider> makeHttpProvider(HttpOptions options = {});

// `dav` and `davs`: WebDAV shares, "dav://host/p" reached as "http://host/p" and "davs://"
// as "https://". Who asks is the IRI's user info, else the host's entry in ~/.netrc. The
// kind of an item is the share's answer (a collection is a folder), never the trailing "/"
// of the IRI; a look is one PROPFIND, a listing one PROPFIND of depth 1 per folder.
std::shared_ptr<const StorageProvider> makeDavProvider(HttpOptions options = {});

// `s3`: "s3://bucket/key/parts", the objects of a bucket as files and key prefixes ending in
// "/" as folders. The empty fields of `options` are filled from the AWS environment and
// shared files when the provider is first used. Not atomic where S3 is not: a rename copies
// the object and then deletes the original.
std::shared_ptr<const StorageProvider> makeS3Provider(S3Options options = {});

} // namespace foundation::storage::provider
