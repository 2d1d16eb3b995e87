// vexafs parts: the pieces getPathComponents splits each path or URL into.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct PartsOptions {
    PathArguments arguments;
    core::FileSystemType rules = core::FileSystemType::Unix;
    int urlKind = 0; // 0: the paths are file paths
};

Record parts(const fl::ustring& path, const PartsOptions& options) {
    const bool isURL = options.urlKind != 0;
    const auto type = isURL ? static_cast<core::FileSystemType>(options.urlKind) : options.rules;
    const core::PathComponents pieces = core::getPathComponents(path, isURL, type);
    Record record{path, {}};
    record.add("parent", pieces.parent)
        .add("name", pieces.name)
        .add("extension", pieces.extension)
        .add("host", pieces.host)
        .add("port", pieces.port)
        .add("query", pieces.query)
        .add("fragment", pieces.fragment);
    return record;
}

} // namespace

void addPartsCommand(CLI::App& app) {
    auto options = std::make_shared<PartsOptions>();
    CLI::App* command = app.add_subcommand(
        "parts", "Split each path or URL into parent, name, extension, host, port, query and "
                 "fragment");
    addPathArguments(*command, options->arguments, "Paths or URLs to split");
    CLI::Option* rulesOption = addRulesOption(
        *command, options->rules, "Path rules for file paths: unix (default) or windows");
    command
        ->add_option("--url-kind", options->urlKind,
                     "Treat each argument as a URL of kind 2 or 3 (the path types for URLs)")
        ->check(CLI::IsMember({2, 3}))
        ->excludes(rulesOption);
    command->callback([options] {
        reportEachPath(options->arguments,
                       [&](const fl::ustring& path) { return parts(path, *options); });
    });
}

} // namespace vexafs
