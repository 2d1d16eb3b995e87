// vexafs ls: the entries patterns match, as the file list creator keeps them: one per line,
// or one JSON object per line for scripts.

#include "arguments.hpp"
#include "commands.hpp"
#include "report.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <Quarrow/VexaStorageSystem.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct LsArguments {
    std::vector<std::string> patterns; // as the bytes the user typed
    bool recursive = false;
    bool iri = false;
    bool bytes = false;
    bool json = false;
};

// A listing can be long: written in large blocks as it goes, never held whole.
class Output {
public:
    ~Output() { flush(); }
    std::string& text() { return buffer_; }
    void endLine() {
        buffer_ += '\n';
        if (buffer_.size() >= 1 << 16)
            flush();
    }
    void flush() {
        std::fwrite(buffer_.data(), 1, buffer_.size(), stdout);
        buffer_.clear();
    }

private:
    std::string buffer_;
};

// One entry: its path (the bytes of the name, nothing escaped) and, beside it after a tab,
// its IRI; or a JSON object with "name" and "iri".
void writeEntry(Output& out, const fl::ustring& name, const fl::ustring* iri, bool json) {
    if (json) {
        out.text() += "{\"name\": " + jsonString(name);
        if (iri)
            out.text() += ", \"iri\": " + jsonString(*iri);
        out.text() += "}";
    } else {
        out.text() += fl::i18n::to_string(name);
        if (iri)
            out.text().append("\t").append(fl::i18n::to_string(*iri));
    }
    out.endLine();
}

// An IRI's text as a user reads it, non-ASCII characters unescaped.
fl::ustring iriForm(std::string_view uriText) {
    const auto iri = foundation::network::IRI::parseUri(std::string(uriText));
    return iri ? iri->toString(foundation::network::iri::Encoding::IRI)
               : fl::i18n::to_ustring(std::string(uriText));
}

// A whole tree as a storage lists it in one go (an object store's keys, a request per
// 1,000): the entries of each folder below, by the folder's path below the top ("" for the
// top), in name order as a folder's listing gives them. None where the storage walks a tree
// folder by folder.
using Tree = std::map<fl::ustring, std::vector<foundation::storage::provider::FolderEntry>>;

std::optional<Tree> treeBelow(const foundation::storage::vfs::CanonicalAbsoluteIRI& folder) {
    const auto cursor = foundation::storage::vfs::Folder(
                            folder, Quarrow::VexaStorageSystem::GetStorageSystemReference())
                            .listTree();
    if (!cursor)
        return std::nullopt;
    Tree tree;
    for (auto page = cursor->next(); !page.empty(); page = cursor->next())
        for (auto& entry : page) {
            const std::size_t slash = entry.name.rfind(u'/');
            const fl::ustring parent =
                slash == fl::ustring::npos ? fl::ustring() : entry.name.substr(0, slash);
            entry.name.erase(0, slash == fl::ustring::npos ? 0 : slash + 1);
            tree[parent].push_back(std::move(entry));
        }
    for (auto& [path, entries] : tree)
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return a.name < b.name; });
    return tree;
}

// `entries` of `folder`, each named by its IRI; with recursion, what a folder holds (written
// by `descend`) comes before the folder, as the file list creator orders entries.
template <class Descend>
void writeEntries(Output& out,
                  const std::vector<foundation::storage::provider::FolderEntry>& entries,
                  const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                  const LsArguments& arguments, Descend descend) {
    namespace vfs = foundation::storage::vfs;
    for (const auto& entry : entries) {
        const fl::ustring iri = vfs::CanonicalAbsoluteIRI(folder, entry.name).toString();
        if (arguments.recursive && entry.type == foundation::storage::provider::ItemType::Folder)
            descend(entry.name, vfs::CanonicalAbsoluteIRI(iri + u"/"));
        writeEntry(out, iri, arguments.iri ? &iri : nullptr, arguments.json);
    }
}

// The entries of the folder at `path` in `tree`, in the order listFolder writes them.
void writeTree(Output& out, const Tree& tree, const fl::ustring& path,
               const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
               const LsArguments& arguments) {
    const auto found = tree.find(path);
    if (found == tree.end())
        return;
    writeEntries(
        out, found->second, folder, arguments, [&](const fl::ustring& name, const auto& inner) {
            writeTree(out, tree, path.empty() ? name : path + u"/" + name, inner, arguments);
        });
}

