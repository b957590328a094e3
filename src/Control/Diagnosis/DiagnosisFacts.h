// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"
#include "Ports/ConsentStore.h"
#include "Ports/SystemFacts.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// What the running VELLO says of itself.
struct InstanceFacts {
    enum class Answer {
        noBus,      ///< there is no session bus, or it does not answer
        notRunning, ///< no instance is on the bus
        silent,     ///< an instance is on the bus and does not answer
        complete
    };
    Answer answer = Answer::noBus;
    RunningState state = {}; ///< with the exempt streams, without presets and meters
    std::optional<std::int32_t> pid = {};
    /// Cycles that VELLO was not ready for since it started; absent when it does not say.
    std::optional<std::uint64_t> missedCycles = {};
};

struct SessionManagerFacts {
    std::string name;    ///< empty: no session manager is connected to the server
    std::string version; ///< such as "0.4.13"; empty: it cannot be told
};

/// Everything that a diagnosis is made of. Collecting it is the callers' business; a value that could not be
/// read says so.
struct DiagnosisFacts {
    std::string version, toolkit, kernel, distribution;
    AudioServerFacts server = {};
    SessionManagerFacts sessionManager = {};
    bool isPulseAudioRunning = false;    ///< the original one, not PipeWire's
    bool isSandboxed = false;            ///< in Flatpak
    std::optional<Consent> consent = {}; ///< absent: it cannot be read
    InstanceFacts instance = {};
    RealtimePriority realtime =
        RealtimePriority::unknown; ///< of the running instance, else what it would get
    bool hasScreen = false;
    std::optional<bool> hasTrayHost = {}; ///< absent: it cannot be told
    std::vector<FolderFacts> folders = {};
    std::vector<std::string> lastErrors = {}; ///< lines of the log, oldest first
};

} // namespace vello
