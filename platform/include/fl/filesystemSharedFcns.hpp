#pragma once

// Path helpers shared by the host's file functions: existence and folder tests that
// follow links, lexical "." and ".." folding, and the Windows-only separator rules,
// which do nothing on this platform.

#include <fl/ustring.hpp>

namespace filesystemSharedFcns {

// Whether an item is there, following links: a dangling link does not exist. Failures
// other than not-found (no permission, a loop of links, U+0000) throw the fl::filesystem
// exception for them.
bool exists(const fl::ustring& path);

// A folder, or a link that leads to one. Never throws: a status that cannot be read
// answers false.
bool isDir(const fl::ustring& path);

bool isPathSeparator(const char16_t& c);

// Removes "." segments, without looking at the file system: "/a/./b" becomes "/a/b".
// A relative path that was nothing but "." segments stays "."; runs of separators
// collapse.
void handleSingleDots(fl::ustring& path);

// Folds each ".." with the name before it, without looking at the file system, so a link
// followed by ".." is folded as text. ".." above the root stays at the root ("/.." is "/",
// as the system resolves it); a relative path keeps the ".." it cannot fold ("a/../../b"
// becomes "../b"). "." segments are dropped on the way; runs of separators collapse.
void handleDotDots(fl::ustring& path);

// Windows separators become native there; on this platform a backslash is an ordinary
// character and nothing changes.
void replaceSlashesOnWindows(fl::ustring& path);

// A UNC path on Windows; never on this platform, where "//x" is "/x".
bool startsWithSlashSlashOnWindows(const fl::ustring& path);

} // namespace filesystemSharedFcns
