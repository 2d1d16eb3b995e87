#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/ascii.hpp>
#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>

#include <cerrno>

#include <unistd.h>

namespace Quarrow::current_working_folder {
namespace {

namespace vfs = foundation::storage::vfs;

// The process's working folder. The system keeps it, so there is nothing to lock.
class ProcessWorkingFolder : public ICurrentWorkingFolder {
public:
    fl::ustring getPath() const override {
        try {
            return fl::filesystem::get_current_path();
        } catch (const fl::filesystem::FsysExceptionBase& error) {
            throw FailedToAbsolutizeException(u".", error.what());
        }
    }

    void setPath(const fl::ustring& folder) override {
        if (::chdir(fl::filesystem::detail::to_native(folder).c_str()) != 0)
            fl::filesystem::detail::throwErrno(errno, folder);
    }

    vfs::AbsoluteIRI absolutize(const fl::ustring& text) const override {
        // An empty text is the current folder itself: it is the folder part of a bare name
        // ("*.m" lies in ""), so a pattern in the current folder still names its folder.
        if (text.empty())
            return vfs::AbsoluteIRI(getPath());
        try {
            // IRI text and absolute paths stand as they are; anything else is a relative
            // native path, joined to the current folder as written.
            return vfs::AbsoluteIRI(fl::ascii::schemeOf(text) ? text
                                                              : fl::filesystem::absolute(text));
        } catch (const vfs::InvalidIRIException& error) {
            throw FailedToAbsolutizeException(text, error.what());
        } catch (const fl::filesystem::FsysExceptionBase& error) {
            throw FailedToAbsolutizeException(text, error.what());
        }
    }
};

} // namespace

FailedToAbsolutizeException::FailedToAbsolutizeException(fl::ustring text, std::string reason)
    : text_(std::move(text)),
      what_("cannot make '" + fl::i18n::to_string(text_) + "' absolute: " + reason) {}

ICurrentWorkingFolder::~ICurrentWorkingFolder() = default;

vfs::Folder ICurrentWorkingFolder::get() const {
    return vfs::Folder(absolutize(u""), VexaStorageSystem::GetStorageSystemReference());
}

ICurrentWorkingFolder& GetCurrentWorkingFolder() {
    static ProcessWorkingFolder folder;
    return folder;
}

} // namespace Quarrow::current_working_folder
