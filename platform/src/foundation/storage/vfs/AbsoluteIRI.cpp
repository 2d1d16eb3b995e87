#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "foundation/network/iri_text.hpp"
#include "text_rules.hpp"

#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace foundation::storage::vfs {
namespace {

namespace ndetail = network::detail;
using ndetail::view;
using network::IRI;
using network::iri::Encoding;

// The path as its segments read. An IRI without an authority whose path starts with "//" is
// written with "/." in front, since "//" there would start an authority; that "/." is no
// segment of the path.
std::string_view segmentsPath(const boost::urls::url& url) {
    std::string_view path = view(url.encoded_path());
    if (!url.has_authority() && path.starts_with("/.//"))
        path.remove_prefix(2);
    return path;
}

// Appends a path (as its segments read) to text that ends where the path starts.
void appendPath(std::string& text, bool hasAuthority, std::string_view path) {
    if (!hasAuthority && path.starts_with("//"))
        text += "/.";
    text += path;
}

// The text of `url` before its path: scheme and authority.
std::string_view beforePath(const boost::urls::url& url) {
    return {url.data(), static_cast<std::size_t>(url.encoded_path().data() - url.data())};
}

// Where the last segment of a path lies. A trailing "/" is not a segment of its own; a
// root, a path that is a root once that "/" is set aside ("//"), or a path without "/" has
// none.
struct LastSegment {
    std::size_t parentEnd; // the parent keeps its trailing "/"
    std::size_t nameEnd;
};

std::optional<LastSegment> lastSegment(std::string_view path) {
    const std::size_t end = !path.empty() && path.back() == '/' ? path.size() - 1 : path.size();
    if (end <= 1)
        return std::nullopt;
    const std::size_t slash = path.rfind('/', end - 1);
    if (slash == std::string_view::npos)
        return std::nullopt;
    return LastSegment{slash + 1, end};
}

std::vector<std::string_view> split(std::string_view text, char at) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t next = text.find(at);
        parts.push_back(text.substr(0, next));
        if (next == std::string_view::npos)
            return parts;
        text.remove_prefix(next + 1);
    }
}

// A path after dot-segment removal; an empty path after an authority is the root.
std::string hierarchicalPath(const boost::urls::url& url) {
    std::string path = ndetail::removeDotSegments(segmentsPath(url));
    if (path.empty() && url.has_authority())
        path.assign(1, '/');
    return path;
}

// A relative reference must not read as something else: a first segment that is empty would
// start an absolute path ("/g") or an authority ("//g"), one holding ":" a scheme ("a:b").
void guardFirstSegment(std::string& relative, std::string_view first) {
    if (first.empty() || first.find(':') != std::string_view::npos)
        relative.insert(0, "./");
}

// The reference that RFC 3986 resolution against `folderPath` read as a folder turns into
// exactly `targetPath`: every segment kept, empty ones and a trailing "/" included.
std::string relativeReference(std::string_view folderPath, std::string_view targetPath) {
    auto folder = split(folderPath.substr(1), '/');
    if (folder.back().empty())
        folder.pop_back(); // a folder's trailing "/"
    const auto target = split(targetPath.substr(1), '/');
    std::size_t common = 0;
    while (common < folder.size() && common + 1 < target.size() && folder[common] == target[common])
        ++common;
    std::string relative;
    for (std::size_t i = common; i < folder.size(); ++i)
        relative += "../";
    for (std::size_t i = common; i < target.size(); ++i)
        relative.append(i > common ? "/" : "").append(target[i]);
    if (common == folder.size()) {
        if (relative.empty())
            relative.assign(1, '.'); // the folder itself
        else
            guardFirstSegment(relative, target[common]);
    }
    return relative;
}

