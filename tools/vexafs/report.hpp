#pragma once

// How vexafs prints what a command found: per input, a record of named fields, as
// aligned text for people or as JSON for scripts.

#include <fl/ustring.hpp>

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vexafs {

using FieldValue = std::variant<bool, std::int64_t, double, fl::ustring>;

struct Record {
    fl::ustring input;
    std::vector<std::pair<std::string, FieldValue>> fields;

    Record& add(std::string name, FieldValue value) {
        fields.emplace_back(std::move(name), std::move(value));
        return *this;
    }
};

void printRecords(std::ostream& out, const std::vector<Record>& records, bool json);

// UTF-16 text as a JSON string literal: valid characters as UTF-8, lone surrogates (the
// escaped bytes of a non-UTF-8 file name) as \u escapes, so nothing is lost.
std::string jsonString(fl::ustring_view text);

} // namespace vexafs
