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

/// Has the process objects of some sources downmixed, and no others. Main thread only.
class DownmixedProcesses {
public:
    using SourceIDs = std::set<std::string, std::less<>>;

    /// Both outlive the object.
    DownmixedProcesses(AudioHardware& hardware, SystemLog& log);

    /// Takes effect with the next update() of each process.
    void setSources(SourceIDs sources) { sources_ = std::move(sources); }
    const SourceIDs& sources() const { return sources_; }
    /// Some process is downmixed or is to be: every process has to be looked at.
    bool isBusy() const { return !sources_.empty() || !downmixed_.empty(); }

    /// Switches one process, unless it is as it should be. What is refused is logged and not tried again.
    void update(AudioObjectID process, std::string_view sourceID);
    /// All others are gone.
    void keepOnly(const std::vector<AudioObjectID>& processes);

private:
    AudioHardware& hardware_;
    const Logger logger_;
    SourceIDs sources_;
    std::set<AudioObjectID> downmixed_;
};

} // namespace vello
