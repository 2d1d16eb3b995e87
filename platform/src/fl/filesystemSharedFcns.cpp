#include <fl/filesystemSharedFcns.hpp>

#include <fl/filesystem.hpp>

#include <vector>

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

} // namespace

bool exists(const fl::ustring& path) {
    // Asked of every path made absolute: a missing one is an answer, not worth an exception.
    std::error_code error;
    const fs::file_status found = fs::status(path, error);
    if (!error)
        // status answers for a dangling link with the link itself: nothing usable is there.
        return found.type() != fs::file_status::symlink_file;
    if (fs::detail::is_path_not_found(error.value()))
        return false;
    fs::detail::throwErrno(error.value(), path);
}

bool isDir(const fl::ustring& path) {
    std::error_code error;
    return fs::status(path, error).type() == fs::file_status::directory_file;
}

bool isPathSeparator(const char16_t& c) {
    return c == fs::upath_constant::PATHNAME_SEPARATOR.front();
}

void handleSingleDots(fl::ustring& path) {
    LexicalPath parsed = parse(path);
    std::erase(parsed.names, currentFolder);
    path = render(parsed, path.empty());
}

void handleDotDots(fl::ustring& path) {
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
