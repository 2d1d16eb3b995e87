// getPathComponents: the first byte chooses URL or file path and the rules, the rest is the
// path. Only the documented errors escape (invalidIRI, IncorrectFileSystemType, and for file
// paths none); a file path is its parent, the separator and its name; a URL's parent is text
// in the IRI layer's normal form.

#include "Fuzz.hpp"

#include <foundation/core/except/IException.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <vexa/io/filesystem/core/path_components.hpp>

namespace {

namespace core = vexa::io::filesystem::core;
using vexa::fuzz::require;

void checkFilePath(const fl::ustring& path, core::FileSystemType type) {
    const auto parts = core::getPathComponents(path, false, type);
    const std::string what = fl::i18n::to_string(path);
    const bool windows = type == core::FileSystemType::Windows;
    const char16_t separator = windows && path.find(u'\\') != fl::ustring::npos ? u'\\' : u'/';
    if (path.find(separator) != fl::ustring::npos)
        require(parts.parent + separator + parts.name == path, "split apart wrongly: " + what);
    else
        require(parts.parent.empty() && parts.name == path, "split without a separator: " + what);
    require(parts.extension == core::getExtension(parts.name), "extension of " + what);
    require(parts.host.empty() && parts.port == -1 && parts.query.empty() && parts.fragment.empty(),
            "URL parts of a file path: " + what);
}

void checkUrl(const fl::ustring& path, core::FileSystemType type) {
    const std::string what = fl::i18n::to_string(path);
    try {
        const auto parts = core::getPathComponents(path, true, type);
        require(type != core::FileSystemType::Unix && type != core::FileSystemType::Windows,
                "a URL split by file rules: " + what);
        try {
            const foundation::storage::vfs::AbsoluteIRI parent(parts.parent);
            require(parent.toString() == parts.parent, "the parent " +
                                                           fl::i18n::to_string(parts.parent) +
                                                           " is not in normal form: " + what);
        } catch (const foundation::storage::vfs::InvalidIRIException&) {
            require("the parent " + fl::i18n::to_string(parts.parent) + " is no IRI: " + what);
        }
        require(parts.extension == core::getExtension(parts.name), "extension of " + what);
    } catch (const foundation::core::except::IMsgIDException& error) {
        const std::string id = error.GetID();
        require(id == "VEXA:virtualfileio:path:invalidIRI" ||
                    id == "VEXA:io:filesystem:common:IncorrectFileSystemType",
                id + " for " + what);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const bool isURL = data[0] & 1;
    const auto type = static_cast<core::FileSystemType>((data[0] >> 1) & 3);
    const fl::ustring path = vexa::fuzz::text(vexa::fuzz::bytesOf(data + 1, size - 1));
    if (isURL)
        checkUrl(path, type);
    else
        checkFilePath(path, type);
    return 0;
}