// The entries of a folder of any storage that match `filter` (writeEntries). Links are not
// entered. A whole folder listed recursively is read as one tree
// where the storage can list one.
void listFolder(Output& out, const foundation::storage::vfs::CanonicalAbsoluteIRI& folder,
                const fl::ustring& filter, const LsArguments& arguments) {
    namespace vfs = foundation::storage::vfs;
    if (arguments.recursive && (filter.empty() || filter == u"*")) {
        const virtualfileio::PendingContextScope missingFolderLeavesNoContext;
        try {
            if (const auto tree = treeBelow(folder)) {
                writeTree(out, *tree, u"", folder, arguments);
                return;
            }
        } catch (const vfs::Exception& error) {
            if (error.getErrorCode() != vfs::ResourceNotFound)
                throw;
            return;
        }
    }
    std::vector<foundation::storage::provider::FolderEntry> entries;
    const virtualfileio::PendingContextScope missingFolderLeavesNoContext;
    try {
        entries = vfs::Folder(folder, Quarrow::VexaStorageSystem::GetStorageSystemReference())
                      .listEntries(filter);
    } catch (const vfs::Exception& error) {
        // A folder that is not there matches nothing, as a local one; other failures are
        // the user's to see.
        if (error.getErrorCode() != vfs::ResourceNotFound)
            throw;
    }
    writeEntries(out, entries, folder, arguments, [&](const fl::ustring&, const auto& inner) {
        listFolder(out, inner, u"", arguments);
    });
}

// An IRI pattern: its folder is listed by the storage of its scheme, the last segment being
// the filter. A folder the storage cannot list fails with the storage's message.
void listIRIPattern(Output& out, const fl::ustring& pattern, const LsArguments& arguments) {
    const std::size_t slash = pattern.rfind(u'/');
    const std::size_t filterStart = slash == fl::ustring::npos ? pattern.size() : slash + 1;
    const foundation::storage::vfs::CanonicalAbsoluteIRI folder(
        locationOf(pattern.substr(0, filterStart)));
    listFolder(out, folder, pattern.substr(filterStart), arguments);
}

void list(const LsArguments& arguments) {
    Output out;
    // A creator per pattern: the order is the one a single creator keeps, without holding
    // every pattern's entries at once.
    for (const std::string& pattern : arguments.patterns) {
        const fl::ustring text = fl::i18n::to_ustring(pattern);
        if (foundation::storage::vfs::hasIRIPrefix(text)) {
            listIRIPattern(out, text, arguments);
            continue;
        }
        core::FileListCreator creator;
        if (arguments.bytes) {
            creator.AddToList(pattern, arguments.recursive);
            for (const std::string& entry : creator.GetList()) {
                if (arguments.json) {
                    writeEntry(out, fl::i18n::to_ustring(entry), nullptr, true);
                } else {
                    out.text() += entry;
                    out.endLine();
                }
            }
            continue;
        }
        // Written as the walk reaches each entry, converted once, nothing kept. A pattern
        // listed with IRIs gives one per name, except for a lone "..": one name and no IRI.
        std::string utf8;
        creator.VisitFiles(
            text, boost::none, arguments.iri, arguments.recursive, false,
            [&](fl::ustring_view name, std::string_view iriText) {
                const bool withIRI = arguments.iri && !iriText.empty();
                if (arguments.json || (withIRI && iriText.find('%') != std::string_view::npos)) {
                    const fl::ustring iri = withIRI ? iriForm(iriText) : fl::ustring();
                    writeEntry(out, fl::ustring(name), withIRI ? &iri : nullptr, arguments.json);
                    return;
                }
                // URI text without escapes reads the same as an IRI.
                fl::i18n::to_string(name, utf8);
                out.text() += utf8;
                if (withIRI)
                    out.text().append("\t").append(iriText);
                out.endLine();
            });
    }
}

} // namespace

void addLsCommand(CLI::App& app) {
    auto arguments = std::make_shared<LsArguments>();
    CLI::App* command = app.add_subcommand(
        "ls", "List the entries each pattern matches: a folder path ending in a name with * (any "
              "run) and ? (any one character), or one name. Entries are full paths (IRIs for "
              "an IRI pattern, listed by its storage), in name order; . and .. are left out");
    takeEachAsGiven(
        command
            ->add_option("patterns", arguments->patterns,
                         "Patterns to list: paths, or IRIs of any storage that lists folders")
            ->required());
    command->add_flag("--recursive,-r", arguments->recursive,
                      "Also list what each folder holds, before the folder itself");
    CLI::Option* iri =
        command->add_flag("--iri", arguments->iri, "Print each entry's IRI after a tab");
    command
        ->add_flag("--bytes", arguments->bytes,
                   "List as 8-bit text (links to folders are not entered)")
        ->excludes(iri);
    command->add_flag("--json", arguments->json, "Print one JSON object per line for scripts");
    command->callback([arguments] { list(*arguments); });
}

} // namespace vexafs
