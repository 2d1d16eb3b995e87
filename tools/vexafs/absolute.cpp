// vexafs absolute: each path made absolute, with the chosen treatment of a final link.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <map>
#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct AbsoluteOptions {
    PathArguments arguments;
    core::ResolveSymbolicLinks links = core::ResolveSymbolicLinks::FollowLinks;
};

Record makeAbsolute(const fl::ustring& path, core::ResolveSymbolicLinks links) {
    fl::ustring absolute = path;
    core::relativeToAbsolute(absolute, links, false);
    Record record{path, {}};
    record.add("absolute", absolute);
    return record;
}

} // namespace

void addAbsoluteCommand(CLI::App& app) {
    auto options = std::make_shared<AbsoluteOptions>();
    CLI::App* command = app.add_subcommand(
        "absolute", "Make each path absolute from the current folder; a path that cannot be "
                    "resolved keeps the best form reached");
    addPathArguments(*command, options->arguments, "Paths to make absolute");
    const std::map<std::string, core::ResolveSymbolicLinks> links{
        {"keep", core::ResolveSymbolicLinks::KeepLink},
        {"follow", core::ResolveSymbolicLinks::FollowLinks},
        {"literal", core::ResolveSymbolicLinks::Literal}};
    command
        ->add_option("--links", options->links,
                     "A path that is itself a link: keep it in its resolved folder, follow it "
                     "(default), or take it literally")
        ->transform(CLI::CheckedTransformer(links, CLI::ignore_case));
    command->callback([options] {
        reportEachPath(options->arguments,
                       [&](const fl::ustring& path) { return makeAbsolute(path, options->links); });
    });
}

} // namespace vexafs
