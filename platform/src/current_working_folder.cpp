#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>

#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace Quarrow::current_working_folder {
namespace {

namespace vfs = foundation::storage::vfs;

bool isAsciiLetter(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

// The process's working folder. The system keeps it, so there is nothing to lock.
class ProcessWorkingFolder : public ICurrentWorkingFolder {
public:
    fl::ustring getPath() const override {
        // getcwd with a null buffer allocates what the path needs: no length limit.
        std::unique_ptr<char, decltype(&std::free)> path(::getcwd(nullptr, 0), &std::free);
        if (!path)
            throw FailedToAbsolutizeException(u".", "the current folder cannot be determined");
        return fl::i18n::to_ustring(path.get());
    }

    void setPath(const fl::ustring& folder) override {
        if (::chdir(fl::filesystem::detail::to_native(folder).c_str()) != 0)
            fl::filesystem::detail::throwErrno(errno, folder);
    }

    vfs::AbsoluteIRI absolutize(const fl::ustring& text) const override {
        if (text.empty())
            throw FailedToAbsolutizeException(text, "an empty text names no location");
        fl::ustring absolute = text;
        if (text.front() != u'/' && !startsWithScheme(text)) {
            absolute = getPath();
            if (absolute.back() != u'/')
                absolute.push_back(u'/');
            absolute += text;
        }
        try {
            return vfs::AbsoluteIRI(absolute);
        } catch (const vfs::InvalidIRIException& error) {
            throw FailedToAbsolutizeException(text, error.what());
        }
    }
};

} // namespace

FailedToAbsolutizeException::FailedToAbsolutizeException(fl::ustring text, std::string reason)
    : text_(std::move(text)),
      what_("cannot make '" + fl::i18n::to_string(text_) + "' absolute: " + reason) {}

ICurrentWorkingFolder::~ICurrentWorkingFolder() = default;

ICurrentWorkingFolder& GetCurrentWorkingFolder() {
    static ProcessWorkingFolder folder;
    return folder;
}

bool startsWithScheme(fl::ustring_view text) noexcept {
    if (text.empty() || !isAsciiLetter(text.front()))
        return false;
    std::size_t i = 1;
    while (i < text.size() && (isAsciiLetter(text[i]) || (text[i] >= u'0' && text[i] <= u'9') ||
                               text[i] == u'+' || text[i] == u'-' || text[i] == u'.'))
        ++i;
    return i >= 2 && text.substr(i, 3) == u"://";
}

} // namespace Quarrow::current_working_folder
