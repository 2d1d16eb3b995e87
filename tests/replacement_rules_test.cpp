#include <vexa/io/filesystem/core/replacement_rules.hpp>

#include <vexa/io/filesystem/core/errors.hpp>
#include <vexa/io/filesystem/core/path_predicates.hpp>

#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>

#include <gtest/gtest.h>

#include <optional>

namespace {

namespace core = vexa::io::filesystem::core;
namespace common = VEXA::io::filesystem::common;
using foundation::core::except::Exception;
using foundation::core::except::IMsgIDException;

// The identifier and arguments of what a call threw; nullopt when it returned.
struct Raised {
    std::string id;
    std::vector<resource_core::MsgArgument> arguments;
};

template <class Call> std::optional<Raised> raisedBy(Call call) {
    try {
        call();
    } catch (const IMsgIDException& error) {
        return Raised{error.GetID(), error.GetBaseMsgIDObj().arguments()};
    }
    return std::nullopt;
}

const std::string nameNotSupported = "VEXA:io:filesystem:common:NameNotSupported";
const std::string incorrectValue = "VEXA:io:filesystem:common:IncorrectValueForReplacementRule";

TEST(ReplacementRule, CompletionOfNameAndValue) {
    struct Case {
        const char16_t* name;
        const char16_t* value;
        const char16_t* completed; // nullptr: the value is refused
    };
    const Case cases[] = {
        {u"ReplacementRule", u"OVER", u"overwrite"},
        {u"replacementrule", u"preserve", u"preserve"},
        {u"rule", u"serve", u"preserve"}, // any part of the word, not only its start
        {u"Rep", u"wri", u"overwrite"},
        {u"ment", u"write", u"overwrite"},
        {u"e", u"e", u"preserve"}, // found in both values: the first wins
        {u"", u"", u"preserve"},   // "" is part of everything
        {u"r", u"r", u"preserve"},
        {u"RULE", u"OverWrite", u"overwrite"},
        {u"rule", u"keep", nullptr},
        {u"rule", u"preserves", nullptr}, // longer than the value
        {u"rule", u"pr eserve", nullptr},
        {u"rule", u"\u00C9", nullptr},
    };
    for (const auto& c : cases) {
        const std::string shown = fl::i18n::to_string(c.name) + " " + fl::i18n::to_string(c.value);
        if (c.completed) {
            const auto pair = core::validateAndCompleteReplacementRuleNameAndValue(c.name, c.value);
            EXPECT_EQ(pair.first, u"replacementrule") << shown;
            EXPECT_EQ(pair.second, c.completed) << shown;
        } else {
            const auto raised = raisedBy(
                [&] { core::validateAndCompleteReplacementRuleNameAndValue(c.name, c.value); });
            ASSERT_TRUE(raised) << shown;
            EXPECT_EQ(raised->id, incorrectValue) << shown;
            EXPECT_TRUE(raised->arguments.empty()) << "the refused value is not shown";
        }
        // The same verdict from the functions that only check, which lower-case in place.
        fl::ustring value = c.value;
        EXPECT_EQ(core::validateReplacementRule(value), c.completed != nullptr) << shown;
        fl::ustring lowered = c.value;
        core::makeLowerCase(lowered);
        EXPECT_EQ(value, lowered) << shown;
    }
}

TEST(ReplacementRule, UnknownNameIsReportedBeforeTheValue) {
    struct Case {
        const char16_t* name;
        const char16_t* value;
        const char16_t* argument;
    };
    const Case cases[] = {
        {u"replace_rule", u"overwrite", u"replace_rule"},
        {u"Replace_Rule", u"keep", u"replace_rule"}, // bad value too: the name is reported
        {u"ReplacementRules", u"preserve", u"replacementrules"},
        {u"R\u00C9PLACE", u"preserve", u"r\u00C9place"}, // ASCII letters only lower-case
    };
    for (const auto& c : cases) {
        const std::string shown = fl::i18n::to_string(c.name);
        const auto completing = raisedBy(
            [&] { core::validateAndCompleteReplacementRuleNameAndValue(c.name, c.value); });
        fl::ustring name = c.name, value = c.value;
        const auto validating = raisedBy([&] { core::validateReplacementRuleName(name, value); });
        for (const auto& raised : {completing, validating}) {
            ASSERT_TRUE(raised) << shown;
            EXPECT_EQ(raised->id, nameNotSupported) << shown;
            ASSERT_EQ(raised->arguments.size(), 1u) << shown;
            EXPECT_EQ(std::get<std::u16string>(raised->arguments[0]), c.argument) << shown;
        }
        EXPECT_EQ(name, c.argument) << "the caller's name stays lower-cased";
    }
}

TEST(ReplacementRule, ValidateNameAndValueInPlace) {
    fl::ustring name = u"ReplacementRule", value = u"PRES";
    EXPECT_NO_THROW(core::validateReplacementRuleName(name, value));
    EXPECT_EQ(name, u"replacementrule");
    EXPECT_EQ(value, u"pres");

    name = u"Rule";
    value = u"KEEP";
    const auto raised = raisedBy([&] { core::validateReplacementRuleName(name, value); });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->id, incorrectValue);
    EXPECT_EQ(name, u"rule");
    EXPECT_EQ(value, u"keep") << "lower-casing survives the failure";
}

