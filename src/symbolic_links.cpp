#include <vexa/io/filesystem/core/symbolic_links.hpp>

#include <fl/filesystem.hpp>
#include <foundation/core/except/Exception.hpp>
#include <vexa/io/filesystem/core/errors.hpp>

namespace vexa::io::filesystem::core {
namespace {

namespace linkErrors = VEXA::io::filesystem::symlink;

template <class Tag> [[noreturn]] void throwLinkError(const fl::ustring& path) {
    throw foundation::core::except::Exception<Tag>(Tag(path));
}

} // namespace

void createSymbolicLink(const fl::ustring& target, const fl::ustring& linkPath) {
    namespace fs = fl::filesystem;
    try {
        fs::create_symlink(target, linkPath, fs::file_status::file_type_auto);
    } catch (const fs::FileExistsError&) {
        throwLinkError<linkErrors::FileExists>(linkPath);
    } catch (const fs::FileNameTooLarge&) {
        throwLinkError<linkErrors::FilenameTooLarge>(linkPath);
    } catch (const fs::AccessDenied&) {
        throwLinkError<linkErrors::AccessDenied>(linkPath);
    } catch (const fs::SystemError&) {
        throwLinkError<linkErrors::UnknownError>(linkPath);
    } catch (const fs::PathNotFound&) {
        // A link built-in has one "not found" for its users, the target's, so a missing
        // folder on the way to the link is reported with it too.
        throwLinkError<linkErrors::TargetNotFound>(target);
    } catch (...) {
        // Nothing from the platform reaches a caller as it is, not even a failed allocation.
        throwLinkError<linkErrors::UnknownError>(linkPath);
    }
}

} // namespace vexa::io::filesystem::core
