// vexafs mv: an item moved; renamed within its storage, copied then removed across two.

#include "arguments.hpp"
#include "commands.hpp"
#include "transfer.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/Exists.hpp>

#include <memory>
#include <stdexcept>

namespace vexafs {
namespace {

namespace vfs = foundation::storage::vfs;

struct MoveArguments {
    std::string source, destination;
};

void move(const MoveArguments& arguments) {
    Interruptions interruptions;
    const auto [storage, source, target] = transferOf(arguments.source, arguments.destination);
    const vfs::File item(source, storage);
    if (storage->providerFor(source) == storage->providerFor(target)) {
        item.rename(target);
        return;
    }
    if (vfs::exists(source, storage) == vfs::existence::folder)
        throw std::runtime_error("a folder moves between two stores as a copy: use cp "
                                 "--recursive, then remove " +
                                 arguments.source);
    Progress unseen(std::nullopt, false);
    copyFile(item, vfs::File(target, storage), unseen, interruptions);
    item.removeFile();
}

} // namespace

void addMvCommand(CLI::App& app) {
    auto arguments = std::make_shared<MoveArguments>();
    CLI::App* command = app.add_subcommand(
        "mv", "Move an item to a path or IRI (into it, when it is a folder): renamed within one "
              "storage, never over an existing item; a file is copied then removed between two");
    command->add_option("source", arguments->source, "Path or IRI to move")->required();
    command->add_option("destination", arguments->destination, "Path or IRI to move to")
        ->required();
    command->callback([arguments] { move(*arguments); });
}

} // namespace vexafs
