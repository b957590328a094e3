// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/RunningApplications.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vello {

/// The application that an object of the audio system belongs to.
struct ApplicationIdentity {
    /// The bundle identifier, or "pid." and the responsible process where none is known: the id of the
    /// source.
    std::string key;
    std::optional<std::string> bundleID; ///< never empty
    std::string displayName;             ///< for the user; never empty
    std::int32_t pid = 0;                ///< the process that is responsible; 0: it cannot be told
};

/// Whose the process objects and streams of the audio system are. Main thread only.
class ApplicationIdentities {
public:
    /// Both outlive the object.
    ApplicationIdentities(const AudioHardware& hardware, RunningApplications& applications)
        : hardware_(hardware), applications_(applications) {}

    /// The number of an object's process; 0 where the audio system has none that can be trusted. Throws
    /// CoreAudioError.
    std::int32_t processOf(AudioObjectID object) const;
    bool isOwn(std::int32_t pid) const { return pid == applications_.ownProcess(); }

    /// Nothing for what belongs to this program, and for what neither a process nor an identifier is known
    /// of. `pid` is that of processOf().
    std::optional<ApplicationIdentity> identify(AudioObjectID object, std::int32_t pid) const;

private:
    ApplicationIdentity identifyProcess(AudioObjectID object, std::int32_t pid) const;
    std::optional<ApplicationIdentity> identifyByBundleID(AudioObjectID object) const;
    std::int32_t responsibleProcess(std::int32_t pid) const;
    std::optional<std::string> claimedBundleID(AudioObjectID object) const;

    const AudioHardware& hardware_;
    RunningApplications& applications_;
};

} // namespace vello
