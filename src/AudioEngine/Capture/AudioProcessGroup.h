// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// One application that produces output.
struct AudioProcessGroup {
    /// The bundle identifier, or "pid." and the representative process if the identifier is unknown. Also the
    /// id of the source, its tap and its settings.
    std::string id;
    std::string displayName;              ///< for the user; never empty
    std::optional<std::string> bundleID;  ///< never empty
    std::int32_t representativePID = 0;   ///< the process responsible for the others; 0: unknown
    std::vector<AudioObjectID> objectIDs; ///< its process objects, in the order of the audio system's list

    friend bool operator==(const AudioProcessGroup&, const AudioProcessGroup&) = default;
};

} // namespace vello
