#pragma once

// Scoped changes of the stand-alone host's state, undone when the test ends: the current
// path manager, stand-alone mode and the core logger's levels (CurrentFolder.hpp changes the
// current folder).

#include <vexa/io/filesystem/core/log.hpp>

#include <host/EngineDispatcher.hpp>
#include <host/Standalone.hpp>

#include <fl/i18n.hpp>

#include <memory>

namespace vexa::testing {

class ScopedPathManager {
public:
    explicit ScopedPathManager(std::shared_ptr<Quarrow::PathManagement::PathManager> manager)
        : previous_(EngineDispatcher::getDispatcher().SetCurrentPathManager(std::move(manager))) {}
    ~ScopedPathManager() { EngineDispatcher::getDispatcher().SetCurrentPathManager(previous_); }
    ScopedPathManager(const ScopedPathManager&) = delete;
    ScopedPathManager& operator=(const ScopedPathManager&) = delete;

private:
    std::shared_ptr<Quarrow::PathManagement::PathManager> previous_;
};

class ScopedStandaloneMode {
public:
    explicit ScopedStandaloneMode(bool on) : previous_(svIsStandaloneMode()) {
        svSetStandaloneMode(on);
    }
    ~ScopedStandaloneMode() { svSetStandaloneMode(previous_); }
    ScopedStandaloneMode(const ScopedStandaloneMode&) = delete;
    ScopedStandaloneMode& operator=(const ScopedStandaloneMode&) = delete;

private:
    bool previous_;
};

class ScopedLogLevels {
public:
    explicit ScopedLogLevels(foundation::log::level_t mask)
        : previous_(vexa::io::filesystem::core::log::getLogger().enabledLevels()) {
        vexa::io::filesystem::core::log::getLogger().setEnabledLevels(mask);
    }
    ~ScopedLogLevels() { vexa::io::filesystem::core::log::getLogger().setEnabledLevels(previous_); }
    ScopedLogLevels(const ScopedLogLevels&) = delete;
    ScopedLogLevels& operator=(const ScopedLogLevels&) = delete;

private:
    foundation::log::level_t previous_;
};

} // namespace vexa::testing
