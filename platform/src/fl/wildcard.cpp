#include <fl/wildcard.hpp>

namespace fl {

bool hasWildcard(ustring_view text) noexcept {
    return text.find_first_of(u"*?") != ustring_view::npos;
}

bool matchesWildcard(ustring_view name, ustring_view pattern) noexcept {
    // Backtracks to the last "*" only: an earlier "*" could not match more than the last
    // one already may, which keeps the walk linear in each of the two texts.
    std::size_t n = 0, p = 0;
    std::size_t starAt = ustring_view::npos, resumeAt = 0;
    while (n < name.size()) {
        // A "*" is a wildcard even where the name holds a "*" too.
        if (p < pattern.size() && pattern[p] == u'*') {
            starAt = p++;
            resumeAt = n;
        } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
            ++n;
            ++p;
        } else if (starAt != ustring_view::npos) {
            p = starAt + 1;
            n = ++resumeAt;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == u'*')
        ++p;
    return p == pattern.size();
}

} // namespace fl
