#pragma once

// The storage layer names every location by an absolute IRI. Native paths enter as `file`
// IRIs; GetStringFromIRI (Quarrow/PathManagement) turns them back.

#include <fl/ustring.hpp>
#include <foundation/core/except/IException.hpp>
#include <foundation/network/IRI.hpp>

#include <exception>
#include <span>
#include <string>
#include <string_view>

namespace foundation::storage::vfs {

// Text that names no absolute IRI; it carries the text as given.
class InvalidIRIException : public core::except::IException, public std::exception {
public:
    explicit InvalidIRIException(fl::ustring text);
    InvalidIRIException(const InvalidIRIException&) = default;
    ~InvalidIRIException() noexcept override;

    const fl::ustring& getText() const noexcept { return text_; }
    const char* what() const noexcept override { return IException::what(); }
    const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;

private:
    fl::ustring text_;
};

// An IRI with a scheme, in normal form (see foundation::network::IRI).
class AbsoluteIRI {
public:
    // IRI text with a scheme, or an absolute native path, which becomes a `file` IRI with
    // every byte of the path kept. Anything else throws InvalidIRIException.
    explicit AbsoluteIRI(const fl::ustring& text);
    explicit AbsoluteIRI(network::IRI iri) : iri_(std::move(iri)) {}

    const network::IRI& toIRI() const noexcept { return iri_; }
    fl::ustring getScheme() const { return iri_.getScheme(); }
    // The IRI text: non-ASCII as characters, reserved characters escaped.
    fl::ustring toString() const { return iri_.toString(network::iri::Encoding::IRI); }

    // A root ("http://h/", "file:///", "http://h//") and an IRI whose path has no "/"
    // ("mailto:a@b") have no parent and an empty name. A trailing "/" is not a segment of its
    // own: "http://h/a/" is named "a" and has the parent "http://h/". Without an authority a
    // path that starts with "//" is written behind "/." ("x:/.//a"), which is no segment.
    bool hasParent() const noexcept;
    // The IRI without its last segment, query and fragment, ending in "/". Asking a root
    // for its parent is a fault of the caller: Exception<IInternalException>.
    AbsoluteIRI getParent() const;
    // getParent().toString(), without making the parent.
    fl::ustring getParentText() const;
    // The last segment with every escape decoded.
    fl::ustring getName() const;

    // The same IRI with "." and ".." segments removed.
    AbsoluteIRI getResolvedIRI() const;

    // How to reach this IRI from `base`, a folder (with or without its trailing "/"). For
    // `file` IRIs a native relative path, names decoded, as os.path.relpath gives it: "c/d.txt",
    // "../x", "." for the folder itself. For other schemes the relative reference that
    // resolve() on the folder turns back into exactly this IRI: empty segments and a trailing
    // "/" kept, "./" before a first segment that is empty or holds ":". The whole IRI text
    // when there is no relative way: scheme or authority differ, a path without a root, a
    // `file` IRI naming no native path (a query, a fragment, an escaped "/" or U+0000).
    fl::ustring makePathRelativeTo(const AbsoluteIRI& base) const;

    // The IRI that `reference` (IRI text: "../x", "?q", "//host/p", a whole IRI) names when
    // read from this one (RFC 3986 section 5.2). A single letter before the first ":" is a
    // drive, never a scheme, so "c:x" is a relative path. A reference that gives no IRI
    // throws InvalidIRIException.
    AbsoluteIRI resolve(const fl::ustring& reference) const;

    friend bool operator==(const AbsoluteIRI& a, const AbsoluteIRI& b) noexcept {
        return a.iri_ == b.iri_;
    }

protected:
    // `iri` with another path (as its segments read: no "/." in front), its query and
    // fragment kept or dropped. Edited in place: an IRI moved in is not copied, so `path`
    // must not lie in it.
    static network::IRI withPath(network::IRI iri, std::string_view path,
                                 bool keepQueryAndFragment);

    network::IRI iri_;

private:
    friend AbsoluteIRI toAbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path);
    // See toAbsoluteIRI.
    AbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path);
    // Puts the `scheme` IRI of the absolute native path `path` together in iri_, which is
    // empty: a move of the parsed form costs a good part of putting it together.
    void readNativePath(const fl::ustring& scheme, const fl::ustring& path);
};

// An absolute IRI in canonical form, fit for comparing locations: dot segments removed and
// an empty path after an authority written "/", besides the normal form of every IRI.
class CanonicalAbsoluteIRI : public AbsoluteIRI {
public:
    explicit CanonicalAbsoluteIRI(const fl::ustring& text);
    explicit CanonicalAbsoluteIRI(const AbsoluteIRI& iri);
    // `base` with `leaf` appended as one segment (a "/" in it is escaped); an empty leaf
    // names `base` itself. "." and ".." are dot segments, so they are resolved.
    CanonicalAbsoluteIRI(const CanonicalAbsoluteIRI& base, const fl::ustring& leaf);

    // The same as URI text: turns `text`, the URI text of a CanonicalAbsoluteIRI without
    // query or fragment, into the text of CanonicalAbsoluteIRI(that IRI, leaf). A listing
    // makes its entries' IRIs from their folder's this way, with nothing parsed per entry.
    static void appendLeaf(std::string& text, const fl::ustring& leaf);

private:
    void canonicalise();
};

// A `scheme` IRI naming the absolute native path `path`, every byte kept (a path holding
// U+0000 or a relative path throws InvalidIRIException).
AbsoluteIRI toAbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path);
CanonicalAbsoluteIRI toCanonicalAbsoluteIRI(const fl::ustring& scheme, const fl::ustring& path);

} // namespace foundation::storage::vfs
