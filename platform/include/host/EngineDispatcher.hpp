#pragma once

// The stand-alone host's state, one per process: the current path manager and the
// current folder. Host programs and tests set it through this object; it may be used
// from any thread.

#include <Quarrow/PathManagement/PathManager.hpp>
#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>

#include <memory>
#include <mutex>

class EngineDispatcher {
public:
    static EngineDispatcher& getDispatcher();

    // Throws an internal exception when the host has no path manager (one was never set,
    // or it was taken away, as during shut-down).
    std::shared_ptr<Quarrow::PathManagement::PathManager> GetCurrentPathManager() const;
    // Installs `manager` (null to have none) and returns the one it replaces.
    std::shared_ptr<Quarrow::PathManagement::PathManager>
    SetCurrentPathManager(std::shared_ptr<Quarrow::PathManagement::PathManager> manager);

    Quarrow::current_working_folder::ICurrentWorkingFolder& GetCurrentWorkingFolder() const;

private:
    EngineDispatcher();

    mutable std::mutex mutex_;
    std::shared_ptr<Quarrow::PathManagement::PathManager> pathManager_;
};
