// vexafs exist: what is stored at each path or IRI, as the extended existence type.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

// A link that leads nowhere (dangling or looping) has type 3 too: only following it tells.
bool leadsSomewhere(const foundation::storage::vfs::AbsoluteIRI& location) {
    namespace vfs = foundation::storage::vfs;
    return virtualfileio::answeringFailures(
        [&] {
            return vfs::exists(location, Quarrow::VexaStorageSystem::GetStorageSystemReference()) !=
                   vfs::existence::nothing;
        },
        [] {
            try {
                throw;
            } catch (const vfs::Exception&) {
                return false;
            }
        });
}

fl::ustring kindOf(foundation::storage::provider::ExistenceTypeExtended type,
                   const foundation::storage::vfs::AbsoluteIRI& location) {
    using namespace foundation::storage::provider;
    if (core::isFile(type))
        return u"file";
    if (core::isFolder(type))
        return u"folder";
    switch (type) {
    case ExistsAsLinkToFile:
        return leadsSomewhere(location) ? u"link to a file" : u"link";
    case ExistsAsLinkToFolder:
        return u"link to a folder";
    case ExistsAsOtherLink:
        return u"link";
    default:
        return u"nothing";
    }
}

Record describe(const fl::ustring& path) {
    const auto location = locationOf(path);
    const auto type = showingStorageFailure(
        location, [&] { return core::getExtendedExistenceType(location, false); });
    Record record{path, {}};
    record.add("type", std::int64_t{type}).add("kind", kindOf(type, location));
    return record;
}

} // namespace

void addExistCommand(CLI::App& app) {
    auto arguments = std::make_shared<PathArguments>();
    CLI::App* command = app.add_subcommand(
        "exist", "Tell what is stored at each path or IRI: its extended existence type as a "
                 "number (0 file, 1 other non-folder item, 2 folder, 3 link to a file or a link "
                 "that leads nowhere, 4 link to a folder, 6 nothing) and a word (file, folder, "
                 "link to a file, link to a folder, link: one that leads nowhere, nothing)");
    addPathArguments(*command, *arguments, "Paths or IRIs to look at");
    command->callback([arguments] { reportEachPath(*arguments, describe); });
}

} // namespace vexafs
