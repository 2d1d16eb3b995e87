// vexafs rm: files removed, and with --folder empty folders.

#include "arguments.hpp"
#include "commands.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <foundation/storage/vfs/File.hpp>
#include <foundation/storage/vfs/Folder.hpp>

#include <memory>

namespace vexafs {
namespace {

namespace vfs = foundation::storage::vfs;

struct RemoveArguments : PathArguments {
    bool folders = false;
};

} // namespace

void addRmCommand(CLI::App& app) {
    auto arguments = std::make_shared<RemoveArguments>();
    CLI::App* command = app.add_subcommand(
        "rm", "Remove files, or with --folder empty folders; a folder that holds anything is "
              "refused and left as it is");
    addPathArguments(*command, *arguments, "Paths or IRIs to remove");
    command->add_flag("--folder", arguments->folders, "Remove empty folders instead of files");
    command->callback([arguments] {
        reportEachPath(*arguments, [&](const fl::ustring& path) {
            const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
            if (arguments->folders)
                vfs::Folder(locationOf(path), storage).removeFolder();
            else
                vfs::File(locationOf(path), storage).removeFile();
            Record record{path, {}};
            record.add("removed", fl::ustring(arguments->folders ? u"folder" : u"file"));
            return record;
        });
    });
}

} // namespace vexafs
