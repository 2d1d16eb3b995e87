#include <foundation/storage/utility/url.hpp>

#include "foundation/network/iri_text.hpp"

#include <fl/i18n.hpp>

#include <optional>

namespace foundation::storage::utility {
namespace {

namespace ndetail = network::detail;

bool isAsciiSpace(char16_t c) {
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

bool mustEscape(char16_t c) {
    if (c <= 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F))
        return true;
    return fl::ustring_view(u"\"<>\\^`{|}").find(c) != fl::ustring_view::npos;
}

void trim(fl::ustring& text) {
    std::size_t first = 0, last = text.size();
    while (first < last && isAsciiSpace(text[first]))
        ++first;
    while (last > first && isAsciiSpace(text[last - 1]))
        --last;
    if (first != 0 || last != text.size())
        text = text.substr(first, last - first);
}

void escapeForbidden(fl::ustring& text) {
    std::size_t i = 0;
    while (i < text.size() && !mustEscape(text[i]))
        ++i;
    if (i == text.size())
        return;
    fl::ustring out(text, 0, i);
    for (; i < text.size(); ++i) {
        if (!mustEscape(text[i])) {
            out += text[i];
            continue;
        }
        for (unsigned char byte : fl::i18n::to_string(fl::ustring_view(&text[i], 1)))
            ndetail::appendEscape(out, byte);
    }
    text = std::move(out);
}

// Escapes keep their hex digits as the user wrote them: only what cannot parse is changed.
void lowerCase(fl::ustring& text, std::size_t first, std::size_t last) {
    ndetail::foldCase(text.data() + first, text.data() + last, true, false);
}

// Where the path of text with a scheme lies, and whether an authority comes before it.
struct PathPlace {
    std::size_t begin;
    bool afterAuthority;
};

// Lower-cases scheme and host; nothing for text without a scheme.
std::optional<PathPlace> lowerCaseSchemeAndHost(fl::ustring& text) {
    const std::size_t colon = text.find(u':');
    if (colon == fl::ustring::npos ||
        !fl::ascii::isSchemeName(fl::ustring_view(text.data(), colon)))
        return std::nullopt;
    lowerCase(text, 0, colon);
    const std::size_t authority = colon + 1;
    if (text.compare(authority, 2, u"//") != 0)
        return PathPlace{authority, false};
    const std::size_t begin = authority + 2;
    std::size_t end = text.find_first_of(u"/?#", begin);
    if (end == fl::ustring::npos)
        end = text.size();
    const std::size_t at = text.rfind(u'@', end - 1);
    const std::size_t hostBegin = at != fl::ustring::npos && at >= begin ? at + 1 : begin;
    std::size_t hostEnd = end;
    if (hostBegin < end && text[hostBegin] == u'[') {
        const std::size_t bracket = text.find(u']', hostBegin);
        hostEnd = bracket != fl::ustring::npos && bracket < end ? bracket + 1 : end;
    } else {
        const std::size_t port = text.find(u':', hostBegin);
        hostEnd = port != fl::ustring::npos && port < end ? port : end;
    }
    lowerCase(text, hostBegin, hostEnd);
    return PathPlace{end, true};
}

} // namespace

void normalizeURL(fl::ustring& text) {
    trim(text);
    escapeForbidden(text);
    // Dot segments belong to the path of an IRI; in text without a scheme they may be all a
    // relative path has ("a/../../b" is not "/b").
    const auto place = lowerCaseSchemeAndHost(text);
    if (!place)
        return;
    std::size_t pathEnd = text.find_first_of(u"?#", place->begin);
    if (pathEnd == fl::ustring::npos)
        pathEnd = text.size();
    const fl::ustring_view path(text.data() + place->begin, pathEnd - place->begin);
    if (path.find(u'.') == fl::ustring_view::npos)
        return;
    fl::ustring resolved = ndetail::removeDotSegments(path);
    // Without an authority "//" would start one ("file:/..//etc" is not the host "etc"): the
    // path keeps "/." in front, as an IRI writes it.
    if (!place->afterAuthority && resolved.starts_with(u"//"))
        resolved.insert(0, u"/.");
    text.replace(place->begin, pathEnd - place->begin, resolved);
}

void handleWindowsTrailingDotsAndSpaces(fl::ustring&) {}

} // namespace foundation::storage::utility
