// vexafs mkdir: makes a folder and the missing folders above it, as a host built-in does,
// and reports through the core's result handler.

#include "commands.hpp"
#include "report.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <foundation/log/basic_diagnostic_logger.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <host/HostArray.hpp>

#include <array>
#include <cerrno>
#include <iostream>
#include <memory>

#include <sys/stat.h>

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
        if (!CheckStringForPathMax(folder_, core::maxNotifiedPathLength))
            return false;
        if (folder_.empty()) {
            // "" would make nothing; a user gets the storage layer's "not found" for it.
            SetVFSErrorStatus(vfs::Exception(vfs::ResourceNotFound, folder_), folder_);
            return false;
        }
        return true;
    }

    void Execute() override {
        std::string native;
        try {
            native = fl::filesystem::detail::to_native(folder_);
        } catch (const fl::filesystem::SystemError& refused) {
            errno = refused.code();
            SetErrorStatus("FileManip", "mkdir");
            return;
        }
        bool created = false;
        // Each level from the top: mkdir(2) of a folder that is there fails with EEXIST,
        // which only matters for the last level (a file there is an error).
        for (std::size_t end = native.find('/', 1);; end = native.find('/', end + 1)) {
            const std::string level = native.substr(0, end);
            // Separators at the end ("a/b/") name the same folder as none.
            const bool last =
                end == std::string::npos || native.find_first_not_of('/', end) == std::string::npos;
            if (::mkdir(level.c_str(), 0777) == 0) {
                created = true;
            } else if (const int error = errno; error != EEXIST || (last && !isFolder(level))) {
                recordFailure(error, last ? folder_ : fl::i18n::to_ustring(level));
                return;
            }
            if (last)
                break;
        }
        if (created)
            MarkDirOutOfDate(folder_);
    }

private:
    static bool isFolder(const std::string& native) {
        struct stat st {};
        return ::stat(native.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    }

    // Failures the storage layer has a message for get that message; anything else (a name
    // too long, a loop of links) keeps the system's own text, which says more.
    void recordFailure(int error, const std::u16string& path) {
        const int code = vfs::errorCodeFromErrno(error);
        if (code == vfs::InternalError) {
            errno = error;
            SetErrorStatus("FileManip", "mkdir");
        } else {
            SetVFSErrorStatus(vfs::Exception(code, path), path);
        }
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
