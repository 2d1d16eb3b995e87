#include <vexa/io/filesystem/core/replacement_rules.hpp>

#include "Raised.hpp"

#include <fl/i18n.hpp>

#include <gtest/gtest.h>

#include <optional>
#include <tuple>

namespace {

namespace core = vexa::io::filesystem::core;
using vexa::testing::raisedBy;

const std::string nameNotSupported = "VEXA:io:filesystem:common:NameNotSupported";
const std::string incorrectValue = "VEXA:io:filesystem:common:IncorrectValueForReplacementRule";

// Any part of a candidate is accepted, "preserve" before "overwrite"; a bad name is
// reported (lower-cased) before the value is looked at.
TEST(ReplacementRule, CompletionAndRefusal) {
    using vexa::testing::Raised;
    const std::tuple<fl::ustring, fl::ustring, fl::ustring, std::optional<Raised>> cases[] = {
        // name, value, completed value, refusal
        {u"ReplacementRule", u"OVER", u"overwrite", {}},
        {u"rule", u"serve", u"preserve", {}},
        {u"ment", u"e", u"preserve", {}}, // in both values: the first wins
        {u"", u"", u"preserve", {}},
        {u"rule", u"preserves", u"", Raised{incorrectValue, {}}}, // the refused value is not shown
        {u"Replace_Rule", u"KEEP", u"", Raised{nameNotSupported, {u"replace_rule"}}},
        {u"R\u00C9GLE", u"x", u"", Raised{nameNotSupported, {u"r\u00C9gle"}}}, // ASCII letters only
    };
    for (const auto& [name, value, completed, refusal] : cases) {
        const std::string shown = fl::i18n::to_string(name + u" " + value);
        fl::ustring checkedName = name, checkedValue = value;
        EXPECT_EQ(raisedBy([&] {
                      EXPECT_EQ(core::validateAndCompleteReplacementRuleNameAndValue(name, value),
                                std::pair(fl::ustring(u"replacementrule"), completed));
                  }),
                  refusal)
            << shown;
        EXPECT_EQ(raisedBy([&] { core::validateReplacementRuleName(checkedName, checkedValue); }),
                  refusal)
            << shown;
    }
    // The caller's text stays lower-cased, whatever the verdict.
    fl::ustring value = u"PRES";
    EXPECT_TRUE(core::validateReplacementRule(value));
    EXPECT_EQ(value, u"pres");
    value = u"KEEP";
    EXPECT_FALSE(core::validateReplacementRule(value));
    EXPECT_EQ(value, u"keep");
}

// A unique prefix of a candidate, returned as the candidate is written.
TEST(RuleMatching, ValidateRuleValuesAndName) {
    using List = std::vector<fl::ustring>;
    const std::tuple<fl::ustring, List, fl::ustring> cases[] = {
        {u"o", {u"open", u"overwrite"}, u""}, // ambiguous
        {u"OV", {u"open", u"overwrite"}, u"overwrite"},
        {u"wr", {u"overwrite"}, u""}, // inside, but not a prefix
        {u"", {u"only"}, u"only"},
        {u"", {}, u""},
        {u"open", {u"open", u"opened"}, u""}, // even an exact match
        {u"app", {u"Apple", u"apple"}, u"apple"},
    };
    for (const auto& [value, allowed, completed] : cases) {
        fl::ustring typed = value;
        EXPECT_EQ(core::validateRuleValues(typed, allowed), completed)
            << fl::i18n::to_string(value);
    }
    fl::ustring name = u"MENT";
    EXPECT_TRUE(core::validateRuleName(name, u"replacementrule"));
    EXPECT_EQ(name, u"ment");
    name = u"";
    EXPECT_TRUE(core::validateRuleName(name, u""));
    name = u"mode";
    EXPECT_FALSE(core::validateRuleName(name, u"Mode")); // the rule name is taken as given
}

} // namespace
