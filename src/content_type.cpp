#include <vexa/io/filesystem/core/content_type.hpp>

#include <vexa/io/filesystem/core/log.hpp>

#include "answered_failures.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/File.hpp>

#include <string>

namespace vexa::io::filesystem::core {
namespace {

namespace vfs = foundation::storage::vfs;

const std::string contentTypeAttribute = "http.contentType";

fl::ustring getContentType(const fl::ustring& path) {
    const log::TraceScope trace(
        "fl::ustring vexa::io::filesystem::core::{anonymous}::getContentType(const fl::ustring&)",
        "src/getContentType", 22);
    // A content type is a hint: whatever keeps it from being read means "none known".
    return answerOr(fl::ustring(), [&] {
        const vfs::StorageSystemReference storage =
            Quarrow::VexaStorageSystem::GetStorageSystemReference();
        const vfs::File file(vfs::AbsoluteIRI(path), storage);
        const auto attributes = file.getExtendedAttributes();
        fl::ustring contentType;
        // The value is there because the name is: no second test of the optional.
        if (attributes.hasAttribute(contentTypeAttribute))
            contentType = fl::i18n::to_ustring(
                *attributes.getOptAttributeAs<std::string>(contentTypeAttribute));
        return contentType;
    });
}

} // namespace

fl::ustring getContentTypeCaller(const fl::ustring& path) {
    return getContentType(path);
}

} // namespace vexa::io::filesystem::core
