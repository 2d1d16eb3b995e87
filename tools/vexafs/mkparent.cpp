// vexafs mkparent: makes the folder that is to hold each item, with every missing folder
// above it.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

Record makeParent(const fl::ustring& path) {
    const auto location = locationOf(path);
    core::createParentIfNeeded(location, Quarrow::VexaStorageSystem::GetStorageSystemReference());
    Record record{path, {}};
    record.add("parent", location.hasParent() ? location.getParent().toString() : fl::ustring());
    return record;
}

} // namespace

void addMkparentCommand(CLI::App& app) {
    auto arguments = std::make_shared<PathArguments>();
    CLI::App* command = app.add_subcommand(
        "mkparent", "Make the folder that is to hold each item, and every missing folder above "
                    "it; a parent that is there is left alone. Prints each parent's IRI");
    addPathArguments(*command, *arguments, "Paths or IRIs of the items to come");
    command->callback([arguments] { reportEachPath(*arguments, makeParent); });
}

} // namespace vexafs
