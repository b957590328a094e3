// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemFacts.h"

#include <chrono>

namespace vello {

/// Connects to the user's audio server, reads everything that a diagnosis needs, and disconnects. Changes
/// nothing. Returns when all is read, or after `patience` with what is known by then. Needs no other thread.
AudioServerFacts surveyAudioServer(std::chrono::milliseconds patience);

} // namespace vello
