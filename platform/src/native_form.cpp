#include <fl/filesystem.hpp>

namespace fl::filesystem::detail {

ustring make_native_form(const ustring& path, bool removeTrailingSeparator) {
    ustring native;
    native.reserve(path.size());
    for (const char16_t c : path)
        if (c != u'/' || native.empty() || native.back() != u'/')
            native.push_back(c);
    if (removeTrailingSeparator && native.size() > 1 && native.back() == u'/')
        native.pop_back();
    return native;
}

ustring extract_parent_path(const ustring& path) {
    const std::size_t last = path.rfind(u'/');
    if (last == ustring::npos || path.size() == 1)
        return {};
    return last == 0 ? ustring(u"/") : path.substr(0, last);
}

} // namespace fl::filesystem::detail
