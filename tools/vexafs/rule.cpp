// vexafs rule: the replacement-rule option completed as the file built-ins complete it.

#include "commands.hpp"
#include "report.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <iostream>
#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct RuleOptions {
    std::string name;
    std::string value;
    bool json = false;
};

} // namespace

void addRuleCommand(CLI::App& app) {
    auto options = std::make_shared<RuleOptions>();
    CLI::App* command = app.add_subcommand(
        "rule", "Check and complete a replacement-rule option: any part of 'ReplacementRule' "
                "and of 'preserve' or 'overwrite', in any case");
    command->add_option("name", options->name, "Option name, such as ReplacementRule or rule")
        ->required();
    command->add_option("value", options->value, "Option value, such as over or preserve")
        ->required();
    command->add_flag("--json", options->json, "Print JSON for scripts");
    command->callback([options] {
        const fl::ustring name = fl::i18n::to_ustring(options->name);
        const fl::ustring value = fl::i18n::to_ustring(options->value);
        const auto [completedName, completedValue] =
            core::validateAndCompleteReplacementRuleNameAndValue(name, value);
        Record record{name + u" " + value, {}};
        record.add("name", completedName).add("value", completedValue);
        printRecords(std::cout, {record}, options->json);
    });
}

} // namespace vexafs
