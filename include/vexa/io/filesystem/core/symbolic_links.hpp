#pragma once

// Making symbolic links for a host's link built-in.

#include <fl/ustring.hpp>

namespace vexa::io::filesystem::core {

// Makes `linkPath` a symbolic link to `target`, both used exactly as given (a relative target
// is resolved by the link, from the link's folder). The platform decides what can be made;
// every failure leaves as one of the VEXA:io:filesystem:symlink errors: a target that is not
// there (or a missing folder on the way to the link) as TargetNotFound naming `target`, any
// other failure as FileExists, FilenameTooLarge, AccessDenied or UnknownError naming
// `linkPath`. Whatever the failure left on disk stays.
void createSymbolicLink(const fl::ustring& target, const fl::ustring& linkPath);

} // namespace vexa::io::filesystem::core
