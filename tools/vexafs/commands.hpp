#pragma once

#include <CLI/CLI.hpp>

namespace vexafs {

// Each family of the library adds its commands here.
void addClassifyCommand(CLI::App& app);
void addAbsoluteCommand(CLI::App& app);
void addRuleCommand(CLI::App& app);
void addPartsCommand(CLI::App& app);
void addMkdirCommand(CLI::App& app);
void addExistCommand(CLI::App& app);
void addMkparentCommand(CLI::App& app);
void addContentTypeCommand(CLI::App& app);
void addLinkCommand(CLI::App& app);
void addLsCommand(CLI::App& app);
void addPackageCommand(CLI::App& app);
void addResolveCommand(CLI::App& app);
void addCatCommand(CLI::App& app);
void addCpCommand(CLI::App& app);
void addMvCommand(CLI::App& app);
void addRmCommand(CLI::App& app);

} // namespace vexafs
