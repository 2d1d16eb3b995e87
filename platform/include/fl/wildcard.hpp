#pragma once

// The wildcards of listing patterns: "*" stands for any run of code units, "?" for any one.
// The storage layer's folder filter, the host's listing service and the path text
// operations read patterns with these rules and no others.

#include <fl/ustring.hpp>

namespace fl {

// Whether `text` holds "*" or "?", so that it is a pattern rather than one name.
bool hasWildcard(ustring_view text) noexcept;

// Whether all of `name` matches `pattern`. Never takes more than name.size() *
// pattern.size() steps.
bool matchesWildcard(ustring_view name, ustring_view pattern) noexcept;

} // namespace fl
