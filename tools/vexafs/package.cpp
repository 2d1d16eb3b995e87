// vexafs package: the package that claims each folder, with the package manager on and the
// packages given on the command line registered.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct PackageArguments {
    PathArguments folders;
    std::vector<std::string> packages; // NAME=ROOT
};

Record describe(const fl::ustring& folder) {
    const auto package = core::GetClaimingPackage(foundation::storage::vfs::Folder(
        locationOf(folder), Quarrow::VexaStorageSystem::GetStorageSystemReference()));
    Record record{folder, {}};
    record.add("claimed", package.has_value())
        .add("package", package ? package->name : fl::ustring())
        .add("root", package ? package->rootFolder : fl::ustring());
    return record;
}

void report(const PackageArguments& arguments) {
    Quarrow::VexaComponents::PkgMgrFeature::SetOn(true);
    const auto registry = core::GetCurrentPackageRegistry();
    for (const std::string& package : arguments.packages) {
        const std::size_t equals = package.find('=');
        registry->AddPackage({fl::i18n::to_ustring(package.substr(0, equals)),
                              fl::i18n::to_ustring(package.substr(equals + 1))});
    }
    reportEachPath(arguments.folders, describe);
}

} // namespace

void addPackageCommand(CLI::App& app) {
    auto arguments = std::make_shared<PackageArguments>();
    CLI::App* command = app.add_subcommand(
        "package", "Tell which package claims each folder: the one whose root is the folder or "
                   "its nearest ancestor (compared as text, links not resolved)");
    addPathArguments(*command, arguments->folders, "Folders or folder IRIs");
    takeEachAsGiven(command->add_option("--package", arguments->packages,
                                        "A package as NAME=ROOT (a relative root is taken from "
                                        "the current folder); repeat for more"))
        ->check(
            [](const std::string& value) {
                return value.find('=') == std::string::npos ? "expected NAME=ROOT" : "";
            },
            "NAME=ROOT");
    command->callback([arguments] { report(*arguments); });
}

} // namespace vexafs
