#include <fl/filesystemSharedFcns.hpp>

#include <fl/filesystem.hpp>

#include <algorithm>
#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace filesystemSharedFcns {
namespace {

namespace fs = fl::filesystem;

const fl::ustring& currentFolder = fs::upath_constant::CURRENT_DIRECTORY;
const fl::ustring& parentFolder = fs::upath_constant::PARENT_DIRECTORY;

// A path as text: whether it starts at the root, its names, and whether it ends with a
// separator. Views into the caller's string, which must outlive it.
struct LexicalPath {
    bool rooted = false;
    bool trailingSeparator = false;
    std::vector<fl::ustring_view> names;
};

LexicalPath parse(fl::ustring_view path) {
    LexicalPath parsed;
    parsed.rooted = !path.empty() && isPathSeparator(path.front());
    std::size_t pos = 0;
    while (pos < path.size()) {
        std::size_t end = pos;
        while (end < path.size() && !isPathSeparator(path[end]))
            ++end;
        if (end > pos)
            parsed.names.push_back(path.substr(pos, end - pos));
        pos = end + 1;
    }
    parsed.trailingSeparator = path.size() > 1 && isPathSeparator(path.back());
    return parsed;
}

// A path whose names all folded away is the root, or the current folder "."; only an
// empty text stays empty.
fl::ustring render(const LexicalPath& parsed, bool wasEmpty) {
    fl::ustring text = parsed.rooted ? fs::upath_constant::PATHNAME_SEPARATOR : fl::ustring();
    for (std::size_t i = 0; i < parsed.names.size(); ++i) {
        if (i > 0)
            text += fs::upath_constant::PATHNAME_SEPARATOR;
        text += parsed.names[i];
    }
    if (parsed.trailingSeparator && !parsed.names.empty())
        text += fs::upath_constant::PATHNAME_SEPARATOR;
    if (text.empty() && !wasEmpty)
        return fl::ustring(currentFolder);
    return text;
}

// Whether folding would give `path` back as it is: no run of separators, no "." name and,
// when `parentFoldersToo`, no ".." name. Most paths are like that and keep their text
// without being taken apart.
bool hasNothingToFold(fl::ustring_view path, bool parentFoldersToo) {
    const char16_t separator = fs::upath_constant::PATHNAME_SEPARATOR.front();
    for (std::size_t pos = 0; pos <= path.size();) {
        const std::size_t end = std::min(path.find(separator, pos), path.size());
        const fl::ustring_view name = path.substr(pos, end - pos);
        // An empty name is the root before the first separator or the end after the last
        // one; anywhere else it is a run of separators.
        if ((name.empty() && pos > 0 && end < path.size()) || name == currentFolder ||
            (parentFoldersToo && name == parentFolder))
            return false;
        pos = end + 1;
    }
    return true;
}

} // namespace

bool exists(const fl::ustring& path) {
    // Only whether something is there is asked, so the item's status is not read. Links are
    // followed, as status does (a dangling link leads to nothing), and the path is looked up
    // with the process's effective ids, as for every other call.
    if (::faccessat(AT_FDCWD, fs::detail::to_native(path).c_str(), F_OK, AT_EACCESS) == 0)
        return true;
    if (fs::detail::is_path_not_found(errno))
        return false;
    fs::detail::throwErrno(errno, path);
}

bool isDir(const fl::ustring& path) {
    std::error_code error;
    return fs::status(path, error).type() == fs::file_status::directory_file;
}

bool isPathSeparator(const char16_t& c) {
    return c == fs::upath_constant::PATHNAME_SEPARATOR.front();
}

void handleSingleDots(fl::ustring& path) {
    if (hasNothingToFold(path, false))
        return;
    LexicalPath parsed = parse(path);
    std::erase(parsed.names, currentFolder);
    path = render(parsed, path.empty());
}

void handleDotDots(fl::ustring& path) {
    if (hasNothingToFold(path, true))
        return;
    const LexicalPath parsed = parse(path);
    LexicalPath folded = parsed;
    folded.names.clear();
    for (const fl::ustring_view name : parsed.names) {
        if (name == currentFolder)
            continue;
        if (name != parentFolder) {
            folded.names.push_back(name);
        } else if (!folded.names.empty() && folded.names.back() != parentFolder) {
            folded.names.pop_back();
        } else if (!parsed.rooted) {
            // Nothing left to fold against: a relative path climbs above its start.
            folded.names.push_back(name);
        }
        // Rooted: the root is its own parent.
    }
    path = render(folded, path.empty());
}

void replaceSlashesOnWindows(fl::ustring&) {}

bool startsWithSlashSlashOnWindows(const fl::ustring&) {
    return false;
}

} // namespace filesystemSharedFcns
