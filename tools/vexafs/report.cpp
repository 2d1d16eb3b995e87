#include "report.hpp"

#include <fl/i18n.hpp>

#include <algorithm>
#include <cstdio>

namespace vexafs {
namespace {

bool isSurrogate(char16_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

void appendUnitEscape(std::string& out, unsigned unit) {
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "\\u%04x", unit);
    out += buffer;
}

std::string textOf(const FieldValue& value, bool json) {
    if (const bool* flag = std::get_if<bool>(&value))
        return json ? (*flag ? "true" : "false") : (*flag ? "yes" : "no");
    if (const std::int64_t* number = std::get_if<std::int64_t>(&value))
        return std::to_string(*number);
    if (const double* number = std::get_if<double>(&value)) {
        char text[32];
        std::snprintf(text, sizeof text, "%.3f", *number);
        return text;
    }
    const auto& text = std::get<fl::ustring>(value);
    return json ? jsonString(text) : fl::i18n::to_string(text);
}

} // namespace

std::string jsonString(fl::ustring_view text) {
    std::string out = "\"";
    std::size_t i = 0;
    while (i < text.size()) {
        const char16_t c = text[i];
        const bool pair = c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() &&
                          text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (pair) {
            out += fl::i18n::to_string(text.substr(i, 2));
            i += 2;
            continue;
        }
        if (c == u'"' || c == u'\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || isSurrogate(c)) {
            appendUnitEscape(out, c);
        } else {
            out += fl::i18n::to_string(text.substr(i, 1));
        }
        ++i;
    }
    out += '"';
    return out;
}

void printRecords(std::ostream& out, const std::vector<Record>& records, bool json) {
    if (json) {
        out << "[";
        for (std::size_t r = 0; r < records.size(); ++r) {
            out << (r ? ",\n " : "\n ") << "{\"input\": " << jsonString(records[r].input);
            for (const auto& [name, value] : records[r].fields)
                out << ", " << jsonString(fl::i18n::to_ustring(name)) << ": "
                    << textOf(value, true);
            out << "}";
        }
        out << "\n]\n";
        return;
    }
    for (const Record& record : records) {
        out << fl::i18n::to_string(record.input) << "\n";
        std::size_t width = 0;
        for (const auto& field : record.fields)
            width = std::max(width, field.first.size());
        for (const auto& [name, value] : record.fields)
            out << "  " << name << ":" << std::string(width - name.size() + 1, ' ')
                << textOf(value, false) << "\n";
    }
}

} // namespace vexafs
