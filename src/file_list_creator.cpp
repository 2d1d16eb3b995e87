#include <vexa/io/filesystem/core/file_list_creator.hpp>

#include <vexa/io/filesystem/core/absolute_paths.hpp>
#include <vexa/io/filesystem/core/log.hpp>

#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <fl/filesystem.hpp>
#include <fl/filesystemSharedFcns.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/utility/url.hpp>
#include <host/EngineDispatcher.hpp>
#include <host/Listing.hpp>

#include <cstring>
#include <memory>
#include <string_view>

#include <sys/stat.h>

namespace vexa::io::filesystem::core {
namespace {

namespace fs = fl::filesystem;
namespace shared = filesystemSharedFcns;
namespace vfs = foundation::storage::vfs;
using foundation::storage::provider::ItemType;

struct ReleaseBlock {
    void operator()(char* block) const noexcept { utFree(block); }
};

const fl::ustring& separator() {
    return fs::upath_constant::PATHNAME_SEPARATOR;
}

// The 8-bit entries are built as bytes: the native text of the same constants.
const std::string& narrowSeparator() {
    static const std::string text = fl::i18n::to_string(separator());
    return text;
}

const std::string& narrowParent() {
    static const std::string text = fl::i18n::to_string(fs::upath_constant::PARENT_DIRECTORY);
    return text;
}

template <class Char> bool isOwnName(std::basic_string_view<Char> name) {
    return (name.size() == 1 || name.size() == 2) && name[0] == Char('.') &&
           name.back() == Char('.');
}

std::string currentFolderText() {
    const auto& current = EngineDispatcher::getDispatcher().GetCurrentWorkingFolder();
    return fl::i18n::to_string(
        Quarrow::PathManagement::GetStringFromIRI(current.get().getLocation()));
}

// Whether isDir would call the entry a folder. It follows links, so only a link, or an
// entry the listing could not tell, needs a look of its own.
bool isFolder(const FileNameWithStat& entry, const fl::ustring& path) {
    switch (entry.type) {
    case ItemType::Folder:
        return true;
    case ItemType::File:
    case ItemType::Other:
        return false;
    default:
        return shared::isDir(path);
    }
}

// The `file` IRI of an entry's path. The placeholder stands for a path that cannot form
// one, so that the entry is listed all the same and the two lists stay in step.
vfs::CanonicalAbsoluteIRI iriOfPath(const fl::ustring& path) {
    try {
        return vfs::toCanonicalAbsoluteIRI(u"file", fs::detail::make_native_form(path, true));
    } catch (const vfs::InvalidIRIException&) {
        log::logCaughtException();
        return vfs::CanonicalAbsoluteIRI(u"dummyScheme:///dummyIRI");
    }
}

} // namespace

FileListCreator::FileListCreator() = default;

void FileListCreator::AddToList(std::string pattern, bool recursive) {
    // Tested before anything else: an over-long pattern costs nothing.
    if (pattern.size() > maxPathLength)
        return;
    fl::ustring wide = fl::i18n::to_ustring(pattern);
    if (!wide.empty())
        wide = fs::detail::make_native_form(wide, true);
    // The folder a wildcard pattern lists; what a pattern without one designates otherwise.
    std::string prefix = fl::i18n::to_string(fs::detail::extract_filename(wide));
    if (prefix.empty())
        prefix = currentFolderText();
    const std::unique_ptr<char, ReleaseBlock> block(ioGetDirList(pattern.c_str(), 0, boost::none));
    if (!block)
        return;
    const std::string& slash = narrowSeparator();
    const std::string_view joint = prefix == slash ? std::string_view() : slash;
    std::size_t count = 0;
    bool firstIsParent = false;
    for (const char* name = block.get(); *name != '\0'; name += std::strlen(name) + 1) {
        const std::string_view listed(name);
        if (++count == 1)
            firstIsParent = listed == narrowParent();
        if (isOwnName(listed))
            continue;
        std::string entry = prefix;
        entry.append(joint).append(listed);
        if (recursive && shared::isDir(fl::i18n::to_ustring(entry))) {
            // A link to a folder is listed, never entered.
            struct stat own {};
            ::lstat(entry.c_str(), &own);
            if ((own.st_mode & S_IFMT) != S_IFLNK)
                AddToList(entry + slash + "*", true);
        }
        list_.push_back(std::move(entry));
    }
    // A listing of nothing but ".." keeps it, after a "/" even when the prefix is the root.
    if (count == 1 && firstIsParent)
        list_.push_back(prefix + slash + narrowParent());
}

void FileListCreator::AddFiles(fl::ustring pattern, boost::optional<vfs::CanonicalAbsoluteIRI> base,
                               bool makeIRIs, bool recursive, bool listFlag) {
    relativeToAbsolute(pattern, ResolveSymbolicLinks::FollowLinks, false);
    if (pattern.size() > maxPathLength)
        return;
    fl::ustring prefix =
        fs::detail::extract_parent_path(fs::detail::make_native_form(pattern, true));
    if (!prefix.empty() && !shared::isPathSeparator(prefix.back()))
        prefix += separator();
    std::vector<FileNameWithStat> entries;
    ioGetDirList(pattern, entries, listFlag);
    if (entries.empty())
        return;
    // A listing of nothing but ".." keeps it, after a second separator: the prefix ends in
    // one already ("/data//..").
    if (entries.size() == 1 && entries.front().name == fs::upath_constant::PARENT_DIRECTORY) {
        names_.push_back(prefix + separator() + fs::upath_constant::PARENT_DIRECTORY);
        return;
    }
    for (FileNameWithStat& entry : entries) {
        if (isOwnName(fl::ustring_view(entry.name)))
            continue;
        fl::ustring full = prefix + entry.name;
        if (!makeIRIs) {
            if (recursive && isFolder(entry, full))
                AddFiles(full + separator() + u"*", boost::none, false, true, true);
            names_.push_back(std::move(full));
            continue;
        }
        boost::optional<vfs::CanonicalAbsoluteIRI> iri;
        if (base) {
            iri.emplace(*base, entry.name);
        } else {
            foundation::storage::utility::handleWindowsTrailingDotsAndSpaces(full);
            iri.emplace(iriOfPath(full));
        }
        if (recursive && isFolder(entry, full))
            AddFiles(full + separator() + u"*", iri, true, true, true);
        iris_.push_back(std::move(*iri));
        names_.push_back(std::move(full));
    }
}

std::vector<std::string> FileListCreator::GetList() const {
    return list_;
}

std::vector<fl::ustring> FileListCreator::GetNameList() const {
    return names_;
}

std::vector<vfs::CanonicalAbsoluteIRI> FileListCreator::GetIRIList() const {
    return iris_;
}

Status FileListCreator::GetStatus() const {
    return status_;
}

} // namespace vexa::io::filesystem::core
