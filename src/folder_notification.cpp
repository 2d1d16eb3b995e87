// The two members through which an operation tells the host that folders changed.

#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/log.hpp>

#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <fl/filesystem.hpp>
#include <host/EngineDispatcher.hpp>

namespace vexa::io::filesystem::core {

void FileManipulator::MarkDirOutOfDate(std::u16string& folder) {
    const log::TraceScope trace(
        "virtual void vexa::io::filesystem::core::FileManipulator::MarkDirOutOfDate(fl::ustring&)",
        "src/FileManip", 337);
    if (!CheckStringForPathMax(folder, maxPathLength))
        return;
    // A pattern changed the folder that holds what it matched.
    if (folder.find(u'*') != std::u16string::npos)
        folder = fl::filesystem::detail::extract_parent_path(
            fl::filesystem::detail::make_native_form(folder, true));
    // The operation itself succeeded; a host that cannot take the news must not turn that
    // into a failure.
    try {
        const auto iri =
            EngineDispatcher::getDispatcher().GetCurrentWorkingFolder().absolutize(folder);
        EngineDispatcher::getDispatcher()
            .GetCurrentPathManager()
            ->NotifyUpstreamPathEntriesOfPossibleSpecialSubfolderChanges(iri);
    } catch (const Quarrow::current_working_folder::FailedToAbsolutizeException&) {
        // A name that cannot be a location holds no path entries: nothing to tell.
    } catch (...) {
        log::logCaughtException();
    }
}

void FileManipulator::RequestPathRefresh() const {
    const log::TraceScope trace(
        "virtual void vexa::io::filesystem::core::FileManipulator::RequestPathRefresh() const",
        "src/FileManip", 354);
    EngineDispatcher::getDispatcher().GetCurrentPathManager()->Refresh(0);
}

} // namespace vexa::io::filesystem::core