// A native relative path, as a Linux user reads one (Python's os.path.relpath answers the
// same): runs of "/" are one separator, a trailing "/" is no part of a name, and "." is the
// folder itself. Nothing when a name decodes to "/" or U+0000, which no native path holds.
std::optional<std::string> nativeRelativePath(std::string_view folderPath,
                                              std::string_view targetPath) {
    const auto names = [](std::string_view path) -> std::optional<std::vector<std::string>> {
        std::vector<std::string> decoded;
        for (const std::string_view segment : split(path, '/')) {
            if (segment.empty())
                continue;
            std::string name;
            ndetail::appendDecoded(name, segment);
            if (name.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
                return std::nullopt;
            decoded.push_back(std::move(name));
        }
        return decoded;
    };
    const auto folder = names(folderPath);
    const auto target = names(targetPath);
    if (!folder || !target)
        return std::nullopt;
    std::size_t common = 0;
    while (common < folder->size() && common < target->size() &&
           (*folder)[common] == (*target)[common])
        ++common;
    std::string relative;
    for (std::size_t i = common; i < folder->size(); ++i)
        relative.append(relative.empty() ? "" : "/").append("..");
    for (std::size_t i = common; i < target->size(); ++i)
        relative.append(relative.empty() ? "" : "/").append((*target)[i]);
    if (relative.empty())
        return ".";
    // Never "file:x", which would read as an IRI rather than a name.
    if (common == folder->size())
        guardFirstSegment(relative, (*target)[common]);
    return relative;
}

// Appends `leaf` to a path as one more segment, escaped, after a "/" unless the path ends in
// one. True when that segment is a dot segment ("." or ".."), which is then to be removed:
// no other segment can need it behind a canonical path.
bool appendLeafSegment(std::string& path, const fl::ustring& leaf) {
    if (fl::text::holdsNul(leaf))
        throw InvalidIRIException(leaf);
    if (path.empty() || path.back() != '/')
        path += '/';
    const std::size_t start = path.size();
    ndetail::appendEscapedPath(path, fl::i18n::to_string(leaf), false);
    const std::string_view segment = std::string_view(path).substr(start);
    return segment == "." || segment == "..";
}

// A native path reaches the system as bytes: a U+0000 would cut it short there, and a
// relative path names no location by itself.
void requireAbsoluteNativePath(const fl::ustring& path) {
    if (path.empty() || path.front() != u'/' || fl::text::holdsNul(path))
        throw InvalidIRIException(path);
}

} // namespace

// --- InvalidIRIException ------------------------------------------------------------------

InvalidIRIException::InvalidIRIException(fl::ustring text)
    : IException("Not a valid absolute IRI or path: '" + fl::i18n::to_string(text) + "'"),
      text_(std::move(text)) {}

InvalidIRIException::~InvalidIRIException() noexcept = default;

const boost::exception_detail::clone_base* InvalidIRIException::clone() const {
    return foundation::core::except::cloneWithErrorInfo(*this);
}

void InvalidIRIException::rethrow() const {
    throw *this;
}

// --- AbsoluteIRI -------------------------------------------------------------------------

AbsoluteIRI::AbsoluteIRI(const fl::ustring& text) : iri_(ndetail::IRILayer()) {
    // No IRI starts with "/": such text can only be a native path.
    if (!text.empty() && text.front() == u'/')
        readNativePath(u"file", text);
    else if (!iri_.read(ndetail::IRILayer(), text))
        throw InvalidIRIException(text);
}

AbsoluteIRI::AbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path)
    : iri_(ndetail::IRILayer()) {
    readNativePath(scheme, path);
}

void AbsoluteIRI::readNativePath(const fl::ustring& scheme, const fl::ustring& path) {
    if (!fl::ascii::isSchemeName(scheme))
        throw InvalidIRIException(scheme + u":" + path);
    requireAbsoluteNativePath(path);
    std::string uri = fl::ascii::toLowerNarrow(scheme);
    uri += "://"; // an empty authority: the path is on this machine
    const std::size_t pathStart = uri.size();
    ndetail::appendNativePath(uri, path);
    // Every byte is allowed in a path or escaped, with the escapes' digits in upper case: the
    // text is in normal form already, and put together from its parts it needs no parse.
    // Boost.URL 1.81 writes some paths otherwise than asked ("/" as "/./", "//a" behind
    // "/."): such a path is parsed instead.
    const std::string_view encodedPath = std::string_view(uri).substr(pathStart);
    boost::urls::url& url = iri_.url(ndetail::IRILayer());
    url.reserve(uri.size()); // one allocation for the three parts, not one for each
    url.set_scheme(std::string_view(uri).substr(0, pathStart - 3));
    url.set_encoded_host("");
    url.set_encoded_path(encodedPath);
    if (view(url.encoded_path()) == encodedPath)
        return;
    auto iri = IRI::parseUri(std::move(uri));
    if (!iri) // every byte is escaped or allowed in a path: this cannot fail
        throw core::except::Exception<core::except::IInternalException>(
            "A native path did not make a valid IRI");
    iri_ = std::move(*iri);
}

