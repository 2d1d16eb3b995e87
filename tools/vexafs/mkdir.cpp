// vexafs mkdir: makes a folder and the missing folders above it, as a host built-in does,
// and reports through the core's result handler.

#include "commands.hpp"
#include "report.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <foundation/log/basic_diagnostic_logger.hpp>
#include <host/EngineDispatcher.hpp>
#include <host/HostArray.hpp>

#include <array>
#include <cerrno>
#include <iostream>
#include <memory>
#include <optional>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

namespace vfs = foundation::storage::vfs;

// Creates one folder with every missing folder above it. Failures are recorded in the
// status, never thrown.
class MakeFolder : public core::FileManipulator {
public:
    void SetInputs(std::vector<std::u16string> inputs) override {
        folder_ = inputs.empty() ? std::u16string() : std::move(inputs.front());
    }

    bool ValidateInputs() override {
        if (!CheckStringForPathMax(folder_, core::maxPathLength))
            return false;
        if (folder_.empty()) {
            // "" would make nothing; a user gets the storage layer's "not found" for it.
            SetVFSErrorStatus(vfs::Exception(vfs::ResourceNotFound, folder_), folder_);
            return false;
        }
        return true;
    }

    void Execute() override {
        const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
        std::optional<vfs::AbsoluteIRI> location;
        try {
            location =
                EngineDispatcher::getDispatcher().GetCurrentWorkingFolder().absolutize(folder_);
        } catch (const Quarrow::current_working_folder::FailedToAbsolutizeException&) {
            // Text no path can hold (a U+0000): the system's word for it.
            errno = EINVAL;
            SetErrorStatus("FileManip", "mkdir");
            return;
        }
        try {
            // A folder that is there is what was asked for: nothing made, nothing to tell.
            if (vfs::exists(*location, storage) == vfs::existence::folder)
                return;
            vfs::Folder(*location, storage).createFolderRecursive();
        } catch (const vfs::Exception& error) {
            recordFailure(error, storage->describe(*location));
            return;
        }
        MarkDirOutOfDate(folder_);
    }

private:
    // A failure the storage layer has a message for is reported through its pending
    // context, naming the level that failed (as the user typed it when that is the folder
    // asked for). Anything else (a name too long, say) keeps the system's own text, which
    // says more.
    void recordFailure(const vfs::Exception& error, const fl::ustring& target) {
        if (error.getErrorCode() == vfs::InternalError && error.getSystemError() != 0) {
            // Reported from errno, so its context is not left for someone else to report.
            virtualfileio::ExceptionContextHandler::ClearPendingContext();
            errno = error.getSystemError();
            SetErrorStatus("FileManip", "mkdir");
            return;
        }
        const fl::ustring& failed = error.getPath();
        if (!SetErrorExceptionContext(failed == target ? folder_ : failed, u""))
            SetVFSErrorStatus(error, failed);
    }

    std::u16string folder_;
};

struct MkdirOptions {
    std::string folder;
    int nargout = 0;
    bool json = false;
    bool log = false;
};

void run(const MkdirOptions& options) {
    if (options.log) {
        foundation::log::enableStderrSink(true);
        core::log::getLogger().setEnabledLevels(core::log::caughtErrorLevel |
                                                core::log::traceLevel);
    }
    MakeFolder operation;
    operation.SetInputs({fl::i18n::to_ustring(options.folder)});
    if (operation.ValidateInputs())
        operation.Execute();

    std::array<HostArray*, 3> outputs{};
    core::ResultHandler::HandleStatus(operation.GetStatus(), options.nargout, outputs.data());
    // The outputs are ours now; each holder gives its reference back.
    std::array<matrix::ArrayRef, 3> held;
    for (std::size_t i = 0; i < outputs.size(); ++i)
        held[i] = matrix::adopt(outputs[i]);
    if (options.nargout == 0)
        return;
    Record record{fl::i18n::to_ustring(options.folder), {}};
    record.add("status", held[0]->logicalValue());
    if (held[1])
        record.add("message", held[1]->text());
    if (held[2])
        record.add("identifier", held[2]->text());
    printRecords(std::cout, {record}, options.json);
}

} // namespace

void addMkdirCommand(CLI::App& app) {
    auto options = std::make_shared<MkdirOptions>();
    CLI::App* command = app.add_subcommand(
        "mkdir", "Make a folder and any missing folders above it. With --nargout 1 to 3, print "
                 "the status, message and identifier; with 0, a failure is an error");
    command->add_option("folder", options->folder, "The folder to make")->required();
    command->add_option("--nargout", options->nargout, "Outputs asked for, 0 to 3 (default 0)")
        ->check(CLI::Range(0, 3));
    command->add_flag("--json", options->json, "Print JSON for scripts");
    command->add_flag("--log", options->log, "Write the core's diagnostic records to stderr");
    command->callback([options] { run(*options); });
}

} // namespace vexafs
