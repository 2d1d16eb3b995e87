// The replacement rules: the input's two lines are a name and a value. Only NameNotSupported
// and IncorrectValueForReplacementRule escape; a completed pair is "replacementrule" and the
// first value in which the lower-cased value occurs; a generic rule value is the one allowed
// value the lower-cased text starts, or "".

#include "Fuzz.hpp"

#include <foundation/core/except/IException.hpp>
#include <vexa/io/filesystem/core/path_predicates.hpp>
#include <vexa/io/filesystem/core/replacement_rules.hpp>

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace core = vexa::io::filesystem::core;
    using vexa::fuzz::require;
    const auto [name, value] = vexa::fuzz::twoTexts(vexa::fuzz::bytesOf(data, size));
    fl::ustring lowerName = name, lowerValue = value;
    core::makeLowerCase(lowerName);
    core::makeLowerCase(lowerValue);
    const std::string what = fl::i18n::to_string(name) + " = " + fl::i18n::to_string(value);

    const bool nameFits = fl::ustring_view(u"replacementrule").find(lowerName) != fl::ustring::npos;
    const fl::ustring expected =
        fl::ustring_view(u"preserve").find(lowerValue) != fl::ustring::npos    ? u"preserve"
        : fl::ustring_view(u"overwrite").find(lowerValue) != fl::ustring::npos ? u"overwrite"
                                                                               : u"";
    try {
        const auto [completedName, completedValue] =
            core::validateAndCompleteReplacementRuleNameAndValue(name, value);
        require(nameFits && completedName == u"replacementrule" && completedValue == expected,
                "completed wrongly: " + what);
    } catch (const foundation::core::except::IMsgIDException& error) {
        const std::string id = error.GetID();
        require(id == (nameFits ? "VEXA:io:filesystem:common:IncorrectValueForReplacementRule"
                                : "VEXA:io:filesystem:common:NameNotSupported") &&
                    (nameFits ? expected.empty() : true),
                id + " for " + what);
    }

    const std::vector<fl::ustring> allowed = {u"auto", u"automatic", u"Manual", lowerName};
    fl::ustring typed = value;
    const fl::ustring chosen = core::validateRuleValues(typed, allowed);
    require(typed == lowerValue, "the value is not lower-cased in place: " + what);
    std::size_t starting = 0;
    const fl::ustring* only = nullptr;
    for (const fl::ustring& candidate : allowed)
        if (candidate.starts_with(lowerValue)) {
            ++starting;
            only = &candidate;
        }
    require(chosen == (starting == 1 ? *only : fl::ustring()),
            "rule value chosen wrongly: " + what);
    return 0;
}
