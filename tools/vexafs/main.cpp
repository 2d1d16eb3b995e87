// vexafs: the command-line host of the filesystem core.

#include "commands.hpp"

#include <fl/i18n.hpp>
#include <foundation/core/except/IException.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <iostream>

namespace {

// A failure reaches the user as its message text and, where it has one, its identifier.
int reportFailure() {
    using namespace foundation::core::except;
    try {
        throw;
    } catch (const IUserException& error) {
        std::cerr << "Error: " << fl::i18n::to_string(error.GetUnicodeMessageTxt()) << "\n"
                  << "Identifier: " << error.GetID() << "\n";
    } catch (const foundation::storage::vfs::InvalidIRIException& error) {
        std::cerr << "Error: " << error.what() << "\n";
    } catch (const IException& error) {
        std::cerr << "Internal error: " << error.what() << "\n";
    } catch (const std::exception& error) {
        std::cerr << "Error: " << error.what() << "\n";
    }
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"vexafs: the filesystem core of the Vexa host, from the command line"};
    app.name("vexafs");
    vexafs::addClassifyCommand(app);
    vexafs::addAbsoluteCommand(app);
    vexafs::addRuleCommand(app);
    vexafs::addPartsCommand(app);
    vexafs::addMkdirCommand(app);
    vexafs::addLinkCommand(app);
    if (argc <= 1) {
        std::cout << app.help();
        return 0;
    }
    app.require_subcommand(1);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    } catch (...) {
        return reportFailure();
    }
    return 0;
}
