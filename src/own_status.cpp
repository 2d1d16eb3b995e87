#include "own_status.hpp"

#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

namespace vexa::io::filesystem::core::detail {

OwnItem ownItem(const fl::ustring& path) {
    std::error_code unreadable;
    const auto own = fl::filesystem::symlink_status(path, unreadable);
    if (unreadable)
        return OwnItem::Unreadable;
    return own.type() == fl::filesystem::file_status::symlink_file ? OwnItem::Link
                                                                   : OwnItem::NotLink;
}

bool resolveThroughFolder(fl::ustring& path) {
    namespace fs = fl::filesystem;
    const char16_t separator = fs::upath_constant::PATHNAME_SEPARATOR.front();
    if (path.empty() || path.back() == separator)
        return false;
    const std::size_t slash = path.rfind(separator);
    const std::size_t nameStart = slash == fl::ustring::npos ? 0 : slash + 1;
    const fl::ustring_view name = fl::ustring_view(path).substr(nameStart);
    // The canonical path is text made from bytes: a name that its bytes would give otherwise
    // cannot be taken as it stands.
    if (name == u"." || name == u".." || !fl::i18n::isWellFormed(name))
        return false;
    fl::ustring folder = fs::detail::extract_parent_path(path);
    try {
        folder = folder.empty() ? fs::get_current_path() : fs::canonical(folder, {});
    } catch (const fs::FsysExceptionBase&) {
        return false;
    }
    // The folder's text goes in place of the one typed.
    if (folder.back() != separator)
        folder += separator;
    path.replace(0, nameStart, folder);
    return true;
}

} // namespace vexa::io::filesystem::core::detail
