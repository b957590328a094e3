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

/// A stream that is not captured.
struct ExemptStream {
    /// Id of its application: that of the source, if one of its streams is captured. nullopt if the
    /// application is unknown, for example for streams of the audio system itself.
    std::optional<std::string> sourceID = {};
    std::string name;       ///< of the application, or else of the stream; for the user, never empty
    std::string streamName; ///< as set by its application; may be empty
    std::optional<std::int32_t> pid = {};
    std::optional<std::string> bundleID = {};
    std::optional<std::string> deviceUID = {}; ///< the device that it plays on
    bool isPlaying = false;
    StreamExemption reason = StreamExemption::none;

    friend bool operator==(const ExemptStream&, const ExemptStream&) = default;
};

/// Lists the streams that are not captured. Main thread only.
class ExemptStreams {
public:
    /// Both must outlive the object.
    ExemptStreams(const AudioHardware& hardware, RunningApplications& applications)
        : hardware_(hardware), identities_(hardware, applications) {}

    /// The current exempt streams, sorted by name in the user's language. Excludes this program's own streams
    /// and streams with an unreadable property.
    std::vector<ExemptStream> read() const;

private:
    std::optional<ExemptStream> read(AudioObjectID stream) const;
    std::optional<std::string> deviceUID(AudioObjectID stream) const;

    const AudioHardware& hardware_;
    ApplicationIdentities identities_;
};

} // namespace vello
