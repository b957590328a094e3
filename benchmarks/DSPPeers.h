// SPDX-License-Identifier: Apache-2.0
//
// Cascades of libraries that Debian ships, for comparison.
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"
#include "DSPSubject.h"

#include <memory>

namespace vello {

/// The sections in 32-bit float by liquid-dsp. It takes one channel at a time and gets its blocks that way,
/// without the cost of taking interleaved frames apart.
std::unique_ptr<Subject> liquidSubject(const BiquadSetup::Sections& sections, const Scenario& scenario);

} // namespace vello
