// vexafs content-type: the content type the storage records for each item.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <foundation/storage/vfs/Exists.hpp>

#include <memory>
#include <optional>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

namespace vfs = foundation::storage::vfs;

Record describe(const fl::ustring& path) {
    // A relative path is the user's shorthand: the core takes IRIs and absolute paths. Text
    // that names no location is the core's to answer, with no type.
    std::optional<vfs::AbsoluteIRI> location;
    try {
        location = locationOf(path);
    } catch (const vfs::InvalidIRIException&) {
    } catch (const Quarrow::current_working_folder::FailedToAbsolutizeException&) {
    }
    const fl::ustring type = core::getContentTypeCaller(location ? location->toString() : path);
    // The core answers "" for an item without a type, for nothing there and for a storage
    // that could not be reached alike. Asked again, the storage tells the last apart: it
    // fails with its own words, while the other two are an answer.
    if (type.empty() && location)
        vfs::exists(*location, Quarrow::VexaStorageSystem::GetStorageSystemReference());
    Record record{path, {}};
    record.add("content type", type);
    return record;
}

} // namespace

void addContentTypeCommand(CLI::App& app) {
    auto arguments = std::make_shared<PathArguments>();
    CLI::App* command = app.add_subcommand(
        "content-type", "Print the content type recorded for each item (for a local file, its "
                        "user.http.contentType extended attribute); empty when none is known or "
                        "nothing is there. An item the storage cannot reach is a failure");
    addPathArguments(*command, *arguments, "Paths or IRIs");
    command->callback([arguments] { reportEachPath(*arguments, describe); });
}

} // namespace vexafs
