#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "iri_text.hpp"
#include "text_rules.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>

#include <algorithm>
#include <array>
#include <optional>

namespace foundation::storage::vfs {
namespace {

namespace ndetail = network::detail;
using ndetail::view;
using network::IRI;
using network::iri::Encoding;

// Where the last segment of an encoded path lies. A trailing "/" is not a segment of its
// own; a root, a path that is a root once that "/" is set aside ("//"), or a path without
// "/" has none.
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

// The path's segments between its leading and trailing "/".
std::vector<std::string_view> segmentsOf(std::string_view path) {
    std::vector<std::string_view> segments;
    if (!path.empty() && path.front() == '/')
        path.remove_prefix(1);
    if (!path.empty() && path.back() == '/')
        path.remove_suffix(1);
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        segments.push_back(path.substr(0, slash));
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    }
    return segments;
}

void setEncodedPath(boost::urls::url& url, std::string_view path) {
    if (path == "/") {
        // Boost.URL 1.81 writes a path set to "/" as "/./".
        url.set_encoded_path("");
        url.set_path_absolute(true);
    } else {
        url.set_encoded_path(path);
    }
}

// `url` with another encoded path, its query and fragment kept or dropped. Editing the
// parsed form spares a second parse of text that is valid already.
boost::urls::url withPath(const boost::urls::url& url, std::string_view path,
                          bool keepQueryAndFragment) {
    boost::urls::url edited = url;
    if (!keepQueryAndFragment) {
        edited.remove_fragment();
        edited.remove_query();
    }
    setEncodedPath(edited, path);
    return edited;
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

namespace {

IRI parseAbsolute(const fl::ustring& text) {
    // No IRI starts with "/": such text can only be a native path.
    if (!text.empty() && text.front() == u'/')
        return toAbsoluteIRI(u"file", text).toIRI();
    if (auto iri = IRI::parse(text))
        return std::move(*iri);
    throw InvalidIRIException(text);
}

} // namespace

AbsoluteIRI::AbsoluteIRI(const fl::ustring& text) : iri_(parseAbsolute(text)) {}

bool AbsoluteIRI::hasParent() const noexcept {
    return lastSegment(view(iri_.url_.encoded_path())).has_value();
}

AbsoluteIRI AbsoluteIRI::getParent() const {
    const std::string_view path = view(iri_.url_.encoded_path());
    const auto last = lastSegment(path);
    if (!last)
        throw core::except::Exception<core::except::IInternalException>(
            "An IRI without a parent was asked for its parent: " + std::string(iri_.uriText()));
    return AbsoluteIRI(IRI(withPath(iri_.url_, path.substr(0, last->parentEnd), false)));
}

fl::ustring AbsoluteIRI::getName() const {
    const std::string_view path = view(iri_.url_.encoded_path());
    const auto last = lastSegment(path);
    if (!last)
        return {};
    return ndetail::fromUri(path.substr(last->parentEnd, last->nameEnd - last->parentEnd),
                            Encoding::Decoded);
}

AbsoluteIRI AbsoluteIRI::getResolvedIRI() const {
    const std::string_view path = view(iri_.url_.encoded_path());
    if (path.find('.') == std::string_view::npos)
        return *this;
    return AbsoluteIRI(IRI(withPath(iri_.url_, ndetail::removeDotSegments(path), true)));
}

fl::ustring AbsoluteIRI::makePathRelativeTo(const AbsoluteIRI& base) const {
    const auto& mine = iri_.url_;
    const auto& theirs = base.iri_.url_;
    if (mine.scheme() != theirs.scheme() || mine.has_authority() != theirs.has_authority() ||
        mine.encoded_authority() != theirs.encoded_authority())
        return toString();
    const std::string targetPath = ndetail::removeDotSegments(view(mine.encoded_path()));
    const std::string basePath = ndetail::removeDotSegments(view(theirs.encoded_path()));
    const auto target = segmentsOf(targetPath);
    const auto from = segmentsOf(basePath);
    std::size_t common = 0;
    while (common < target.size() && common < from.size() && target[common] == from[common])
        ++common;
    std::string relative;
    for (std::size_t i = common; i < from.size(); ++i)
        relative += i + 1 < from.size() || common < target.size() ? "../" : "..";
    for (std::size_t i = common; i < target.size(); ++i)
        relative.append(target[i]).append(i + 1 < target.size() ? "/" : "");
    if (relative.empty())
        relative.push_back('.');
    if (mine.has_query())
        relative.append("?").append(view(mine.encoded_query()));
    if (mine.has_fragment())
        relative.append("#").append(view(mine.encoded_fragment()));
    // A relative file path is a native path: its names come decoded.
    return ndetail::fromUri(relative, mine.scheme() == "file" ? Encoding::Decoded : Encoding::IRI);
}

// --- CanonicalAbsoluteIRI ----------------------------------------------------------------

namespace {

void canonicalise(boost::urls::url& url) {
    const std::string_view path = view(url.encoded_path());
    if (path.empty() && url.has_authority())
        url = withPath(url, "/", true);
    else if (path.find('.') != std::string_view::npos)
        url = withPath(url, ndetail::removeDotSegments(path), true);
}

} // namespace

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(const AbsoluteIRI& iri) : AbsoluteIRI(iri) {
    canonicalise(iri_.url_);
}

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(const fl::ustring& text)
    : CanonicalAbsoluteIRI(AbsoluteIRI(text)) {}

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(const CanonicalAbsoluteIRI& base,
                                           const fl::ustring& leaf)
    : AbsoluteIRI(base) {
    if (leaf.empty())
        return;
    if (fl::text::holdsNul(leaf))
        throw InvalidIRIException(leaf);
    std::string path(view(iri_.url_.encoded_path()));
    if (path.empty() || path.back() != '/')
        path += '/';
    ndetail::appendEscapedPath(path, fl::i18n::to_string(leaf), false);
    iri_.url_ = withPath(iri_.url_, path, false);
    canonicalise(iri_.url_);
}

// --- free functions ----------------------------------------------------------------------

AbsoluteIRI toAbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path) {
    if (!fl::ascii::isSchemeName(scheme))
        throw InvalidIRIException(scheme + u":" + path);
    requireAbsoluteNativePath(path);
    std::string uri = fl::ascii::toLowerNarrow(scheme);
    uri += "://"; // an empty authority: the path is on this machine
    const std::size_t pathStart = uri.size();
    ndetail::appendEscapedPath(uri, fl::i18n::to_string(path), true);
    // Every byte is allowed in a path or escaped, with the escapes' digits in upper case: the
    // text is in normal form already, and put together from its parts it needs no parse.
    // Boost.URL 1.81 writes a path that starts with "//" or "/." with a "/." in front, so
    // such a path is parsed instead.
    if (uri.size() == pathStart + 1 || (uri[pathStart + 1] != '/' && uri[pathStart + 1] != '.')) {
        boost::urls::url url;
        url.set_scheme(std::string_view(uri).substr(0, pathStart - 3));
        url.set_encoded_host("");
        setEncodedPath(url, std::string_view(uri).substr(pathStart));
        return AbsoluteIRI(IRI(std::move(url)));
    }
    auto iri = IRI::parseUri(std::move(uri));
    if (!iri) // every byte is escaped or allowed in a path: this cannot fail
        throw core::except::Exception<core::except::IInternalException>(
            "A native path did not make a valid IRI");
    return AbsoluteIRI(std::move(*iri));
}

CanonicalAbsoluteIRI toCanonicalAbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path) {
    return CanonicalAbsoluteIRI(toAbsoluteIRI(scheme, path));
}

std::vector<fl::ustring> knownSchemes() {
    std::vector<fl::ustring> schemes;
    for (const std::string& scheme : Quarrow::VexaStorageSystem::GetStorageSystemReference()->schemes())
        schemes.emplace_back(scheme.begin(), scheme.end());
    return schemes;
}

bool hasIRIPrefix(const fl::ustring& text) {
    const auto scheme = fl::ascii::schemeOf(text);
    if (!scheme)
        return false;
    return Quarrow::VexaStorageSystem::GetStorageSystemReference()->findProvider(
               fl::ascii::toLowerNarrow(*scheme)) != nullptr;
}

} // namespace foundation::storage::vfs
