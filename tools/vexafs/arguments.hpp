#pragma once

// What the per-path commands of vexafs share: their path arguments, --json, --rules, and
// reporting one record per path.

#include "report.hpp"

#include <vexa/io/filesystem/core/path_predicates.hpp>

#include <fl/filesystem.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace vexafs {

struct PathArguments {
    std::vector<std::string> paths; // as the bytes the user typed
    bool json = false;
};

// Adds the required paths and --json to `command`.
void addPathArguments(CLI::App& command, PathArguments& arguments, const std::string& pathsHelp);

// Makes each value of `option` one item, byte for byte, and returns it. Left to itself the
// parser reads a value written "[a,b]" as a list of two, and "[]" as none.
CLI::Option* takeEachAsGiven(CLI::Option* option);

// Adds --rules unix|windows (any case), which sets `rules`.
CLI::Option* addRulesOption(CLI::App& command, vexa::io::filesystem::core::FileSystemType& rules,
                            const std::string& help);

// The location a user's text names: IRI text as the library makes it (trimmed, what an IRI
// cannot hold escaped), a path made absolute against the current folder. Text that can name
// no location throws InvalidIRIException or FailedToAbsolutizeException.
foundation::storage::vfs::AbsoluteIRI locationOf(const fl::ustring& text);

// `inner`, keeping on this thread what it said when a look failed: vexafs serves remote
// schemes through it.
std::shared_ptr<const foundation::storage::provider::StorageProvider>
rememberingFailures(std::shared_ptr<const foundation::storage::provider::StorageProvider> inner);

// Forgets the failed look kept on this thread.
void forgetStorageFailure();

// Raises the failure of the last look on this thread that a remote storage failed, if there
// is one and `location` is not on the native file system.
void raiseStorageFailure(const foundation::storage::vfs::AbsoluteIRI& location);

// Runs `look`, a library query about `location`. Where a remote storage fails, the
// library's query asks the native file system whether the location's text is a link and
// lets that look's failure out ("No such file or directory: http://..."); the user is
// told instead what the storage itself said to the query's own look, without asking it
// again: a second round of requests would double the wait on a server that does not answer.
// `location` may be a function that makes it, called only then: a query that takes the
// user's text answers for text that names no location itself.
template <class Location, class Look>
auto showingStorageFailure(const Location& location, Look look) {
    forgetStorageFailure();
    try {
        return look();
    } catch (const fl::filesystem::FsysExceptionBase&) {
        if constexpr (std::is_invocable_v<const Location&>)
            raiseStorageFailure(location());
        else
            raiseStorageFailure(location);
        throw;
    }
}

// Describes each path, converted to UTF-16 without loss, and prints the records.
void reportEachPath(const PathArguments& arguments,
                    const std::function<Record(const fl::ustring&)>& describe);

} // namespace vexafs
