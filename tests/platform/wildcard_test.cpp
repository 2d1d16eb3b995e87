// The wildcards of listing patterns, shared by the folder filter, the listing service and
// the path text operations.

#include <fl/wildcard.hpp>

#include "Text.hpp"

#include <gtest/gtest.h>

namespace {

using vexa::testing::utf8;

TEST(Wildcard, MatchesWholeNamesByCodeUnit) {
    const struct {
        fl::ustring name, pattern;
        bool matches;
    } cases[] = {
        {u"a.txt", u"*", true},       {u"", u"*", true},          {u"", u"?", false},
        {u".", u"*", true},           {u"..", u".?", true},       {u".", u".?", false},
        {u"a.txt", u"*.txt", true},   {u"a.txt.bak", u"*.txt", false},
        {u"abcabd", u"*ab?", true},   {u"aXbXbYc", u"*b*c", true}, // backtracks to the last "*"
        {u"ab", u"a**b**", true},     {u"abc", u"a*c*d", false},  {u"ABC", u"abc", false},
        {u"a*b", u"a*b", true},       {u"a?b", u"a?b", true},     // a wildcard matches itself
        {u"*star", u"*", true},       {u"*a*", u"*a", false},     // ... and stays a wildcard
        {u"x*yz", u"x*z", true},      {u"**", u"*?*", true},
        {u"\U0001F600", u"?", false}, {u"\U0001F600", u"??", true}, // units, not characters
        {u"caf\xDCE9", u"caf?", true},                             // an escaped byte is a unit
    };
    for (const auto& c : cases)
        EXPECT_EQ(fl::matchesWildcard(c.name, c.pattern), c.matches)
            << utf8(c.name) << " ~ " << utf8(c.pattern);
    for (const auto& [text, wild] :
         {std::pair{u"*.m", true}, {u"f?", true}, {u"a.b", false}, {u"", false}, {u"[a]", false}})
        EXPECT_EQ(fl::hasWildcard(text), wild) << utf8(text);
}

} // namespace
