#include <vexa/io/filesystem/core/replacement_rules.hpp>

#include <vexa/io/filesystem/core/errors.hpp>
#include <vexa/io/filesystem/core/path_predicates.hpp>

#include <foundation/core/except/Exception.hpp>

#include <optional>

namespace vexa::io::filesystem::core {
namespace {

using foundation::core::except::Exception;
namespace common = VEXA::io::filesystem::common;

const fl::ustring replacementRuleName = u"replacementrule";

// Built on every call: the library keeps no tables that a host thread could race on.
std::vector<fl::ustring> replacementRuleValues() {
    return {u"preserve", u"overwrite"};
}

bool occursIn(fl::ustring_view text, fl::ustring_view candidate) {
    return candidate.find(text) != fl::ustring_view::npos;
}

void checkReplacementRuleName(fl::ustring& name) {
    makeLowerCase(name);
    if (!occursIn(name, replacementRuleName))
        throw Exception<common::NameNotSupported>(common::NameNotSupported(name));
}

// The first value, in order, in which the lower-cased `value` occurs.
std::optional<fl::ustring> completeReplacementRuleValue(fl::ustring& value) {
    const std::vector<fl::ustring> candidates = replacementRuleValues();
    makeLowerCase(value);
    for (const fl::ustring& candidate : candidates)
        if (occursIn(value, candidate))
            return candidate;
    return std::nullopt;
}

[[noreturn]] void throwIncorrectValue() {
    throw Exception<common::IncorrectValueForReplacementRule>(
        common::IncorrectValueForReplacementRule());
}

} // namespace

void validateReplacementRuleName(fl::ustring& name, fl::ustring& value) {
    checkReplacementRuleName(name);
    if (!validateReplacementRule(value))
        throwIncorrectValue();
}

bool validateReplacementRule(fl::ustring& value) {
    return completeReplacementRuleValue(value).has_value();
}

std::pair<fl::ustring, fl::ustring>
validateAndCompleteReplacementRuleNameAndValue(fl::ustring name, fl::ustring value) {
    checkReplacementRuleName(name);
    std::optional<fl::ustring> completed = completeReplacementRuleValue(value);
    if (!completed)
        throwIncorrectValue();
    return {replacementRuleName, std::move(*completed)};
}

bool validateRuleName(fl::ustring& name, const fl::ustring& ruleName) {
    makeLowerCase(name);
    return occursIn(name, ruleName);
}

fl::ustring validateRuleValues(fl::ustring& value, const std::vector<fl::ustring>& allowed) {
    makeLowerCase(value);
    const fl::ustring* match = nullptr;
    for (const fl::ustring& candidate : allowed) {
        if (!candidate.starts_with(value))
            continue;
        if (match)
            return {}; // ambiguous: the user has to type more
        match = &candidate;
    }
    return match ? *match : fl::ustring();
}

} // namespace vexa::io::filesystem::core
