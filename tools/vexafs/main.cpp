// vexafs: the command-line host of the filesystem core.

#include "arguments.hpp"
#include "commands.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/core/except/IException.hpp>
#include <foundation/storage/provider/RemoteProviders.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <vexa/io/filesystem/core.hpp>

#include <chrono>
#include <iostream>
#include <memory>
#include <string>

namespace {

class ReportOnly : public vexa::io::filesystem::core::FileManipulator {
public:
    void SetInputs(std::vector<std::u16string>) override {}
    bool ValidateInputs() override { return true; }
    void Execute() override {}
};

int reportFailure();

int reportStatus(const foundation::storage::vfs::Exception& error) {
    ReportOnly report;
    report.SetVFSErrorStatus(error, error.getPath());
    int exitCode = 1;
    try {
        boost::rethrow_exception(report.GetStatus().exception);
    } catch (...) {
        exitCode = reportFailure();
    }
    // What the storage said beside its code: a server's status, the network's failure.
    if (const auto& contexts = error.getContexts();
        !contexts.empty() && !contexts.front().reason().empty())
        std::cerr << "Reason: " << contexts.front().reason() << "\n";
    return exitCode;
}

// A failure reaches the user as its message text and, where it has one, its identifier.
int reportFailure() {
    using namespace foundation::core::except;
    try {
        throw;
    } catch (const IUserException& error) {
        std::cerr << "Error: " << fl::i18n::to_string(error.GetUnicodeMessageTxt()) << "\n"
                  << "Identifier: " << error.GetID() << "\n";
    } catch (const foundation::storage::vfs::Exception& error) {
        // Shown as a host shows a storage failure: the message of its code.
        return reportStatus(error);
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
    app.set_version_flag("--version",
                         "vexafs " + std::string(vexa::io::filesystem::core::version()));
    // Every command reaches web servers as it reaches local files, once the options are read.
    std::string caFile;
    app.add_option("--ca-file", caFile,
                   "PEM certificates trusted for https and davs beside the system's store (also "
                   "VEXAFS_CA_FILE)")
        ->envname("VEXAFS_CA_FILE")
        ->check(CLI::ExistingFile);
    foundation::storage::provider::HttpOptions http;
    double timeout = std::chrono::duration<double>(http.requestTimeout).count();
    app.add_option("--timeout", timeout,
                   "Seconds a request that moves no body (a look, a folder listing) may take "
                   "in all, answered or not")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 86400.0));
    app.fallthrough();
    app.parse_complete_callback([&] {
        http.caFile = caFile;
        http.requestTimeout = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::duration<double>(timeout));
        // WebDAV shares and S3 buckets are reached with the same bounds and trust as web
        // servers.
        namespace provider = foundation::storage::provider;
        const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
        storage->addProvider(vexafs::rememberingFailures(provider::makeDavProvider(http)));
        provider::S3Options s3;
        s3.http = http;
        storage->addProvider(vexafs::rememberingFailures(provider::makeS3Provider(std::move(s3))));
        storage->addProvider(
            vexafs::rememberingFailures(provider::makeHttpProvider(std::move(http))));
    });
    vexafs::addClassifyCommand(app);
    vexafs::addAbsoluteCommand(app);
    vexafs::addRuleCommand(app);
    vexafs::addPartsCommand(app);
    vexafs::addMkdirCommand(app);
    vexafs::addExistCommand(app);
    vexafs::addMkparentCommand(app);
    vexafs::addContentTypeCommand(app);
    vexafs::addLinkCommand(app);
    vexafs::addLsCommand(app);
    vexafs::addPackageCommand(app);
    vexafs::addResolveCommand(app);
    vexafs::addCatCommand(app);
    vexafs::addCpCommand(app);
    vexafs::addMvCommand(app);
    vexafs::addRmCommand(app);
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
