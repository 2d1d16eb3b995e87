#pragma once

// Small questions asked of a path string: is it absolute, a UNC or long path, an HTTP
// address; its extension and its kind of path system; whether it is a symbolic link.

#include <fl/ustring.hpp>

namespace vexa::io::filesystem::core {

// Which path rules apply. The two URL kinds are not file systems; note that UrlAsWindows
// judges absoluteness by Unix rules yet is named "Windows" by getPathType, which host code
// relies on.
enum class FileSystemType : int {
    Unix = 0,
    Windows = 1,
    UrlAsWindows = 2,
    UrlAsUnix = 3,
};

// What isSymlink answers. Callers compare against IsLink; 1 is never produced.
enum class LinkStatus : unsigned {
    IsLink = 0,
    NotLink = 2, // not a link, or its status could not be read
};

// Lower-cases ASCII letters in place. Nothing else changes: no Unicode case folding.
void makeLowerCase(fl::ustring& text);

// Starts with "\\" and has at least five code units.
bool isUNCPath(const fl::ustring& path);

// Starts with "\\?\".
bool isLongPath(const fl::ustring& path);

// A URL is always absolute. Windows rules accept a drive letter with its colon at index 1
// (so "C:" and "C:foo" too), a UNC or a long path; every other type wants a leading "/".
bool getIsAbsolute(const fl::ustring& path, bool isURL, FileSystemType type);

// Starts with "http://" or "https://", ignoring ASCII case.
bool hasHttpPrefix(const fl::ustring& path);

// From the last "." of the whole text to its end, dot included; "" when there is none.
// Separators are not looked at: pass the last component for a file's extension.
fl::ustring getExtension(const fl::ustring& path);

// "Unix" or "Windows" from the type for a file path; for a URL, its scheme as the IRI
// layer reports it. Only the URL form can throw (the IRI layer's InvalidIRIException).
fl::ustring getPathType(const fl::ustring& path, bool isURL, FileSystemType type);

// Windows shortcut files do not exist on this platform: always false.
bool checkIfPathEndsWithWindowsShortcut(const fl::ustring& path);

// The native error number of a symbolic-link loop (ELOOP).
int platformSpecificErrorCode();

// Whether the path itself (not following a final link) is a symbolic link. Never throws.
LinkStatus isSymlink(const fl::ustring& path);

} // namespace vexa::io::filesystem::core
