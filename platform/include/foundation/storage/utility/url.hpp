#pragma once

// In-place clean-ups of what a user typed before it becomes an IRI.

#include <fl/ustring.hpp>

namespace foundation::storage::utility {

// Makes URL text more likely to parse, and never throws for any text (short of running out
// of memory): trims surrounding ASCII white space, lower-cases scheme and host, escapes the
// characters an IRI may not hold (space, controls, '"', '<', '>', '\', '^', '`', '{', '|',
// '}') as UTF-8 escapes, and removes "." and ".." segments from the path of text that has a
// scheme, never so that the path comes to start with "//" without an authority (it keeps
// "/." in front then). Everything else, non-ASCII characters and existing escapes included,
// stays as it is.
void normalizeURL(fl::ustring& text);

// Windows drops trailing dots and spaces from file names; Linux keeps them as part of the
// name ("a.txt." and "a.txt" are two files), so here the text stays as it is.
void handleWindowsTrailingDotsAndSpaces(fl::ustring& path);

} // namespace foundation::storage::utility
