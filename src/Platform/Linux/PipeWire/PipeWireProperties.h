// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraph.h"
#include "PipeWireStreamRights.h"
#include "PipeWireTaps.h"
#include "Ports/AudioHardware.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace vello {

/// A property's data as the reader receives it.
using PropertyData = std::vector<std::byte>;

/// Reads the properties of all objects from the mirror. The control loop's lock must be held.
class PipeWireProperties {
public:
    PipeWireProperties(const PipeWireGraph& graph, const PipeWireStreamRights& rights,
                       const PipeWireTaps& taps)
        : graph_(graph), rights_(rights), taps_(taps) {}

    /// Returns kAudioHardwareBadObjectError for an unknown object, and kAudioHardwareUnknownPropertyError for
    /// a property that the object does not have.
    OSStatus read(AudioObjectID object, FourCharCode selector, PropertyData& data) const;

private:
    using Result = std::optional<PropertyData>;

    Result ofSystem(FourCharCode selector) const;
    Result ofSink(const GraphSink& sink, FourCharCode selector) const;
    Result ofProcess(const GraphClient& client, FourCharCode selector) const;
    Result ofStream(const GraphStream& stream, FourCharCode selector) const;
    Result ofDevice(const PipeWireTapDevice& device, FourCharCode selector) const;
    std::vector<AudioObjectID> devicesOf(const GraphClient& client) const;

    const PipeWireGraph& graph_;
    const PipeWireStreamRights& rights_;
    const PipeWireTaps& taps_;
};

} // namespace vello
