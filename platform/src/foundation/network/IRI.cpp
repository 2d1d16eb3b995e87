#include <foundation/network/IRI.hpp>

#include "iri_text.hpp"

#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>

#include <boost/url/parse.hpp>

namespace foundation::network {
namespace {

using InternalError = core::except::Exception<core::except::IInternalException>;
using detail::fromUri;
using detail::view;

bool isPortInRange(std::string_view digits) {
    std::uint32_t value = 0;
    for (char c : digits) {
        value = value * 10 + static_cast<std::uint32_t>(c - '0');
        if (value > 65535)
            return false;
    }
    return true;
}

// Brings URI text, parsed as `parsed` (a view into `uri`), into normal form; `uri` is edited
// in place. Empty when the text is not acceptable even though it parses: a one-letter scheme
// (a drive), a port beyond 65535.
std::optional<boost::urls::url> finish(std::string& uri,
                                       boost::system::result<boost::urls::url_view> parsed) {
    if (!parsed || parsed->scheme().size() < 2)
        return std::nullopt;
    if (parsed->has_port() && !isPortInRange(view(parsed->port())))
        return std::nullopt;
    // Boost.URL 1.81 ends a port at its last digit and reads the rest as a path, so
    // "http://h:8o/" would pass with the path "o/": after an authority a path starts with "/".
    const auto path = parsed->encoded_path();
    if (parsed->has_authority() && !path.empty() && path.front() != '/')
        return std::nullopt;
    // Escapes of unreserved characters can only stand where those characters may stand
    // themselves, so decoding them keeps the text valid; parse again for the new offsets.
    if (uri.find('%') != std::string::npos) {
        std::string decoded = uri;
        if (detail::decodeUnreservedEscapes(decoded) && boost::urls::parse_uri(decoded)) {
            uri = std::move(decoded);
            parsed = boost::urls::parse_uri(uri);
        }
    }
    // Scheme and host lower case, the hex digits of every escape upper case, in one pass:
    // URI text from the network may spell an escape "%2f", and a check for "%2F" must not
    // miss it.
    char* const begin = uri.data();
    char* const end = begin + uri.size();
    char* const schemeEnd = begin + parsed->scheme().size();
    char* hostBegin = end;
    char* hostEnd = end;
    if (parsed->has_authority()) {
        const auto host = parsed->encoded_host();
        hostBegin = begin + (host.data() - uri.data());
        hostEnd = hostBegin + host.size();
    }
    detail::foldCase(begin, schemeEnd, true, true);
    detail::foldCase(schemeEnd, hostBegin, false, true);
    detail::foldCase(hostBegin, hostEnd, true, true);
    detail::foldCase(hostEnd, end, false, true);
    boost::urls::url url(*parsed);
    if (url.has_port() && url.port().empty())
        url.remove_port(); // "http://h:/" names the same place as "http://h/"
    return url;
}

// The URI text sizes of the components as an IRIArgs wrote them.
struct ComponentSizes {
    std::size_t userInfo = 0;
    std::size_t host = 0;
    std::size_t path = 0;
    std::size_t query = 0;
    std::size_t fragment = 0;
};

// Whether `url` has each component where the text built from `args` put it.
bool splitsAsBuilt(const boost::urls::url_view_base& url, const IRIArgs& args,
                   const ComponentSizes& sizes) {
    return url.has_authority() == args.hasAuthority && url.has_userinfo() == args.hasUserInfo &&
           url.encoded_userinfo().size() == sizes.userInfo &&
           (!args.hasAuthority || url.encoded_host().size() == sizes.host) &&
           url.encoded_path().size() == sizes.path && url.has_query() == args.hasQuery &&
           url.encoded_query().size() == sizes.query && url.has_fragment() == args.hasFragment &&
           url.encoded_fragment().size() == sizes.fragment;
}

void requireConsistent(bool condition, const char* what) {
    if (!condition)
        throw InternalError(std::string("Inconsistent IRI components: ") + what);
}

} // namespace

IRIArgs::IRIArgs(const IRI& iri)
    : scheme(iri.getScheme()), hasAuthority(iri.hasAuthority()),
      userInfo(iri.getUserInfo(iri::Encoding::IRI)), hasUserInfo(iri.hasUserInfo()),
      host(iri.hasAuthority() ? iri.getHost(iri::Encoding::IRI) : fl::ustring()),
      path(iri.getPath(iri::Encoding::IRI)), query(iri.getQuery(iri::Encoding::IRI)),
      hasQuery(iri.hasQuery()), fragment(iri.getFragment(iri::Encoding::IRI)),
      hasFragment(iri.hasFragment()), origin_(iri.url_) {
    if (iri.hasPort())
        port = fl::i18n::to_ustring(view(iri.url_.port()));
}

IRI::IRI(const IRIArgs& args) {
    requireConsistent(fl::ascii::isSchemeName(args.scheme), "the scheme is not a scheme name");
    requireConsistent(args.hasQuery || args.query.empty(), "a query without its flag");
    requireConsistent(args.hasFragment || args.fragment.empty(), "a fragment without its flag");
    requireConsistent(args.hasUserInfo || args.userInfo.empty(), "user info without its flag");
    requireConsistent(args.hasAuthority ||
                          (!args.hasUserInfo && args.host.empty() && args.port.empty()),
                      "user info, host or port without an authority");
    for (char16_t c : args.port)
        requireConsistent(fl::ascii::isDigit(c), "a port that is not a number");
    if (args.hasAuthority)
        requireConsistent(args.path.empty() || args.path[0] == u'/',
                          "a path after an authority that does not start with \"/\"");
    else
        requireConsistent(args.path.substr(0, 2) != u"//",
                          "a path starting with \"//\" would be read as an authority");

    // Each component is converted on its own so that the parse can be checked against it:
    // a delimiter inside a component ("#" in a query) would otherwise move the boundaries.
    std::string text;
    ComponentSizes sizes;
    detail::appendUri(text, args.scheme);
    text += ':';
    if (args.hasAuthority) {
        text += "//";
        if (args.hasUserInfo) {
            const std::size_t before = text.size();
            detail::appendUri(text, args.userInfo);
            sizes.userInfo = text.size() - before;
            text += '@';
        }
        const std::size_t before = text.size();
        detail::appendUri(text, args.host);
        sizes.host = text.size() - before;
        if (!args.port.empty()) {
            text += ':';
            detail::appendUri(text, args.port);
        }
    }
    std::size_t before = text.size();
    detail::appendUri(text, args.path);
    sizes.path = text.size() - before;
    if (args.hasQuery) {
        text += '?';
        before = text.size();
        detail::appendUri(text, args.query);
        sizes.query = text.size() - before;
    }
    if (args.hasFragment) {
        text += '#';
        before = text.size();
        detail::appendUri(text, args.fragment);
        sizes.fragment = text.size() - before;
    }

    // Text that spells the origin, or the origin without its query or fragment, with every
    // component where the origin has it, parses back into exactly that URL, which is in
    // normal form already: the parse and the normal form would only give it back.
    if (args.origin_) {
        boost::urls::url same = *args.origin_;
        if (!args.hasQuery)
            same.remove_query();
        if (!args.hasFragment)
            same.remove_fragment();
        if (view(same.buffer()) == text && splitsAsBuilt(same, args, sizes)) {
            url_ = std::move(same);
            return;
        }
    }

    auto parsed = boost::urls::parse_uri(text);
    requireConsistent(parsed.has_value(), "the components do not form an IRI");
    requireConsistent(splitsAsBuilt(*parsed, args, sizes),
                      "a component holds a delimiter of another");
    auto url = finish(text, parsed);
    requireConsistent(url.has_value(), "a one-letter scheme or a port beyond 65535");
    url_ = std::move(*url);
}

std::optional<IRI> IRI::parse(fl::ustring_view text) {
    std::string uri;
    detail::appendUri(uri, text);
    return parseUri(std::move(uri));
}

std::optional<IRI> IRI::parseUri(std::string uri) {
    const auto parsed = boost::urls::parse_uri(uri);
    auto url = finish(uri, parsed);
    if (!url)
        return std::nullopt;
    return IRI(std::move(*url));
}

fl::ustring IRI::getScheme() const {
    const auto scheme = url_.scheme();
    return fl::ustring(scheme.begin(), scheme.end());
}

fl::ustring IRI::getUserInfo(iri::Encoding encoding) const {
    return fromUri(view(url_.encoded_userinfo()), encoding);
}

fl::ustring IRI::getHost(iri::Encoding encoding) const {
    return fromUri(view(url_.encoded_host()), encoding);
}

fl::ustring IRI::getPath(iri::Encoding encoding) const {
    return fromUri(view(url_.encoded_path()), encoding);
}

fl::ustring IRI::getQuery(iri::Encoding encoding) const {
    return fromUri(view(url_.encoded_query()), encoding);
}

fl::ustring IRI::getFragment(iri::Encoding encoding) const {
    return fromUri(view(url_.encoded_fragment()), encoding);
}

fl::ustring IRI::toString(iri::Encoding encoding) const {
    return fromUri(uriText(), encoding);
}

} // namespace foundation::network
