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
    /// Source id: the bundle identifier, or "pid." and the responsible process if the identifier is unknown.
    std::string key;
    std::optional<std::string> bundleID; ///< never empty
    std::string displayName;             ///< for the user; never empty
    std::int32_t pid = 0;                ///< the responsible process; 0: unknown
};

/// Finds the application that a process object or stream belongs to. Main thread only.
class ApplicationIdentities {
public:
    /// Both must outlive the object.
    ApplicationIdentities(const AudioHardware& hardware, RunningApplications& applications)
        : hardware_(hardware), applications_(applications) {}

    /// The process id of an object; 0 if the audio system has no trustworthy one. Throws CoreAudioError.
    std::int32_t processOf(AudioObjectID object) const;
    bool isOwn(std::int32_t pid) const { return pid == applications_.ownProcess(); }

    /// Returns nullopt for an object of this program, and when neither process nor identifier is known. `pid`
    /// is the result of processOf().
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
