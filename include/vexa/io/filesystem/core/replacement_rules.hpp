#pragma once

// The replacement-rule option of the file built-ins ("replacementrule", with the values
// "preserve" and "overwrite"), and two matchers for other options of the same shape.
//
// Two matching rules live here and differ on purpose. The replacement-rule functions
// accept any text that occurs inside a candidate ("ment", "wri", even ""); the generic
// validateRuleValues accepts only a prefix, and only when exactly one candidate has it.
// Every function lower-cases (ASCII) the user's text in place before comparing, and that
// change survives a failure.

#include <fl/ustring.hpp>

#include <utility>
#include <vector>

namespace vexa::io::filesystem::core {

// Throws NameNotSupported (with the lower-cased name) when `name` does not occur in
// "replacementrule", then IncorrectValueForReplacementRule for a value that fits neither.
void validateReplacementRuleName(fl::ustring& name, fl::ustring& value);

// Whether `value` occurs in "preserve" or "overwrite".
bool validateReplacementRule(fl::ustring& value);

// The completed pair: "replacementrule" and "preserve" or "overwrite". "preserve" is tried
// first, so a text found in both ("e", "r", "") completes to it. Throws as
// validateReplacementRuleName does.
std::pair<fl::ustring, fl::ustring>
validateAndCompleteReplacementRuleNameAndValue(fl::ustring name, fl::ustring value);

// Whether `name` occurs in `ruleName`.
bool validateRuleName(fl::ustring& name, const fl::ustring& ruleName);

// The one entry of `allowed`, as written there, that starts with `value`; "" when none or
// more than one does.
fl::ustring validateRuleValues(fl::ustring& value, const std::vector<fl::ustring>& allowed);

} // namespace vexa::io::filesystem::core
