// vexafs classify: what the path predicates say about each path.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct ClassifyOptions {
    PathArguments arguments;
    core::FileSystemType rules = core::FileSystemType::Unix;
    bool url = false;
};

Record classify(const fl::ustring& path, const ClassifyOptions& options) {
    Record record{path, {}};
    record.add("absolute", core::getIsAbsolute(path, options.url, options.rules))
        .add("unc", core::isUNCPath(path))
        .add("long path", core::isLongPath(path))
        .add("http prefix", core::hasHttpPrefix(path))
        .add("extension", core::getExtension(path))
        .add("path type", core::getPathType(path, options.url, options.rules));
    return record;
}

} // namespace

void addClassifyCommand(CLI::App& app) {
    auto options = std::make_shared<ClassifyOptions>();
    CLI::App* command = app.add_subcommand(
        "classify", "Tell, for each path, whether it is absolute, UNC, a long path or an HTTP "
                    "address, its extension and its path type");
    addPathArguments(*command, options->arguments, "Paths or URLs to classify");
    addRulesOption(*command, options->rules, "Path rules: unix (default) or windows");
    command->add_flag("--url", options->url, "Treat each argument as a URL");
    command->callback([options] {
        reportEachPath(options->arguments,
                       [&](const fl::ustring& path) { return classify(path, *options); });
    });
}

} // namespace vexafs
