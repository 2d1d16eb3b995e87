// vexafs link: makes a symbolic link as a host's link built-in does.

#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <memory>
#include <string>

namespace vexafs {
namespace {

struct LinkOptions {
    std::string target;
    std::string link;
    bool json = false;
};

} // namespace

void addLinkCommand(CLI::App& app) {
    auto options = std::make_shared<LinkOptions>();
    CLI::App* command = app.add_subcommand(
        "link", "Make a symbolic link named link that points to target, which must exist (a "
                "relative target is looked up from the link's folder)");
    command->add_option("target", options->target, "What the link points to, stored as written")
        ->required();
    command->add_option("link", options->link, "Where the link is made")->required();
    // There is no result to print; a script gets the failure as every command gives it.
    command->add_flag("--json", options->json,
                      "Accepted as by every command; link prints no result");
    command->footer("Prints nothing when the link is made. A failure prints 'Error: ' and the "
                    "message, then 'Identifier: ' and the identifier, on stderr and exits with 1, "
                    "with or without --json, as every command reports a failure.");
    command->callback([options] {
        vexa::io::filesystem::core::createSymbolicLink(fl::i18n::to_ustring(options->target),
                                                       fl::i18n::to_ustring(options->link));
    });
}

} // namespace vexafs
