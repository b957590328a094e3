// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemFacts.h"

#include <cstdint>
#include <vector>

/// Where sound goes in the audio server's graph.
namespace vello {

/// Null when there is no such node.
const AudioNodeFacts* nodeWithID(const AudioServerFacts& server, std::uint32_t id);
/// Null when it is not connected.
const AudioClientFacts* clientOf(const AudioServerFacts& server, const AudioNodeFacts& node);
/// An output device, not one of VELLO's captures.
bool isDevice(const AudioNodeFacts& node);
/// A playback stream of an application, not one of VELLO or of a filter.
bool isApplicationStream(const AudioNodeFacts& node);
/// One of VELLO's own nodes.
bool isOfVello(const AudioNodeFacts& node);
/// The nodes that this one is linked to, each once.
std::vector<const AudioNodeFacts*> destinations(const AudioServerFacts& server, const AudioNodeFacts& node);
/// Devices that another program sends on to a further device: equalizers, effects, loopbacks. Only those
/// that sound goes through: an application's, VELLO's, or that of the default output.
std::vector<const AudioNodeFacts*> filtersInUse(const AudioServerFacts& server);
/// The clients of the server that equalize, one for each process.
std::vector<const AudioClientFacts*> instances(const AudioServerFacts& server);

} // namespace vello
