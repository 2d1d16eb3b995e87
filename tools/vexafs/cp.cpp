// vexafs cp: an item copied from any storage that reads to any that writes.

#include "arguments.hpp"
#include "commands.hpp"
#include "transfer.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/Exists.hpp>

#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

#include <unistd.h>

namespace vexafs {
namespace {

namespace vfs = foundation::storage::vfs;

struct CopyArguments {
    std::string source, destination;
    bool recursive = false;
    unsigned jobs = 1;
    bool json = false;
};

// Whether `inner` is `outer` or lies below it: a folder copied there would never end.
bool within(const vfs::AbsoluteIRI& inner, const vfs::AbsoluteIRI& outer) {
    const fl::ustring in = vfs::CanonicalAbsoluteIRI(inner).toString();
    fl::ustring out = vfs::CanonicalAbsoluteIRI(outer).toString();
    if (!out.ends_with(u'/'))
        out += u'/';
    return in == out.substr(0, out.size() - 1) || in.starts_with(out);
}

void copy(const CopyArguments& arguments) {
    Interruptions interruptions;
    const auto [storage, source, target] = transferOf(arguments.source, arguments.destination);
    std::optional<Progress> progress;
    if (vfs::exists(source, storage) == vfs::existence::folder) {
        if (!arguments.recursive)
            throw std::runtime_error(arguments.source + " is a folder: copy it with --recursive");
        if (within(target, source))
            throw std::runtime_error("cannot copy " + arguments.source + " into itself");
        progress.emplace(std::nullopt, ::isatty(STDERR_FILENO) == 1);
        copyFolder(source, target, storage, *progress, interruptions, arguments.jobs);
    } else {
        const vfs::File from(source, storage);
        // The size is asked only where someone watches the copy.
        const bool watched = ::isatty(STDERR_FILENO) == 1;
        progress.emplace(watched ? std::optional<std::uint64_t>(from.getAttributes().getSize())
                                 : std::nullopt,
                         watched);
        copyFile(from, vfs::File(target, storage), *progress, interruptions);
    }
    if (arguments.json) {
        Record record{fl::i18n::to_ustring(arguments.source), {}};
        // The target as messages name it: a password in its IRI shown as "***".
        record.add("target", storage->describe(target))
            .add("files", static_cast<std::int64_t>(progress->files()))
            .add("bytes", static_cast<std::int64_t>(progress->bytes()))
            .add("seconds", progress->seconds());
        printRecords(std::cout, {record}, true);
    }
}

} // namespace

void addCpCommand(CLI::App& app) {
    auto arguments = std::make_shared<CopyArguments>();
    CLI::App* command = app.add_subcommand(
        "cp", "Copy an item to a path or IRI (into it, when it is a folder), from any storage "
              "that reads to any that writes; each target is replaced only once all of it "
              "arrived. On a terminal, a progress line on stderr");
    command->add_option("source", arguments->source, "Path or IRI to copy")->required();
    command->add_option("destination", arguments->destination, "Path or IRI to copy to")
        ->required();
    command->add_flag("-r,--recursive", arguments->recursive, "Copy a folder and all it holds");
    command
        ->add_option("-j,--jobs", arguments->jobs,
                     "Files of a folder copied at once; the first failure stops the copy once "
                     "the files under way are done")
        ->capture_default_str()
        ->check(CLI::Range(1, 64));
    command->add_flag("--json", arguments->json,
                      "Print the files and bytes copied and the seconds taken");
    command->callback([arguments] { copy(*arguments); });
}

} // namespace vexafs
