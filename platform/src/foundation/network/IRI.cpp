#include <foundation/network/IRI.hpp>

#include "iri_text.hpp"

#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>

#include <boost/url/grammar/error.hpp>
#include <boost/url/parse.hpp>

#include <algorithm>

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

// Boost.URL 1.81 takes the longest IPv4 address at the start of a host for the whole host
// and reads what follows as the path: "http://1.2.3.4.5/x" would get the host "1.2.3.4" and
// the path ".5/x". A host is an IPv4 address only when all of it is one; a longer run of
// reg-name characters is a reg-name ("1.2.3.4.", "1.2.3.4.5", "1.2.3.4a").
// The end of such a host in `uri`, or npos when Boost.URL read the host whole.
std::size_t misreadHostEnd(const boost::urls::url_view& parsed, std::string_view uri) {
    if (!parsed.has_authority() || parsed.host_type() != boost::urls::host_type::ipv4)
        return std::string_view::npos;
    const auto host = view(parsed.encoded_host());
    std::size_t end = static_cast<std::size_t>(host.data() - uri.data()) + host.size();
    constexpr std::string_view hostEnds = ":/?#";
    if (end == uri.size() || hostEnds.find(uri[end]) != std::string_view::npos)
        return std::string_view::npos;
    while (end < uri.size() && hostEnds.find(uri[end]) == std::string_view::npos)
        ++end;
    return end;
}

// Where a host that Boost.URL would misread lies in the text.
struct HostPlace {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// URI text read into its components where RFC 3986 puts them. The view reads the text itself,
// or, when Boost.URL would misread the host (`misread` then says where it lies), `standIn`:
// the text with that host replaced by as many letters, so that every component lies at the
// same place in both.
boost::system::result<boost::urls::url_view> read(std::string_view uri, std::string& standIn,
                                                  std::optional<HostPlace>& misread) {
    auto parsed = boost::urls::parse_uri(uri);
    misread.reset();
    if (!parsed)
        return parsed;
    const std::size_t end = misreadHostEnd(*parsed, uri);
    if (end == std::string_view::npos)
        return parsed;
    const auto begin = static_cast<std::size_t>(parsed->encoded_host().data() - uri.data());
    if (!detail::isRegName(uri.substr(begin, end - begin)))
        return boost::urls::grammar::error::invalid;
    misread = HostPlace{begin, end};
    standIn.assign(uri);
    std::fill(standIn.begin() + static_cast<std::ptrdiff_t>(begin),
              standIn.begin() + static_cast<std::ptrdiff_t>(end), 'x');
    return boost::urls::parse_uri(standIn);
}

// Whether a text read as `parsed` is acceptable: not a one-letter scheme (a drive), no port
// beyond 65535, and a path after an authority that starts with "/" (Boost.URL 1.81 ends a
// port at its last digit and reads the rest as a path, so "http://h:8o/" would pass with the
// path "o/").
bool isAcceptable(const boost::urls::url_view& parsed) {
    if (parsed.scheme().size() < 2)
        return false;
    if (parsed.has_port() && !isPortInRange(view(parsed.port())))
        return false;
    const auto path = parsed.encoded_path();
    return !parsed.has_authority() || path.empty() || path.front() == '/';
}

// Brings URI text into normal form in `out`; `uri` is edited in place. False when the text is
// not an acceptable IRI, or when `fits` refuses how it was read (before any change). The
// result is written where it stays: moving a Boost.URL url costs as much as a good part of
// the parse.
template <class Fits> bool finish(std::string& uri, Fits fits, boost::urls::url& out) {
    std::string standIn;
    std::optional<HostPlace> misread;
    auto parsed = read(uri, standIn, misread);
    if (!parsed || !isAcceptable(*parsed) || !fits(*parsed))
        return false;
    // Escapes of unreserved characters can only stand where those characters may stand
    // themselves, so decoding them keeps the text valid; read it again for the new places.
    const bool escapes = uri.find('%') != std::string::npos;
    if (escapes) {
        std::string decoded = uri;
        std::string decodedStandIn;
        std::optional<HostPlace> decodedMisread;
        if (detail::decodeUnreservedEscapes(decoded) &&
            read(decoded, decodedStandIn, decodedMisread)) {
            uri = std::move(decoded);
            parsed = read(uri, standIn, misread);
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
        hostBegin = begin + (host.data() - parsed->data());
        hostEnd = hostBegin + host.size();
    }
    if (escapes) {
        detail::foldCase(begin, schemeEnd, true, true);
        detail::foldCase(schemeEnd, hostBegin, false, true);
        detail::foldCase(hostBegin, hostEnd, true, true);
        detail::foldCase(hostEnd, end, false, true);
    } else {
        std::transform(begin, schemeEnd, begin, fl::ascii::toLower<char>);
        std::transform(hostBegin, hostEnd, hostBegin, fl::ascii::toLower<char>);
    }
    if (!misread) {
        out = *parsed; // reads `uri`, folded in place
    } else {
        // The stand-in takes the folded text around its letters; the host goes in by name.
        const auto hostAt = static_cast<std::ptrdiff_t>(misread->begin);
        const auto hostTo = static_cast<std::ptrdiff_t>(misread->end);
        std::copy(uri.begin(), uri.begin() + hostAt, standIn.begin());
        std::copy(uri.begin() + hostTo, uri.end(), standIn.begin() + hostTo);
        out = *parsed;
        out.set_encoded_host_name(
            std::string_view(uri).substr(misread->begin, misread->end - misread->begin));
    }
    if (out.has_port() && out.port().empty())
        out.remove_port(); // "http://h:/" names the same place as "http://h/"
    return true;
}

bool acceptAll(const boost::urls::url_view&) {
    return true;
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
      hasFragment(iri.hasFragment()), origin_(iri.url()) {
    if (iri.hasPort())
        port = fl::i18n::to_ustring(view(iri.url().port()));
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

    bool splitAsBuilt = true;
    const bool finished = finish(
        text,
        [&](const boost::urls::url_view& parsed) {
            splitAsBuilt = splitsAsBuilt(parsed, args, sizes);
            return splitAsBuilt;
        },
        url_);
    requireConsistent(splitAsBuilt, "a component holds a delimiter of another");
    requireConsistent(finished, "the components do not form an IRI (a one-letter scheme, a "
                                "port beyond 65535, ...)");
}

std::optional<IRI> IRI::parse(fl::ustring_view text) {
    IRI iri{detail::IRILayer()};
    if (!iri.read(detail::IRILayer(), text))
        return std::nullopt;
    return iri;
}

std::optional<IRI> IRI::parseUri(std::string uri) {
    IRI iri{detail::IRILayer()};
    if (!finish(uri, acceptAll, iri.url_))
        return std::nullopt;
    return iri;
}

bool IRI::read(detail::IRILayer, fl::ustring_view text) {
    std::string uri;
    detail::appendUri(uri, text);
    return finish(uri, acceptAll, url_);
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
