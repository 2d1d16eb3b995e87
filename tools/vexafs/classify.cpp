// vexafs classify: what the path predicates say about each path.

#include "commands.hpp"
#include "report.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <iostream>
#include <map>
#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct ClassifyOptions {
    std::vector<std::string> paths;
    core::FileSystemType rules = core::FileSystemType::Unix;
    bool url = false;
    bool json = false;
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
    command->add_option("paths", options->paths, "Paths or URLs to classify")->required();
    const std::map<std::string, core::FileSystemType> rules{
        {"unix", core::FileSystemType::Unix}, {"windows", core::FileSystemType::Windows}};
    command->add_option("--rules", options->rules, "Path rules: unix (default) or windows")
        ->transform(CLI::CheckedTransformer(rules, CLI::ignore_case));
    command->add_flag("--url", options->url, "Treat each argument as a URL");
    command->add_flag("--json", options->json, "Print JSON for scripts");
    command->callback([options] {
        std::vector<Record> records;
        for (const std::string& path : options->paths)
            records.push_back(classify(fl::i18n::to_ustring(path), *options));
        printRecords(std::cout, records, options->json);
    });
}

} // namespace vexafs
