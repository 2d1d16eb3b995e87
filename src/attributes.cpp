#include <vexa/io/filesystem/core/attributes.hpp>

#include "answered_failures.hpp"

#include <fl/i18n.hpp>
#include <foundation/storage/vfs/IODevice.hpp>

#include <boost/date_time/c_local_time_adjustor.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <optional>
#include <string>

namespace vexa::io::filesystem::core {
namespace {

namespace vfs = foundation::storage::vfs;
namespace pt = boost::posix_time;

pt::ptime toLocal(const pt::ptime& utc) {
    return boost::date_time::c_local_adjustor<pt::ptime>::utc_to_local(utc);
}

// Making a file proves the folder writable; removing it again is only tidying up. Random
// names keep concurrent probes of one folder apart.
bool canMakeFileIn(const vfs::Folder& folder) {
    const std::optional<vfs::File> probe = answerOr(std::optional<vfs::File>(), [&] {
        boost::uuids::random_generator generate; // draws from getrandom
        const vfs::File file(folder,
                             fl::i18n::to_ustring(boost::lexical_cast<std::string>(generate())));
        file.createFile();
        return std::optional<vfs::File>(file);
    });
    if (!probe)
        return false;
    answerOr(false, [&] {
        probe->removeFile();
        return true;
    });
    return true;
}

PathAttributes folderAttributes(const vfs::Folder& folder) {
    PathAttributes attributes;
    attributes.readable = answerOr(false, [&] {
        folder.listAll(u"");
        return true;
    });
    attributes.writable = canMakeFileIn(folder);
    attributes.lastModified = toLocal(folder.getAttributes().getLastModified());
    return attributes;
}

// Each fact is queried on its own, so that one failing query spoils only its own fact.
PathAttributes fileAttributes(const vfs::File& file) {
    PathAttributes attributes;
    attributes.readable = answerOr(false, [&] {
        const vfs::IODevice opened{vfs::File(file)};
        return true;
    });
    attributes.writable = file.getAttributes().isWritable();
    const auto lastModified = answerOr(std::optional<pt::ptime>(), [&] {
        return std::optional(toLocal(file.getAttributes().getLastModified()));
    });
    // The current time is local already; converting it once more is deliberate.
    attributes.lastModified =
        lastModified ? *lastModified
                     : toLocal(boost::date_time::second_clock<pt::ptime>::local_time());
    attributes.size = answerOr(std::uint64_t{0}, [&] { return file.getAttributes().getSize(); });
    return attributes;
}

struct AttributesOf : boost::static_visitor<PathAttributes> {
    PathAttributes operator()(const vfs::File& file) const { return fileAttributes(file); }
    PathAttributes operator()(const vfs::Folder& folder) const { return folderAttributes(folder); }
};

} // namespace

PathAttributes getAttributes(const boost::variant<vfs::File, vfs::Folder>& item,
                             const fl::ustring&) {
    return boost::apply_visitor(AttributesOf(), item);
}

} // namespace vexa::io::filesystem::core
