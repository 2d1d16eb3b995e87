// vexafs parts: the pieces getPathComponents splits each path or URL into.

#include "commands.hpp"
#include "report.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <iostream>
#include <map>
#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct PartsOptions {
    std::vector<std::string> paths;
    core::FileSystemType rules = core::FileSystemType::Unix;
    int urlKind = 0; // 0: the paths are file paths
    bool json = false;
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
    command->add_option("paths", options->paths, "Paths or URLs to split")->required();
    const std::map<std::string, core::FileSystemType> rules{
        {"unix", core::FileSystemType::Unix}, {"windows", core::FileSystemType::Windows}};
    auto* rulesOption = command
                            ->add_option("--rules", options->rules,
                                         "Path rules for file paths: unix (default) or windows")
                            ->transform(CLI::CheckedTransformer(rules, CLI::ignore_case));
    command
        ->add_option("--url-kind", options->urlKind,
                     "Treat each argument as a URL of kind 2 or 3 (the path types for URLs)")
        ->check(CLI::IsMember({2, 3}))
        ->excludes(rulesOption);
    command->add_flag("--json", options->json, "Print JSON for scripts");
    command->callback([options] {
        std::vector<Record> records;
        for (const std::string& path : options->paths)
            records.push_back(parts(fl::i18n::to_ustring(path), *options));
        printRecords(std::cout, records, options->json);
    });
}

} // namespace vexafs
