#include <resource_core/MessageCatalog.hpp>

#include <fl/ascii.hpp>
#include <fl/i18n.hpp>

#include <algorithm>

namespace resource_core {

// The catalog file's text, compiled in (catalog_data.cpp is generated from it).
extern const std::string_view builtinCatalogData;

const MessageCatalog& MessageCatalog::instance() {
    static const MessageCatalog catalog(builtinCatalogData);
    return catalog;
}

MessageCatalog::MessageCatalog(std::string_view data) {
    while (!data.empty()) {
        const std::size_t end = data.find('\n');
        std::string_view line = data.substr(0, end);
        data.remove_prefix(end == std::string_view::npos ? data.size() : end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (line.empty() || line.front() == '#')
            continue;
        const std::size_t space = line.find(' ');
        if (space == std::string_view::npos)
            continue;
        std::string_view text = line.substr(space);
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        texts_.insert_or_assign(std::string(line.substr(0, space)), fl::i18n::to_ustring(text));
    }
}

std::optional<fl::ustring_view> MessageCatalog::find(std::string_view identifier) const {
    const auto it = texts_.find(std::string(identifier));
    if (it == texts_.end())
        return std::nullopt;
    return fl::ustring_view(it->second);
}

fl::ustring toMessageText(const MsgArgument& argument) {
    struct Visitor {
        fl::ustring operator()(long number) const {
            return fl::i18n::to_ustring(std::to_string(number));
        }
        fl::ustring operator()(const std::string& text) const { return fl::i18n::to_ustring(text); }
        fl::ustring operator()(const std::u16string& text) const { return text; }
    };
    return std::visit(Visitor{}, argument);
}

fl::ustring MessageCatalog::format(const std::string& identifier, const BaseMsgID& message) const {
    const auto& arguments = message.arguments();
    const auto text = find(identifier);
    fl::ustring result;
    if (!text) {
        result = fl::i18n::to_ustring(identifier);
        for (std::size_t i = 0; i < arguments.size(); ++i)
            result.append(i == 0 ? u" (" : u", ").append(toMessageText(arguments[i]));
        if (!arguments.empty())
            result.push_back(u')');
        return result;
    }
    // "{N}" with N from 1 to the argument count is replaced; anything else stays as written.
    const fl::ustring_view t = *text;
    result.reserve(t.size());
    for (std::size_t i = 0; i < t.size(); ++i) {
        if (t[i] == u'{') {
            const std::size_t close = t.find(u'}', i);
            std::size_t index = 0;
            bool digits = close != fl::ustring_view::npos && close > i + 1;
            for (std::size_t k = i + 1; digits && k < close; ++k) {
                digits = fl::ascii::isDigit(t[k]);
                index = index * 10 + (t[k] - u'0');
            }
            if (digits && index >= 1 && index <= arguments.size()) {
                result += toMessageText(arguments[index - 1]);
                i = close;
                continue;
            }
        }
        result.push_back(t[i]);
    }
    return result;
}

} // namespace resource_core