network::IRI AbsoluteIRI::withPath(network::IRI iri, std::string_view path,
                                   bool keepQueryAndFragment) {
    // Editing the parsed form spares a parse of text that is valid already. Boost.URL 1.81
    // writes some paths otherwise than asked, though ("//a" after an authority as "/.//a",
    // "/" as "/./"): such a path goes in as text, read again.
    boost::urls::url& edited = iri.url(ndetail::IRILayer());
    if (!keepQueryAndFragment) {
        edited.remove_fragment();
        edited.remove_query();
    }
    edited.set_encoded_path(path);
    std::string expected;
    appendPath(expected, edited.has_authority(), path);
    if (view(edited.encoded_path()) == expected)
        return iri;
    std::string text(beforePath(edited));
    text += expected;
    const auto written = edited.encoded_path();
    text.append(written.data() + written.size(), edited.data() + edited.size());
    auto reread = network::IRI::parseUri(std::move(text));
    if (!reread)
        throw core::except::Exception<core::except::IInternalException>(
            "The IRI layer wrote text that does not parse");
    return std::move(*reread);
}

bool AbsoluteIRI::hasParent() const noexcept {
    return lastSegment(segmentsPath(iri_.url())).has_value();
}

AbsoluteIRI AbsoluteIRI::getParent() const {
    const std::string_view path = segmentsPath(iri_.url());
    const auto last = lastSegment(path);
    if (!last)
        throw core::except::Exception<core::except::IInternalException>(
            "An IRI without a parent was asked for its parent: " + std::string(iri_.uriText()));
    return AbsoluteIRI(withPath(iri_, path.substr(0, last->parentEnd), false));
}

fl::ustring AbsoluteIRI::getParentText() const {
    const std::string_view path = segmentsPath(iri_.url());
    const auto last = lastSegment(path);
    if (!last)
        throw core::except::Exception<core::except::IInternalException>(
            "An IRI without a parent was asked for its parent: " + std::string(iri_.uriText()));
    // The start of text in normal form, cut after a "/" of its path, is the normal form of
    // what it names.
    const auto end = static_cast<std::size_t>(path.data() - iri_.url().data()) + last->parentEnd;
    return ndetail::fromUri(iri_.uriText().substr(0, end), Encoding::IRI);
}

fl::ustring AbsoluteIRI::getName() const {
    const std::string_view path = segmentsPath(iri_.url());
    const auto last = lastSegment(path);
    if (!last)
        return {};
    return ndetail::fromUri(path.substr(last->parentEnd, last->nameEnd - last->parentEnd),
                            Encoding::Decoded);
}

AbsoluteIRI AbsoluteIRI::getResolvedIRI() const {
    const std::string_view path = segmentsPath(iri_.url());
    if (path.find('.') == std::string_view::npos)
        return *this;
    return AbsoluteIRI(withPath(iri_, ndetail::removeDotSegments(path), true));
}

fl::ustring AbsoluteIRI::makePathRelativeTo(const AbsoluteIRI& base) const {
    const auto& mine = iri_.url();
    const auto& theirs = base.iri_.url();
    if (mine.scheme() != theirs.scheme() || mine.has_authority() != theirs.has_authority() ||
        mine.encoded_authority() != theirs.encoded_authority())
        return toString();
    const std::string targetPath = hierarchicalPath(mine);
    const std::string folderPath = hierarchicalPath(theirs);
    // A path without a root ("mailto:a@b") has no folders to walk.
    if (!targetPath.starts_with('/') || !folderPath.starts_with('/'))
        return toString();
    if (mine.scheme() == "file") {
        // A relative file path is a native path, and no native path holds a query.
        const auto native = nativeRelativePath(folderPath, targetPath);
        if (!native || mine.has_query() || mine.has_fragment())
            return toString();
        return fl::i18n::to_ustring(*native);
    }
    std::string relative = relativeReference(folderPath, targetPath);
    if (mine.has_query())
        relative.append("?").append(view(mine.encoded_query()));
    if (mine.has_fragment())
        relative.append("#").append(view(mine.encoded_fragment()));
    return ndetail::fromUri(relative, Encoding::IRI);
}

