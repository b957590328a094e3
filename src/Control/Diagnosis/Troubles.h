// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Diagnosis/DiagnosisFacts.h"

#include <string>
#include <vector>

namespace vello {

/// What may keep VELLO from equalizing, in the order in which one hides the next.
enum class Trouble {
    pulseAudio, ///< PulseAudio instead of PipeWire
    noAudioServer,
    noRights,
    sessionManager, ///< absent, silent or too old
    twoInstances,
    standsStill, ///< VELLO does not answer
    noConsent,
    cannotSave,
    otherFilter, ///< another equalizer in the chain
    noTrayHost,
    noRealtime,
};

struct Finding {
    Trouble trouble;
    std::string sentence; ///< what is wrong, and what to do about it; one line, safe for a terminal

    friend bool operator==(const Finding&, const Finding&) = default;
};

/// What is wrong, the most important first. Empty when nothing is known to be wrong; what could not be read
/// is no trouble.
std::vector<Finding> findTroubles(const DiagnosisFacts& facts);

} // namespace vello
