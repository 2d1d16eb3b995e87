// The http(s) provider listing a folder: the server's index page read into entries, with
// the time and size the page shows.

#include "HttpProvider.hpp"

#include "foundation/network/iri_text.hpp"
#include "foundation/storage/http/Client.hpp"

#include <fl/ascii.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace foundation::storage::provider {
namespace {

// Index pages (nginx's autoindex, Apache's and lighttpd's listings) are HTML titled so.
constexpr std::string_view indexTitle = "<title>Index of ";

// The entry a link of an index page names when it is one directly below the folder, as
// nginx's autoindex writes it: the name escaped (":" included, so that no name reads as a
// scheme), and "/" after a folder's. "../", links from the root, to other hosts, and with a
// query or fragment name no entry.
std::optional<FolderEntry> entryOf(std::string_view href) {
    const bool folder = href.ends_with('/');
    if (folder)
        href.remove_suffix(1);
    if (href.empty() || href == "." || href == ".." ||
        href.find_first_of("/?#:") != std::string_view::npos)
        return std::nullopt;
    FolderEntry entry;
    entry.name = network::detail::fromUri(href, network::iri::Encoding::Decoded);
    entry.type = folder ? ItemType::Folder : ItemType::File;
    return entry;
}

std::optional<int> numberAt(std::string_view& text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

bool skip(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected))
        return false;
    text.remove_prefix(expected.size());
    return true;
}

void skipSpaces(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

// The time and size nginx's autoindex writes after a link: "24-Nov-2026 03:00" in UTC, then
// the size in bytes, or "-" for a folder. A line of another form (another server's listing,
// sizes rounded to "1K") leaves them unknown.
void readDetails(std::string_view line, FolderEntry& entry) {
    static constexpr std::array<std::string_view, 12> months = {
        "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    skipSpaces(line);
    const auto day = numberAt(line);
    if (!day || !skip(line, "-"))
        return;
    const auto month = std::find(months.begin(), months.end(), line.substr(0, 3));
    if (month == months.end())
        return;
    line.remove_prefix(3);
    std::optional<int> year, hour, minute;
    if (!skip(line, "-") || !(year = numberAt(line)) || !skip(line, " ") ||
        !(hour = numberAt(line)) || !skip(line, ":") || !(minute = numberAt(line)))
        return;
    try {
        entry.lastModified = boost::posix_time::ptime(
            boost::gregorian::date(static_cast<unsigned short>(*year),
                                   static_cast<unsigned short>(month - months.begin() + 1),
                                   static_cast<unsigned short>(*day)),
            boost::posix_time::hours(*hour) + boost::posix_time::minutes(*minute));
    } catch (const std::out_of_range&) {
        return; // no such day
    }
    skipSpaces(line);
    std::uint64_t size = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), size);
    if (error == std::errc() && (end == line.data() + line.size() || *end == '\r'))
        entry.size = size;
}

std::vector<FolderEntry> entriesOf(std::string_view page) {
    static constexpr std::string_view link = "<a href=\"", linkEnd = "</a>";
    std::vector<FolderEntry> entries;
    for (auto at = page.find(link); at != std::string_view::npos; at = page.find(link, at)) {
        at += link.size();
        const auto end = page.find('"', at);
        if (end == std::string_view::npos)
            break;
        if (auto entry = entryOf(page.substr(at, end - at))) {
            if (const auto close = page.find(linkEnd, end); close != std::string_view::npos) {
                const auto lineStart = close + linkEnd.size();
                readDetails(page.substr(lineStart, page.find('\n', lineStart) - lineStart), *entry);
            }
            entries.push_back(std::move(*entry));
        }
        at = end;
    }
    return entries;
}

} // namespace

std::unique_ptr<FolderCursor> HttpProvider::listPages(const vfs::AbsoluteIRI& folder,
                                                      const fl::ustring& filter) const {
    // A page is part of one answer, not a body the caller streams: it has a deadline.
    http::BodyReader body(options_, http::requestFor(folder, "GET"), folder, "list");
    const auto type = body.transfer().header("Content-Type");
    if (!type || !fl::ascii::startsWithIgnoringCase(*type, "text/html"))
        http::raise(
            {vfs::UnsupportedOperation, "not an index page: " + std::string(type.value_or(""))},
            "list", folder);
    std::string page;
    std::array<char, 16 * 1024> chunk;
    while (const std::size_t length = body.read(chunk))
        page.append(chunk.data(), length);
    if (page.find(indexTitle) == std::string::npos)
        http::raise({vfs::UnsupportedOperation, "not an index page"}, "list", folder);
    // An index page comes whole and cannot be asked for some names only.
    return onePage(entriesOf(page), filter);
}

} // namespace foundation::storage::provider