AbsoluteIRI AbsoluteIRI::resolve(const fl::ustring& reference) const {
    // The parts of a reference as RFC 3986 appendix B splits them; a single letter before
    // the first ":" is a drive, so "c:x" is a relative path, as everywhere in this layer.
    std::string ref;
    ndetail::appendUri(ref, reference);
    std::string_view rest = ref;
    std::optional<std::string_view> scheme, authority, query, fragment;
    if (const std::size_t colon = rest.find_first_of(":/?#");
        colon != std::string_view::npos && rest[colon] == ':' &&
        fl::ascii::isSchemeName(fl::ustring(rest.begin(), rest.begin() + colon))) {
        scheme = rest.substr(0, colon);
        rest.remove_prefix(colon + 1);
    }
    if (const std::size_t hash = rest.find('#'); hash != std::string_view::npos) {
        fragment = rest.substr(hash + 1);
        rest = rest.substr(0, hash);
    }
    if (const std::size_t mark = rest.find('?'); mark != std::string_view::npos) {
        query = rest.substr(mark + 1);
        rest = rest.substr(0, mark);
    }
    if (rest.starts_with("//")) {
        const std::size_t end = rest.find('/', 2);
        authority = rest.substr(2, end - 2);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end);
    }

    const auto& url = iri_.url();
    std::string text;
    std::string path;
    bool hasAuthority = authority.has_value();
    if (scheme || authority) {
        text.append(scheme ? *scheme : view(url.scheme())).append(":");
        if (authority)
            text.append("//").append(*authority);
        path = ndetail::removeDotSegments(rest);
    } else {
        text = beforePath(url);
        hasAuthority = url.has_authority();
        const std::string_view basePath = segmentsPath(url);
        if (rest.empty()) {
            path = basePath;
            if (!query && url.has_query())
                query = view(url.encoded_query());
        } else if (rest.front() == '/') {
            path = ndetail::removeDotSegments(rest);
        } else {
            // Merged with the base's folder: all of its path up to the last "/".
            std::string merged;
            if (url.has_authority() && basePath.empty())
                merged = "/";
            else if (const std::size_t slash = basePath.rfind('/'); slash != std::string_view::npos)
                merged = basePath.substr(0, slash + 1);
            merged += rest;
            path = ndetail::removeDotSegments(std::string_view(merged));
        }
    }
    appendPath(text, hasAuthority, path);
    if (query)
        text.append("?").append(*query);
    if (fragment)
        text.append("#").append(*fragment);
    auto iri = IRI::parseUri(std::move(text));
    if (!iri)
        throw InvalidIRIException(reference);
    return AbsoluteIRI(std::move(*iri));
}

// --- CanonicalAbsoluteIRI ----------------------------------------------------------------

void CanonicalAbsoluteIRI::canonicalise() {
    const std::string_view path = segmentsPath(iri_.url());
    if (path.empty() && iri_.hasAuthority()) {
        iri_ = withPath(std::move(iri_), "/", true);
    } else if (path.find('.') != std::string_view::npos) {
        const std::string folded = ndetail::removeDotSegments(path); // before iri_ moves
        iri_ = withPath(std::move(iri_), folded, true);
    }
}

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(const AbsoluteIRI& iri) : AbsoluteIRI(iri) {
    canonicalise();
}

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(const fl::ustring& text)
    : CanonicalAbsoluteIRI(AbsoluteIRI(text)) {}

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(const CanonicalAbsoluteIRI& base,
                                           const fl::ustring& leaf)
    : AbsoluteIRI(base) {
    if (leaf.empty())
        return;
    std::string path(segmentsPath(iri_.url()));
    const std::size_t baseEnd = path.size();
    const bool dotSegment = appendLeafSegment(path, leaf);
    // Behind a path of its own, without a query or fragment to drop, the leaf goes in as one
    // more segment: the IRI layer then checks and copies the leaf alone, not the whole path
    // again. Where it wrote the path otherwise than asked, the whole path goes in.
    boost::urls::url& url = iri_.url(ndetail::IRILayer());
    if (!dotSegment && baseEnd > 0 && path[baseEnd] == '/' && !path.starts_with("//") &&
        !url.has_query() && !url.has_fragment()) {
        url.encoded_segments().push_back(std::string_view(path).substr(baseEnd + 1));
        if (view(url.encoded_path()) == path)
            return;
    }
    iri_ = withPath(std::move(iri_), path, false);
    // The base is canonical: only the segment just added can make it otherwise.
    if (dotSegment)
        canonicalise();
}

void CanonicalAbsoluteIRI::appendLeaf(std::string& text, const fl::ustring& leaf) {
    if (leaf.empty())
        return;
    // Text ending in its authority has an empty path, which the leaf's "/" starts; a path
    // that starts "//" without an authority is written "/.//" already.
    const std::size_t baseEnd = text.size();
    if (!appendLeafSegment(text, leaf))
        return;
    text.resize(baseEnd);
    auto base = network::IRI::parseUri(text);
    if (!base)
        throw core::except::Exception<core::except::IInternalException>(
            "A canonical IRI's text does not parse: " + text);
    const CanonicalAbsoluteIRI folder{AbsoluteIRI(std::move(*base))};
    text = CanonicalAbsoluteIRI(folder, leaf).iri_.uriText();
}

// --- free functions ----------------------------------------------------------------------

AbsoluteIRI toAbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path) {
    return AbsoluteIRI(scheme, path);
}

CanonicalAbsoluteIRI toCanonicalAbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path) {
    return CanonicalAbsoluteIRI(toAbsoluteIRI(scheme, path));
}

} // namespace foundation::storage::vfs
