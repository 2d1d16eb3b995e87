// The dav(s) provider reading a share's multistatus answers: expat with namespace
// processing, fed the body as it arrives, so that a listing of thousands of entries is
// read while it comes and never held whole.

#include "Dav.hpp"

#include <expat.h>

#include <charconv>
#include <climits>
#include <cstring>
#include <random>

namespace foundation::storage::provider::dav {
namespace {

// Expat gives a name in a namespace as the namespace's URI, this separator and the local
// name: "DAV:|href", whatever prefix the document used.
constexpr char separator = '|';

// The DAV: elements the reader knows; every other element is skipped with what it holds.
enum class Element {
    Other,
    Response,
    Href,
    Status,
    Propstat,
    Prop,
    ResourceType,
    Collection,
    ContentLength,
    LastModified,
    ContentType,
    Etag,
};

Element elementOf(const char* name) {
    // Tested before the name is measured: most names in an answer are DAV: ones, but a
    // name of another namespace may be long.
    constexpr std::string_view dav = "DAV:|";
    if (std::strncmp(name, dav.data(), dav.size()) != 0)
        return Element::Other;
    const std::string_view local(name + dav.size());
    static constexpr std::pair<std::string_view, Element> known[] = {
        {"response", Element::Response},
        {"href", Element::Href},
        {"status", Element::Status},
        {"propstat", Element::Propstat},
        {"prop", Element::Prop},
        {"resourcetype", Element::ResourceType},
        {"collection", Element::Collection},
        {"getcontentlength", Element::ContentLength},
        {"getlastmodified", Element::LastModified},
        {"getcontenttype", Element::ContentType},
        {"getetag", Element::Etag},
    };
    for (const auto& [text, element] : known)
        if (local == text)
            return element;
    return Element::Other;
}

// Whether an element's text is a value the reader keeps: the others hold only elements, and
// the white space between them is not worth gathering.
bool holdsValue(Element element) {
    switch (element) {
    case Element::Href:
    case Element::Status:
    case Element::ContentLength:
    case Element::LastModified:
    case Element::ContentType:
    case Element::Etag:
        return true;
    default:
        return false;
    }
}

// The number of an HTTP status line ("HTTP/1.1 404 Not Found"); 0 when there is none.
int statusOf(std::string_view line) {
    const auto space = line.find(' ');
    if (space == std::string_view::npos)
        return 0;
    line.remove_prefix(space + 1);
    int status = 0;
    std::from_chars(line.data(), line.data() + line.size(), status);
    return status;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view space = " \t\r\n";
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

struct ParserFree {
    void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<XML_ParserStruct, ParserFree>;

// A parser per thread, reset for each answer: a new one costs more than reading a look's
// answer does.
thread_local Parser idleParser;

Parser takeParser() {
    if (idleParser) {
        Parser parser = std::move(idleParser);
        XML_ParserReset(parser.get(), nullptr);
        return parser;
    }
    Parser parser(XML_ParserCreateNS(nullptr, separator));
    if (!parser)
        throw std::bad_alloc();
    return parser;
}

} // namespace

struct MultistatusReader::State {
    explicit State(std::function<void(Resource&&)> found)
        : parser(takeParser()), found(std::move(found)) {
        // Names are hashed with a secret salt, so that no document can make them collide.
        // Expat draws one from the system for each document; one drawn per thread keeps the
        // protection without a system call for every answer.
        thread_local const unsigned long salt = [] {
            unsigned long drawn = 0;
            while (drawn == 0)
                drawn = static_cast<unsigned long>(std::random_device{}()) << 16 ^
                        std::random_device{}();
            return drawn;
        }();
        XML_SetHashSalt(parser.get(), salt);
        XML_SetUserData(parser.get(), this);
        XML_SetElementHandler(parser.get(), &State::opened, &State::closed);
        XML_SetCharacterDataHandler(parser.get(), &State::text);
    }
    ~State() {
        if (!idleParser)
            idleParser = std::move(parser);
    }

    static void opened(void* self, const XML_Char* name, const XML_Char**) {
        auto& state = *static_cast<State*>(self);
        const Element element = elementOf(name);
        state.open.push_back(element);
        state.characters.clear();
        switch (element) {
        case Element::Response:
            state.resource = Resource{};
            break;
        case Element::Propstat:
            state.properties = Resource{};
            state.propstatStatus = 0;
            break;
        case Element::Collection:
            if (state.within(Element::ResourceType))
                state.properties.collection = true;
            break;
        default:
            break;
        }
    }

    static void closed(void* self, const XML_Char*) {
        auto& state = *static_cast<State*>(self);
        const Element element = state.open.back();
        state.open.pop_back();
        const std::string_view value = trimmed(state.characters);
        Resource& properties = state.properties;
        // A property counts where it stands in a prop of a propstat of a response.
        const bool property = state.parentIs(Element::Prop) && state.within(Element::Propstat);
        switch (element) {
        case Element::Href:
            if (state.parentIs(Element::Response))
                state.resource.href = value;
            break;
        case Element::Status:
            if (state.parentIs(Element::Propstat))
                state.propstatStatus = statusOf(value);
            else if (state.parentIs(Element::Response))
                state.resource.status = statusOf(value);
            break;
        case Element::ContentLength:
            if (property) {
                std::uint64_t size = 0;
                const auto [end, error] =
                    std::from_chars(value.data(), value.data() + value.size(), size);
                if (error == std::errc() && end == value.data() + value.size())
                    properties.size = size;
            }
            break;
        case Element::LastModified:
            if (property) {
                // RFC 1123, as a Last-Modified header.
                properties.lastModified = http::dateOf(value);
            }
            break;
        case Element::ContentType:
            if (property && !value.empty())
                properties.contentType = value;
            break;
        case Element::Etag:
            if (property && !value.empty())
                properties.etag = value;
            break;
        case Element::Propstat:
            // Only what the share found: a 404 propstat lists the properties it lacks.
            if (state.propstatStatus / 100 == 2 && state.parentIs(Element::Response)) {
                Resource& resource = state.resource;
                resource.described = true;
                resource.collection = resource.collection || properties.collection;
                if (properties.size)
                    resource.size = properties.size;
                if (!properties.lastModified.is_not_a_date_time())
                    resource.lastModified = properties.lastModified;
                if (properties.contentType)
                    resource.contentType = std::move(properties.contentType);
                if (properties.etag)
                    resource.etag = std::move(properties.etag);
            }
            break;
        case Element::Response:
            if (!state.resource.href.empty())
                state.found(std::move(state.resource));
            break;
        default:
            break;
        }
        state.characters.clear();
    }

    static void text(void* self, const XML_Char* data, int length) {
        auto& state = *static_cast<State*>(self);
        // Only the values the reader keeps gather text; a long skipped value costs nothing.
        if (!state.open.empty() && holdsValue(state.open.back()))
            state.characters.append(data, static_cast<std::size_t>(length));
    }

    bool parentIs(Element element) const { return !open.empty() && open.back() == element; }
    bool within(Element element) const {
        for (const Element e : open)
            if (e == element)
                return true;
        return false;
    }

    Parser parser;
    std::function<void(Resource&&)> found;
    std::vector<Element> open; // the elements entered and not yet left
    std::string characters;    // the text of the innermost element
    Resource resource;         // the response being read
    Resource properties;       // the propstat being read
    int propstatStatus = 0;
};

MultistatusReader::MultistatusReader(std::function<void(Resource&&)> found)
    : state_(std::make_unique<State>(std::move(found))) {}

MultistatusReader::~MultistatusReader() = default;

bool MultistatusReader::feed(std::string_view bytes) {
    while (!bytes.empty()) {
        const int length = static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX));
        if (XML_Parse(state_->parser.get(), bytes.data(), length, XML_FALSE) != XML_STATUS_OK)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(length));
    }
    return true;
}

bool MultistatusReader::finish() {
    return XML_Parse(state_->parser.get(), nullptr, 0, XML_TRUE) == XML_STATUS_OK;
}

std::string MultistatusReader::error() const {
    XML_Parser parser = state_->parser.get();
    return std::string(XML_ErrorString(XML_GetErrorCode(parser))) + " at line " +
           std::to_string(XML_GetCurrentLineNumber(parser));
}

} // namespace foundation::storage::provider::dav
