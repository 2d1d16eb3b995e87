#include "arguments.hpp"

#include <vexa/io/filesystem/core/absolute_paths.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <host/EngineDispatcher.hpp>

#include <iostream>
#include <map>

namespace vexafs {

void addPathArguments(CLI::App& command, PathArguments& arguments, const std::string& pathsHelp) {
    takeEachAsGiven(command.add_option("paths", arguments.paths, pathsHelp)->required());
    command.add_flag("--json", arguments.json, "Print JSON for scripts");
}

CLI::Option* takeEachAsGiven(CLI::Option* option) {
    // Extra values are what turn the list syntax on. A positional without them takes one
    // value unless it expects more: it expects every remaining argument instead, so that "--"
    // still ends the options after the first path.
    option->allow_extra_args(false);
    if (option->get_positional())
        option
            ->expected(CLI::detail::expected_max_vector_size, CLI::detail::expected_max_vector_size)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return option;
}

CLI::Option* addRulesOption(CLI::App& command, vexa::io::filesystem::core::FileSystemType& rules,
                            const std::string& help) {
    using vexa::io::filesystem::core::FileSystemType;
    const std::map<std::string, FileSystemType> names{{"unix", FileSystemType::Unix},
                                                      {"windows", FileSystemType::Windows}};
    return command.add_option("--rules", rules, help)
        ->transform(CLI::CheckedTransformer(names, CLI::ignore_case));
}

foundation::storage::vfs::AbsoluteIRI locationOf(const fl::ustring& text) {
    if (foundation::storage::vfs::hasIRIPrefix(text)) {
        fl::ustring iri = text;
        vexa::io::filesystem::core::setupPathForURLConstruction(
            iri, vexa::io::filesystem::core::ResolveSymbolicLinks::Literal, false);
        return foundation::storage::vfs::AbsoluteIRI(iri);
    }
    return EngineDispatcher::getDispatcher().GetCurrentWorkingFolder().absolutize(text);
}

void reportEachPath(const PathArguments& arguments,
                    const std::function<Record(const fl::ustring&)>& describe) {
    std::vector<Record> records;
    records.reserve(arguments.paths.size());
    for (const std::string& path : arguments.paths)
        records.push_back(describe(fl::i18n::to_ustring(path)));
    printRecords(std::cout, records, arguments.json);
}

} // namespace vexafs
