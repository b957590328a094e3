// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/ApplicationIdentities.h"
#include "Ports/AudioHardware.h"
#include "Ports/RunningApplications.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// A stream that is left as it is.
struct ExemptStream {
    /// Of its application, as the source has it when one of its streams is captured. Absent where nothing is
    /// known of the application: there are streams of the audio system itself.
    std::optional<std::string> sourceID = {};
    std::string name;       ///< of the application, else of the stream; for the user, never empty
    std::string streamName; ///< what its application calls it; may be empty
    std::optional<std::int32_t> pid = {};
    std::optional<std::string> bundleID = {};
    std::optional<std::string> deviceUID = {}; ///< that it plays on
    bool isPlaying = false;
    StreamExemption reason = StreamExemption::none;

    friend bool operator==(const ExemptStream&, const ExemptStream&) = default;
};

/// Which streams are left as they are. Main thread only.
class ExemptStreams {
public:
    /// Both outlive the object.
    ExemptStreams(const AudioHardware& hardware, RunningApplications& applications)
        : hardware_(hardware), identities_(hardware, applications) {}

    /// Those of this moment, by name, in the order of the user's language. This program's own are not among
    /// them, nor is one of which something cannot be read.
    std::vector<ExemptStream> read() const;

private:
    std::optional<ExemptStream> read(AudioObjectID stream) const;
    std::optional<std::string> deviceUID(AudioObjectID stream) const;

    const AudioHardware& hardware_;
    ApplicationIdentities identities_;
};

} // namespace vello