TEST(ReplacementRule, MessageTextComesFromTheCatalog) {
    try {
        core::validateAndCompleteReplacementRuleNameAndValue(u"Mode", u"x");
        FAIL() << "an unknown name must throw";
    } catch (const Exception<common::NameNotSupported>& error) {
        EXPECT_EQ(error.GetUnicodeMessageTxt(), u"The option name 'mode' is not supported.");
    }
}

// Substring rule: any part of the rule name.
TEST(RuleMatching, ValidateRuleName) {
    struct Case {
        const char16_t* name;
        const char16_t* ruleName;
        bool accepted;
        const char16_t* lowered;
    };
    const Case cases[] = {
        {u"", u"anything", true, u""},
        {u"", u"", true, u""},
        {u"Rule", u"replacementrule", true, u"rule"},
        {u"MENT", u"replacementrule", true, u"ment"},
        {u"rules", u"replacementrule", false, u"rules"},
        {u"x", u"", false, u"x"},
        {u"Mode", u"Mode", false, u"mode"}, // the rule name is taken as given
    };
    for (const auto& c : cases) {
        fl::ustring name = c.name;
        EXPECT_EQ(core::validateRuleName(name, c.ruleName), c.accepted)
            << fl::i18n::to_string(c.name) << " in " << fl::i18n::to_string(c.ruleName);
        EXPECT_EQ(name, c.lowered);
    }
}

// Prefix rule, and only one candidate may have the prefix.
TEST(RuleMatching, ValidateRuleValues) {
    using List = std::vector<fl::ustring>;
    struct Case {
        const char16_t* value;
        List allowed;
        const char16_t* completed;
    };
    const Case cases[] = {
        {u"o", {u"open", u"overwrite"}, u""}, // ambiguous
        {u"ov", {u"open", u"overwrite"}, u"overwrite"},
        {u"OP", {u"open", u"overwrite"}, u"open"},
        {u"wr", {u"overwrite"}, u""}, // inside, but not a prefix
        {u"", {u"only"}, u"only"},
        {u"", {u"one", u"two"}, u""},
        {u"x", {}, u""},
        {u"", {}, u""},
        {u"open", {u"open", u"opened"}, u""}, // an exact match is still ambiguous
        {u"opens", {u"open"}, u""},           // longer than the candidate
        {u"a", {u"b", u"Apple", u"c"}, u""},  // candidates are not lower-cased
        {u"app", {u"b", u"apple", u"Apple"}, u"apple"},
        {u"\u00E9", {u"\u00E9t\u00E9", u"ete"}, u"\u00E9t\u00E9"},
    };
    for (const auto& c : cases) {
        fl::ustring value = c.value;
        EXPECT_EQ(core::validateRuleValues(value, c.allowed), c.completed)
            << fl::i18n::to_string(c.value);
        fl::ustring lowered = c.value;
        core::makeLowerCase(lowered);
        EXPECT_EQ(value, lowered);
    }
}

} // namespace
