// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQSettings.h"
#include "Ports/MainThread.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

/// What each source's settings were before their last change: one step a source, in memory only.
class SettingsHistory {
public:
    using Instant = MainThread::Instant;
    /// A source's stored settings; nullopt if it has none.
    using Stored = std::optional<EQSettings>;

    /// `before` are the settings that a change at `now` replaces. A change within a second of the previous
    /// one belongs to it.
    void willChange(const std::string& sourceID, Stored before, Instant now);
    /// Exchanges `current` with the settings before the last change. Returns nullopt if there was no change.
    std::optional<Stored> exchange(std::string_view sourceID, Stored current);

private:
    struct Step {
        Stored before;
        Instant lastChange;
        bool isTakenBack = false; ///< the next change starts a step of its own, however soon it comes
    };

    std::map<std::string, Step, std::less<>> steps_;
};

} // namespace vello
