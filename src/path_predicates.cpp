#include <vexa/io/filesystem/core/path_predicates.hpp>

#include "path_constants.hpp"

#include <fl/filesystem.hpp>
#include <foundation/core/except/Exception.hpp>

#include <cerrno>

namespace vexa::io::filesystem::core {
namespace {

bool startsWith(fl::ustring_view text, fl::ustring_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

char16_t asciiLower(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

// `lowerPrefix` must already be lower case.
bool startsWithIgnoringAsciiCase(fl::ustring_view text, fl::ustring_view lowerPrefix) {
    if (text.size() < lowerPrefix.size())
        return false;
    for (std::size_t i = 0; i < lowerPrefix.size(); ++i)
        if (asciiLower(text[i]) != lowerPrefix[i])
            return false;
    return true;
}

bool isAsciiLetter(char16_t c) {
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

} // namespace

void makeLowerCase(fl::ustring& text) {
    // ASCII only, whatever the process locale: every case-insensitive comparison of the
    // path and rule functions must answer the same on every host.
    for (char16_t& c : text)
        c = asciiLower(c);
}

bool isUNCPath(const fl::ustring& path) {
    return path.size() >= 5 && startsWith(path, uncPrefix);
}

bool isLongPath(const fl::ustring& path) {
    return startsWith(path, longPathPrefix);
}

bool getIsAbsolute(const fl::ustring& path, bool isURL, FileSystemType type) {
    if (isURL)
        return true;
    if (type == FileSystemType::Windows) {
        // Only the last colon counts: "C:\a:b" is not taken for a drive path.
        const std::size_t colon = path.rfind(u':');
        if (colon == 1 && isAsciiLetter(path[0]))
            return true;
        return isUNCPath(path) || isLongPath(path);
    }
    return !path.empty() && path[0] == forwardSlashSeparator[0];
}

bool hasHttpPrefix(const fl::ustring& path) {
    // Compared in place rather than on a lower-cased copy: this runs on every path a
    // built-in is given.
    return startsWithIgnoringAsciiCase(path, httpPrefix) ||
           startsWithIgnoringAsciiCase(path, httpsPrefix);
}

fl::ustring getExtension(const fl::ustring& path) {
    const std::size_t dot = path.rfind(u'.');
    return dot == fl::ustring::npos ? fl::ustring() : path.substr(dot);
}

fl::ustring getPathType(const fl::ustring& path, bool isURL, FileSystemType type) {
    if (!isURL)
        return type == FileSystemType::Unix || type == FileSystemType::UrlAsUnix ? u"Unix"
                                                                                 : u"Windows";
    // URLs are classified by their scheme, which takes the IRI layer.
    throw foundation::core::except::Exception<foundation::core::except::IInternalException>(
        "URL classification is not available yet: " + fl::i18n::to_string(path));
}

bool checkIfPathEndsWithWindowsShortcut(const fl::ustring&) {
    return false;
}

int platformSpecificErrorCode() {
    return ELOOP;
}

LinkStatus isSymlink(const fl::ustring& path) {
    try {
        const auto own = fl::filesystem::symlink_status(path);
        if ((own.mode() & fl::filesystem::file_status::file_type_mask) ==
            fl::filesystem::file_status::symlink_file)
            return LinkStatus::IsLink;
    } catch (...) {
        // An unreadable status is answered as "not a link".
    }
    return LinkStatus::NotLink;
}

} // namespace vexa::io::filesystem::core
