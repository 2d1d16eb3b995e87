#pragma once

// Internationalised resource identifiers: Unicode text on the outside, RFC 3986 URIs on the
// inside. Non-ASCII characters travel as the percent-escapes of their UTF-8 bytes while
// parsed and stored, and come back as characters when asked for IRI text.

#include <fl/ustring.hpp>

#include <boost/url/url.hpp>

#include <cstdint>
#include <optional>
#include <string_view>

namespace foundation::network {

namespace iri {
// The form a component's text is given in.
enum class Encoding {
    // IRI text: escapes of unreserved ASCII and of non-ASCII characters decoded; escapes of
    // reserved characters and of bytes that are not UTF-8 kept, so the text still parses.
    IRI,
    // URI text: ASCII only, every non-ASCII character as percent-escapes of its UTF-8 bytes.
    URI,
    // Every escape decoded; bytes that are not UTF-8 come back as U+DC80..U+DCFF.
    Decoded,
};
} // namespace iri

namespace detail {
// The key to the members through which the rest of the IRI layer (AbsoluteIRI and its kin)
// makes IRIs without a second parse. They take the normal form on trust; needing the key,
// no other code reaches them by chance.
struct IRILayer {
    explicit IRILayer() = default;
};
} // namespace detail

class IRI;

// The components of an IRI, in IRI text, for building or changing one. A flag tells whether
// a component is present at all, since an empty query ("?") differs from none.
struct IRIArgs {
    IRIArgs() = default;
    explicit IRIArgs(const IRI& iri);

    fl::ustring scheme;
    bool hasAuthority = false;
    fl::ustring userInfo;
    bool hasUserInfo = false;
    fl::ustring host;
    fl::ustring port; // decimal digits; empty for none
    fl::ustring path;
    fl::ustring query;
    bool hasQuery = false;
    fl::ustring fragment;
    bool hasFragment = false;

private:
    // The IRI the bag was read from. Rebuilding it unchanged, or with only its query or
    // fragment dropped, then takes its already normal form instead of a second parse.
    std::optional<boost::urls::url> origin_;
    friend class IRI;
};

// A parsed IRI in normal form: scheme and host in lower case, escapes in upper case, escapes
// of unreserved characters decoded, an empty port dropped. Its text never changes after
// construction, so copies may be read from any thread.
class IRI {
public:
    // Rebuilds an IRI from its components. A bag whose components do not fit together (a
    // query text without the query flag, a port without an authority, a path that would be
    // read as an authority, ...) is a fault of the code that filled it and raises
    // Exception<IInternalException>.
    explicit IRI(const IRIArgs& args);

    // Parses IRI text with a scheme. Empty when the text is not one; a single letter before
    // the first colon ("C:") is a drive, never a scheme.
    static std::optional<IRI> parse(fl::ustring_view text);
    // The same for URI text (ASCII, non-ASCII escaped), as it comes over the network.
    static std::optional<IRI> parseUri(std::string uri);

    fl::ustring getScheme() const; // lower case
    bool hasAuthority() const noexcept { return url_.has_authority(); }
    bool hasUserInfo() const noexcept { return url_.has_userinfo(); }
    fl::ustring getUserInfo(iri::Encoding encoding) const;
    // An IPv6 host keeps its brackets ("[::1]").
    bool hasHost() const noexcept { return url_.has_authority() && !url_.encoded_host().empty(); }
    fl::ustring getHost(iri::Encoding encoding) const;
    bool hasPort() const noexcept { return url_.has_port(); }
    std::int64_t getPortNumber() const noexcept { return url_.port_number(); }
    fl::ustring getPath(iri::Encoding encoding) const;
    bool hasQuery() const noexcept { return url_.has_query(); }
    fl::ustring getQuery(iri::Encoding encoding) const;
    bool hasFragment() const noexcept { return url_.has_fragment(); }
    fl::ustring getFragment(iri::Encoding encoding) const;

    fl::ustring toString(iri::Encoding encoding) const;
    // The whole IRI as URI text, without a copy.
    std::string_view uriText() const noexcept { return {url_.data(), url_.size()}; }
    // The host and the path as URI text, without a copy.
    std::string_view uriHost() const noexcept {
        return {url_.encoded_host().data(), url_.encoded_host().size()};
    }
    std::string_view uriPath() const noexcept {
        return {url_.encoded_path().data(), url_.encoded_path().size()};
    }

    friend bool operator==(const IRI& a, const IRI& b) noexcept {
        return a.uriText() == b.uriText();
    }

    // --- for the IRI layer ---------------------------------------------------------------
    // Related IRIs (parent, resolved) are derived by editing the URI form, which is already
    // normal and needs no second parse.

    // The parsed URI form, in normal form.
    const boost::urls::url& url() const noexcept { return url_; }
    // An IRI from a URL already in normal form (one edited from an IRI's URL so that it stays
    // normal, or put together from parts in normal form).
    IRI(detail::IRILayer, boost::urls::url url) noexcept : url_(std::move(url)) {}
    // An IRI to read text into, unusable until read() returned true. The storage layer
    // parses in place: a move of the parsed form costs a good part of a parse.
    explicit IRI(detail::IRILayer) noexcept {}
    // Parses IRI text into this IRI, which is left unusable when it returns false.
    bool read(detail::IRILayer, fl::ustring_view text);
    // The parsed form to put together from parts in normal form, where it stays.
    boost::urls::url& url(detail::IRILayer) noexcept { return url_; }

private:
    boost::urls::url url_;
};

} // namespace foundation::network
