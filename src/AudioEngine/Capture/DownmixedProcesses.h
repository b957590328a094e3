// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vello {

/// Switches the downmix on for the process objects of the chosen sources and off for all others. Main thread
/// only.
class DownmixedProcesses {
public:
    using SourceIDs = std::set<std::string, std::less<>>;

    /// Both must outlive the object.
    DownmixedProcesses(AudioHardware& hardware, SystemLog& log);

    /// Takes effect with the next update() of each process.
    void setSources(SourceIDs sources) { sources_ = std::move(sources); }
    const SourceIDs& sources() const { return sources_; }
    /// Whether any source is chosen or any process downmixed, so that every process needs an update().
    bool isBusy() const { return !sources_.empty() || !downmixed_.empty(); }

    /// Switches one process if needed. A failure is logged and not retried.
    void update(AudioObjectID process, std::string_view sourceID);
    /// Forgets all other processes; they are gone.
    void keepOnly(const std::vector<AudioObjectID>& processes);

private:
    AudioHardware& hardware_;
    const Logger logger_;
    SourceIDs sources_;
    std::set<AudioObjectID> downmixed_;
};

} // namespace vello
