#include <vexa/io/filesystem/core/file_list_creator.hpp>

#include <vexa/io/filesystem/core/absolute_paths.hpp>
#include <vexa/io/filesystem/core/log.hpp>

#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/ascii.hpp>
#include <fl/filesystem.hpp>
#include <fl/filesystemSharedFcns.hpp>
#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>
#include <foundation/storage/utility/url.hpp>
#include <host/EngineDispatcher.hpp>
#include <host/Listing.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <optional>
#include <string_view>

#include <sys/stat.h>

namespace vexa::io::filesystem::core {
namespace {

namespace fs = fl::filesystem;
namespace shared = filesystemSharedFcns;
namespace vfs = foundation::storage::vfs;
using foundation::storage::provider::ItemType;

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

// What the listing's type says of entering an entry: a folder is entered, a file is not.
// A link leads to a folder or not; where links are entered, it takes a look, as does an entry
// the listing could not type.
enum class Links { Entered, Listed };

std::optional<bool> typedAsFolder(ItemType type, Links links) {
    switch (type) {
    case ItemType::Folder:
        return true;
    case ItemType::File:
    case ItemType::Other:
        return false;
    case ItemType::Link:
        if (links == Links::Listed)
            return false;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

std::vector<FileNameWithStat> listing(const fl::ustring& pattern, bool listFlag) {
    std::vector<FileNameWithStat> entries;
    ioGetDirList(pattern, entries, listFlag);
    return entries;
}

// The one walk of both adders over what the listing service read: each entry but "." and
// ".." goes to `visit` in the listing's order, and a listing of nothing but ".." goes to
// `loneParent` instead, since that one is kept.
template <class Visit, class LoneParent>
void walkListing(const std::vector<FileNameWithStat>& entries, Visit visit, LoneParent loneParent) {
    if (entries.size() == 1 && entries.front().name == fs::upath_constant::PARENT_DIRECTORY) {
        loneParent();
        return;
    }
    for (const FileNameWithStat& entry : entries)
        if (!isOwnName(fl::ustring_view(entry.name)))
            visit(entry);
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

vfs::CanonicalAbsoluteIRI iriOfText(std::string_view text) {
    auto iri = foundation::network::IRI::parseUri(std::string(text));
    if (!iri)
        throw foundation::core::except::Exception<foundation::core::except::IInternalException>(
            "A listed IRI's text does not parse: " + std::string(text));
    return vfs::CanonicalAbsoluteIRI(vfs::AbsoluteIRI(std::move(*iri)));
}

// Texts of one list go into blocks of this many units; a longer text gets a block of its
// own.
constexpr std::size_t blockUnits = 1 << 16;

// Each text is kept after its length, written over as many units as that takes.
template <class Char> constexpr std::size_t lengthUnits = sizeof(std::uint32_t) / sizeof(Char);

} // namespace

namespace detail {

template <class Char> void PackedTexts<Char>::push_back(std::initializer_list<View> parts) {
    std::size_t length = 0;
    for (const View part : parts)
        length += part.size();
    const std::size_t units = lengthUnits<Char> + length;
    if (blocks_.empty() || blocks_.back().capacity() - blocks_.back().size() < units) {
        blocks_.emplace_back();
        blocks_.back().reserve(std::max(blockUnits, units));
    }
    std::basic_string<Char>& block = blocks_.back();
    const auto stored = static_cast<std::uint32_t>(length);
    Char header[lengthUnits<Char>];
    std::memcpy(header, &stored, sizeof stored);
    block.append(header, lengthUnits<Char>);
    for (const View part : parts)
        block.append(part);
    ++count_;
}

template <class Char> auto PackedTexts<Char>::Reader::next() -> View {
    while (at_ == texts_.blocks_[block_].size()) {
        ++block_;
        at_ = 0;
    }
    const std::basic_string<Char>& block = texts_.blocks_[block_];
    std::uint32_t length = 0;
    std::memcpy(&length, block.data() + at_, sizeof length);
    const View text(block.data() + at_ + lengthUnits<Char>, length);
    at_ += lengthUnits<Char> + length;
    return text;
}

template <class Char> std::vector<std::basic_string<Char>> PackedTexts<Char>::toVector() const {
    std::vector<std::basic_string<Char>> texts;
    texts.reserve(count_);
    Reader reader(*this);
    for (std::size_t i = 0; i < count_; ++i)
        texts.emplace_back(reader.next());
    return texts;
}

template class PackedTexts<char>;
template class PackedTexts<char16_t>;

} // namespace detail

FileListCreator::FileListCreator() = default;

void FileListCreator::AddToList(std::string pattern, bool recursive) {
    // Tested before anything else: an over-long pattern costs nothing.
    if (pattern.size() > maxPathLength)
        return;
    const fl::ustring listed = fl::i18n::to_ustring(pattern);
    // The folder a wildcard pattern lists; what a pattern without one designates otherwise.
    std::string prefix = fl::i18n::to_string(fs::detail::extract_filename(
        listed.empty() ? listed : fs::detail::make_native_form(listed, true)));
    if (prefix.empty())
        prefix = currentFolderText();
    const std::string& slash = narrowSeparator();
    const std::string_view joint = prefix == slash ? std::string_view() : slash;
    std::string entry;
    walkListing(
        listing(listed, false),
        [&](const FileNameWithStat& listedEntry) {
            entry.assign(prefix).append(joint).append(fl::i18n::to_string(listedEntry.name));
            if (recursive) {
                std::optional<bool> enter = typedAsFolder(listedEntry.type, Links::Listed);
                if (!enter) {
                    // A link to a folder is listed, never entered.
                    struct stat own {};
                    enter = shared::isDir(fl::i18n::to_ustring(entry)) &&
                            ::lstat(entry.c_str(), &own) == 0 && (own.st_mode & S_IFMT) != S_IFLNK;
                }
                if (*enter)
                    AddToList(entry + slash + "*", true);
            }
            list_.push_back({entry});
        },
        // Kept after a "/" even when the prefix is the root.
        [&] {
            list_.push_back({prefix, slash, narrowParent()});
        });
}

// What one call of AddFiles or VisitFiles asks, where each entry goes, and a listing per
// level of folders: the walk lists folder after folder into the same vectors, whose names'
// storage then serves many folders.
struct FileListCreator::Walk {
    bool makeIRIs, recursive, listFlag;
    // An entry's full path and its IRI's URI text, null when it has none.
    std::function<void(fl::ustring_view, const std::string*)> entry;
    std::deque<std::vector<FileNameWithStat>> levels;
    std::size_t depth = 0;
};

void FileListCreator::AddFiles(fl::ustring pattern, boost::optional<vfs::CanonicalAbsoluteIRI> base,
                               bool makeIRIs, bool recursive, bool listFlag) {
    Walk walk{makeIRIs,
              recursive,
              listFlag,
              [this](fl::ustring_view name, const std::string* iri) {
                  if (iri)
                      iris_.push_back({*iri});
                  names_.push_back({name});
                  hasIRI_.push_back(iri != nullptr);
              },
              {}};
    addFiles(walk, std::move(pattern), base ? &*base : nullptr, nullptr, false);
}

void FileListCreator::VisitFiles(fl::ustring pattern,
                                 boost::optional<vfs::CanonicalAbsoluteIRI> base, bool makeIRIs,
                                 bool recursive, bool listFlag, const Visit& visit) const {
    Walk walk{makeIRIs,
              recursive,
              listFlag,
              [&visit](fl::ustring_view name, const std::string* iri) {
                  visit(name, iri ? std::string_view(*iri) : std::string_view());
              },
              {}};
    addFiles(walk, std::move(pattern), base ? &*base : nullptr, nullptr, false);
}

// A folder's entries take its IRI's text and their escaped names (`baseText`); the first
// level takes `base` when given, else each entry's path.
void FileListCreator::addFiles(Walk& walk, fl::ustring pattern,
                               const vfs::CanonicalAbsoluteIRI* base, const std::string* baseText,
                               bool nested) {
    if (walk.levels.size() == walk.depth)
        walk.levels.emplace_back();
    std::vector<FileNameWithStat>& entries = walk.levels[walk.depth];
    // A folder the walk enters is named by an absolute path already, which making absolute
    // leaves as it is unless an entry named "*" is there to canonicalise: its listing says
    // whether one is, without a look at the path for every folder.
    bool listed = false;
    if (nested) {
        if (pattern.size() > maxPathLength)
            return;
        ioGetDirList(pattern, entries, walk.listFlag);
        listed = std::none_of(entries.begin(), entries.end(),
                              [](const FileNameWithStat& entry) { return entry.name == u"*"; });
    }
    // An IRI of a remote storage's scheme is absolute already, and its "//" is no doubled
    // separator; a `file` IRI is made a path, as before.
    const bool stored = vfs::hasIRIPrefix(pattern) &&
                        !fl::ascii::startsWithIgnoringCase(std::u16string_view(pattern), u"file:");
    if (!listed) {
        if (!stored)
            relativeToAbsolute(pattern, ResolveSymbolicLinks::FollowLinks, false);
        if (pattern.size() > maxPathLength)
            return;
        ioGetDirList(pattern, entries, walk.listFlag);
    }
    fl::ustring prefix =
        stored ? pattern.substr(0, pattern.rfind(u'/'))
               : fs::detail::extract_parent_path(fs::detail::make_native_form(pattern, true));
    // The IRIs of a stored folder's entries are its own IRI's text and their escaped names.
    const bool makeIRIs = walk.makeIRIs;
    std::string storedText;
    if (stored && makeIRIs && !baseText && !base && !entries.empty()) {
        storedText = vfs::AbsoluteIRI(prefix).toIRI().uriText();
        baseText = &storedText;
    }
    if (!prefix.empty() && !shared::isPathSeparator(prefix.back()))
        prefix += separator();
    fl::ustring full;
    std::string iri;
    walkListing(
        entries,
        [&](const FileNameWithStat& entry) {
            full.assign(prefix).append(entry.name);
            if (makeIRIs) {
                if (baseText) {
                    iri.assign(*baseText);
                    vfs::CanonicalAbsoluteIRI::appendLeaf(iri, entry.name);
                } else if (base) {
                    iri.assign(vfs::CanonicalAbsoluteIRI(*base, entry.name).toIRI().uriText());
                } else {
                    foundation::storage::utility::handleWindowsTrailingDotsAndSpaces(full);
                    iri.assign(iriOfPath(full).toIRI().uriText());
                }
            }
            const auto typed = typedAsFolder(entry.type, Links::Entered);
            if (walk.recursive && (typed ? *typed : shared::isDir(full))) {
                ++walk.depth;
                addFiles(walk, full + separator() + u"*", nullptr, makeIRIs ? &iri : nullptr, true);
                --walk.depth;
            }
            walk.entry(full, makeIRIs ? &iri : nullptr);
        },
        // After a second separator: the prefix ends in one already ("/data//..").
        [&] { walk.entry(prefix + separator() + fs::upath_constant::PARENT_DIRECTORY, nullptr); });
}

std::vector<std::string> FileListCreator::GetList() const {
    return list_.toVector();
}

std::vector<fl::ustring> FileListCreator::GetNameList() const {
    return names_.toVector();
}

std::vector<vfs::CanonicalAbsoluteIRI> FileListCreator::GetIRIList() const {
    std::vector<vfs::CanonicalAbsoluteIRI> iris;
    iris.reserve(iris_.size());
    detail::PackedTexts<char>::Reader reader(iris_);
    for (std::size_t i = 0; i < iris_.size(); ++i)
        iris.push_back(iriOfText(reader.next()));
    return iris;
}

void FileListCreator::VisitNames(const Visit& visit) const {
    detail::PackedTexts<char16_t>::Reader names(names_);
    detail::PackedTexts<char>::Reader iris(iris_);
    for (std::size_t i = 0; i < names_.size(); ++i)
        visit(names.next(), hasIRI_[i] ? iris.next() : std::string_view());
}

Status FileListCreator::GetStatus() const {
    return status_;
}

} // namespace vexa::io::filesystem::core
