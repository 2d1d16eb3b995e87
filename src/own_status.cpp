#include "own_status.hpp"

#include <fl/filesystem.hpp>

namespace vexa::io::filesystem::core::detail {

OwnItem ownItem(const fl::ustring& path) {
    std::error_code unreadable;
    const auto own = fl::filesystem::symlink_status(path, unreadable);
    if (unreadable)
        return OwnItem::Unreadable;
    return own.type() == fl::filesystem::file_status::symlink_file ? OwnItem::Link
                                                                   : OwnItem::NotLink;
}

} // namespace vexa::io::filesystem::core::detail
