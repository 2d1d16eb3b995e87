#include <host/EngineDispatcher.hpp>

#include <foundation/core/except/Exception.hpp>

#include <memory>
#include <utility>

EngineDispatcher::EngineDispatcher()
    : pathManager_(std::make_shared<Quarrow::PathManagement::PathManager>()) {}

EngineDispatcher& EngineDispatcher::getDispatcher() {
    static EngineDispatcher dispatcher;
    return dispatcher;
}

std::shared_ptr<Quarrow::PathManagement::PathManager>
EngineDispatcher::GetCurrentPathManager() const {
    std::lock_guard lock(mutex_);
    if (!pathManager_)
        throw foundation::core::except::Exception<foundation::core::except::IInternalException>(
            "the host has no path manager");
    return pathManager_;
}

std::shared_ptr<Quarrow::PathManagement::PathManager> EngineDispatcher::SetCurrentPathManager(
    std::shared_ptr<Quarrow::PathManagement::PathManager> manager) {
    std::lock_guard lock(mutex_);
    return std::exchange(pathManager_, std::move(manager));
}

Quarrow::current_working_folder::ICurrentWorkingFolder&
EngineDispatcher::GetCurrentWorkingFolder() const {
    return Quarrow::current_working_folder::GetCurrentWorkingFolder();
}
