// vexafs cat: an item's content, streamed from its storage to standard output or a file.

#include "arguments.hpp"
#include "commands.hpp"
#include "interruptions.hpp"
#include "transfer.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/IODevice.hpp>

#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace vexafs {
namespace {

namespace vfs = foundation::storage::vfs;

[[noreturn]] void failWithErrno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void writeAll(int fd, const char* data, std::size_t size, const std::string& name) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            failWithErrno("cannot write " + name);
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

struct CatArguments {
    std::string location;
    std::string output;
};

void copyContent(vfs::IODevice& device, int fd, const std::string& name) {
    std::vector<char> buffer(64 * 1024);
    while (const std::size_t got = device.read(buffer))
        writeAll(fd, buffer.data(), got, name);
}

} // namespace

void addCatCommand(CLI::App& app) {
    auto arguments = std::make_shared<CatArguments>();
    CLI::App* command = app.add_subcommand(
        "cat", "Write an item's content (a local file, or an http or https IRI) to standard "
               "output or, with --output, to an item that is replaced only once all of it "
               "arrived; an interruption leaves it as it was");
    command->add_option("location", arguments->location, "Path or IRI")->required();
    command->add_option("-o,--output", arguments->output,
                        "The file (or IRI) to write instead of stdout");
    command->callback([arguments] {
        const auto storage = Quarrow::VexaStorageSystem::GetStorageSystemReference();
        const vfs::File source(locationOf(fl::i18n::to_ustring(arguments->location)), storage);
        if (arguments->output.empty() || arguments->output == "-") {
            vfs::IODevice device(source);
            copyContent(device, STDOUT_FILENO, "standard output");
            return;
        }
        // Watched for before the network makes threads of its own.
        Interruptions interruptions;
        Progress unseen(std::nullopt, false);
        copyFile(source, vfs::File(locationOf(fl::i18n::to_ustring(arguments->output)), storage),
                 unseen, interruptions);
    });
}

} // namespace vexafs
