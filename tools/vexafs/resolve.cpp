// vexafs resolve: what each name stands for, as a host shows it when a user types it: the
// text of the item, its kind and, on request, its attributes.

#include "arguments.hpp"
#include "commands.hpp"

#include <vexa/io/filesystem/core.hpp>

#include <host/EngineDispatcher.hpp>
#include <host/Standalone.hpp>

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstdio>
#include <memory>

namespace vexafs {
namespace core = vexa::io::filesystem::core;

namespace {

struct ResolveOptions {
    PathArguments arguments;
    core::ResolvePathOptions resolution;
    bool attributes = false;
    bool standalone = false;
    std::vector<std::string> searchPath;
};

fl::ustring kindWord(core::ResolvedPathKind kind) {
    switch (kind) {
    case core::ResolvedPathKind::File:
        return u"file";
    case core::ResolvedPathKind::Folder:
        return u"folder";
    case core::ResolvedPathKind::SymbolicLink:
        return u"link";
    default:
        return u"nothing";
    }
}

// ISO 8601 to the microsecond, as the time is given: local, without a zone. No time (the
// attributes of nothing) is "".
fl::ustring isoTime(const boost::posix_time::ptime& time) {
    if (time.is_special())
        return {};
    const auto date = time.date();
    const auto day = time.time_of_day();
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%06lld",
                  static_cast<int>(date.year()), static_cast<int>(date.month()),
                  static_cast<int>(date.day()), static_cast<int>(day.hours()),
                  static_cast<int>(day.minutes()), static_cast<int>(day.seconds()),
                  static_cast<long long>(day.fractional_seconds()));
    return fl::i18n::to_ustring(text);
}

Record describe(const fl::ustring& name, const ResolveOptions& options) {
    // The library's answer is the one shown, also "nothing" for text that names no location.
    const auto location = [&] { return locationOf(name); };
    Record record{name, {}};
    if (!options.attributes) {
        const core::ResolvedPath resolved = showingStorageFailure(
            location, [&] { return core::resolvePath(name, options.resolution); });
        record.add("path", resolved.path).add("kind", kindWord(resolved.kind));
        return record;
    }
    const core::ResolvedPathAttributes resolved = showingStorageFailure(
        location, [&] { return core::resolvePathWithAttributes(name, options.resolution); });
    const core::PathAttributes& attributes = resolved.attributes;
    record.add("path", resolved.path)
        .add("kind", kindWord(resolved.kind))
        .add("readable", attributes.readable)
        .add("writable", attributes.writable)
        .add("modified", isoTime(attributes.lastModified))
        .add("size", static_cast<std::int64_t>(attributes.size));
    return record;
}

void run(const ResolveOptions& options) {
    svSetStandaloneMode(options.standalone);
    if (!options.searchPath.empty()) {
        std::vector<fl::ustring> folders;
        for (const std::string& folder : options.searchPath)
            folders.push_back(fl::i18n::to_ustring(folder));
        EngineDispatcher::getDispatcher().GetCurrentPathManager()->SetSearchPath(folders);
    }
    reportEachPath(options.arguments,
                   [&](const fl::ustring& name) { return describe(name, options); });
}

} // namespace

void addResolveCommand(CLI::App& app) {
    auto options = std::make_shared<ResolveOptions>();
    CLI::App* command = app.add_subcommand(
        "resolve", "Resolve each name as a host does when a user types it: the text to show and "
                   "the kind (file, folder, link, nothing). A relative name that is not in the "
                   "current folder is looked for along the search path");
    addPathArguments(*command, options->arguments, "Names, paths or IRIs to resolve");
    command->add_flag("--follow-links", options->resolution.resolveSymbolicLinks,
                      "Follow symbolic links: show what a link leads to (a link that leads "
                      "nowhere is nothing)");
    command->add_flag("--native", options->resolution.nativePathForIRI,
                      "Show a file IRI as its native path");
    command->add_flag("--attributes", options->attributes,
                      "Also tell readable, writable, the local modification time and the size");
    command->add_flag("--standalone", options->standalone,
                      "Resolve as a deployed stand-alone application: the search by name "
                      "comes first");
    // One folder per --path: the names that follow are not folders.
    takeEachAsGiven(command->add_option("--path", options->searchPath,
                                        "A folder of the search path (repeat for more, in order)"));
    command->callback([options] { run(*options); });
}

} // namespace vexafs
