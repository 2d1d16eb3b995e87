#include <vexa/io/filesystem/core/path_predicates.hpp>

#include "own_status.hpp"
#include "path_constants.hpp"
#include "url_parsing.hpp"

#include <fl/ascii.hpp>

#include <cerrno>

namespace vexa::io::filesystem::core {
namespace {

bool startsWith(fl::ustring_view text, fl::ustring_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

} // namespace

void makeLowerCase(fl::ustring& text) {
    // ASCII only, whatever the process locale: every case-insensitive comparison of the
    // path and rule functions must answer the same on every host.
    for (char16_t& c : text)
        c = fl::ascii::toLower(c);
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
        if (colon == 1 && fl::ascii::isLetter(path[0]))
            return true;
        return isUNCPath(path) || isLongPath(path);
    }
    return !path.empty() && path[0] == forwardSlashSeparator[0];
}

bool hasHttpPrefix(const fl::ustring& path) {
    // Compared in place rather than on a lower-cased copy: this runs on every path a
    // built-in is given.
    return fl::ascii::startsWithIgnoringCase(path, httpPrefix) ||
           fl::ascii::startsWithIgnoringCase(path, httpsPrefix);
}

fl::ustring getExtension(const fl::ustring& path) {
    const std::size_t dot = path.rfind(u'.');
    return dot == fl::ustring::npos ? fl::ustring() : path.substr(dot);
}

fl::ustring getPathType(const fl::ustring& path, bool isURL, FileSystemType type) {
    if (!isURL)
        return type == FileSystemType::Unix || type == FileSystemType::UrlAsUnix ? u"Unix"
                                                                                 : u"Windows";
    return detail::parseURLText(path).getScheme();
}

bool checkIfPathEndsWithWindowsShortcut(const fl::ustring&) {
    return false;
}

int platformSpecificErrorCode() {
    return ELOOP;
}

LinkStatus isSymlink(const fl::ustring& path) {
    // An unreadable status is answered as "not a link"; it has no type.
    return detail::ownItem(path) == detail::OwnItem::Link ? LinkStatus::IsLink
                                                          : LinkStatus::NotLink;
}

} // namespace vexa::io::filesystem::core
