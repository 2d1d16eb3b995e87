#pragma once

// Listing patterns into entry lists for the host's folder listing built-ins. A pattern is a
// folder path ending in a name with wildcards ("*", "?"), or one name. A creator collects
// across calls: a caller feeds it patterns, then takes the lists.

#include <vexa/io/filesystem/core/file_manipulator.hpp>

#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <fl/ustring.hpp>

#include <boost/optional.hpp>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace vexa::io::filesystem::core {

namespace detail {
// Texts kept one after another in large blocks, each text whole within one block: a list of
// many short texts without an allocation per text, and one that grows without moving or
// doubling what it holds.
template <class Char> class PackedTexts {
public:
    using View = std::basic_string_view<Char>;
    // Appends one text made of `parts` in turn.
    void push_back(std::initializer_list<View> parts);
    std::size_t size() const noexcept { return count_; }
    std::vector<std::basic_string<Char>> toVector() const;

    // Reads the texts in the order they were appended.
    class Reader {
    public:
        explicit Reader(const PackedTexts& texts) : texts_(texts) {}
        View next();

    private:
        const PackedTexts& texts_;
        std::size_t block_ = 0, at_ = 0;
    };

private:
    std::vector<std::basic_string<Char>> blocks_;
    std::size_t count_ = 0;
};
} // namespace detail

// Each entry is a full path: the pattern's folder, a separator, the listed name. Entries keep
// the order the host's listing gives, except that with recursion a folder's entry follows
// its content. Nothing is sorted again or de-duplicated; "." and ".." are left out, but for
// a listing of nothing but "..". A pattern over maxPathLength is ignored, and a pattern
// that matches nothing (or names a folder that is not there) adds nothing: neither is an
// error. Failures of the host's services propagate; entries added before stay.
class FileListCreator {
public:
    FileListCreator();

    // 8-bit text. The entries' folder is extract_filename of the pattern's native form (the
    // folder a wildcard pattern lists), or the current folder when that is empty; the "/"
    // after it is left out when it is the root. With `recursive`, a folder's content comes
    // before its entry, but a symbolic link to a folder is listed without its content.
    void AddToList(std::string pattern, bool recursive);

    // UTF-16 text, made absolute first (an existing path canonicalised). The entries' folder
    // is the parent of the pattern's native form. With `makeIRIs` each entry also gets its
    // canonical IRI: `base` with the entry's name appended when given, else the `file` IRI
    // of its path, or the placeholder "dummyScheme:///dummyIRI" when the path cannot form
    // one (the entry is still listed). With `recursive` a folder's content comes before its
    // entry, links to folders entered like folders. `listFlag` goes to the listing service.
    void AddFiles(fl::ustring pattern,
                  boost::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> base,
                  bool makeIRIs, bool recursive, bool listFlag);

    // An entry's full path, and the URI text of its IRI when it has one (empty otherwise, as
    // for a lone "..").
    using Visit = std::function<void(fl::ustring_view name, std::string_view iriText)>;

    // AddFiles without keeping anything: each entry goes to `visit` as the walk reaches it,
    // in the order AddFiles keeps them. For a caller that writes a long listing out as it is
    // read; the creator's lists are left as they are.
    void VisitFiles(fl::ustring pattern,
                    boost::optional<foundation::storage::vfs::CanonicalAbsoluteIRI> base,
                    bool makeIRIs, bool recursive, bool listFlag, const Visit& visit) const;

    std::vector<std::string> GetList() const;     // AddToList's entries
    std::vector<fl::ustring> GetNameList() const; // AddFiles' entries
    // One IRI per entry of the name list that AddFiles made with IRIs, in step with it.
    std::vector<foundation::storage::vfs::CanonicalAbsoluteIRI> GetIRIList() const;
    // Always success: failures propagate as exceptions instead.
    Status GetStatus() const;

    // The name list without a copy: each entry in turn, with the URI text of its IRI when
    // AddFiles made one.
    void VisitNames(const Visit& visit) const;

private:
    struct Walk;
    static void addFiles(Walk& walk, fl::ustring pattern,
                         const foundation::storage::vfs::CanonicalAbsoluteIRI* base,
                         const std::string* baseText, bool nested);

    detail::PackedTexts<char> list_;
    detail::PackedTexts<char16_t> names_;
    // The URI text of each IRI, and for each name whether it has one: a lone "..", and the
    // names of calls without IRIs, have none.
    detail::PackedTexts<char> iris_;
    std::vector<bool> hasIRI_;
    Status status_;
};

} // namespace vexa::io::filesystem::core
