#pragma once

// Separators and prefixes shared by the path functions. Each source file that includes
// this gets its own copies, built before any exported function can run.

#include <fl/ustring.hpp>

namespace vexa::io::filesystem::core {

const fl::ustring backslashSeparator = u"\\";
const fl::ustring forwardSlashSeparator = u"/";
const fl::ustring uncPrefix = u"\\\\";
const fl::ustring longPathPrefix = u"\\\\?\\";
const fl::ustring urlSeparator = u"/";
const fl::ustring httpPrefix = u"http://";
const fl::ustring httpsPrefix = u"https://";

} // namespace vexa::io::filesystem::core
