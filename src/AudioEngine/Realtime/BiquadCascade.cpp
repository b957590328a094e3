// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/BiquadCascade.h"

namespace vello {

BiquadSetup::BiquadSetup(const Sections& sections) noexcept : sections_(sections) {
    for (std::size_t k = 0; k < kSectionCount; ++k) {
        excess[k] = sections[k].b0 - 1.0;
        a1[k] = sections[k].a1;
        a2[k] = sections[k].a2;
    }
}

double processSample(const BiquadSetup& setup, CascadeState& state, double sample) noexcept VELLO_REALTIME {
    auto& [w1, w2] = state.differences;
    auto& [x1, x2] = state.histories;
    double x = sample;
    for (std::size_t k = 0; k < kSectionCount; ++k) {
        const double feedForward = setup.excess[k] * x - setup.excess[k] * x2[k];
        const double w = feedForward - setup.a2[k] * w2[k] - setup.a1[k] * w1[k];
        w2[k] = w1[k];
        w1[k] = w;
        x2[k] = x1[k];
        x1[k] = x;
        x = x + w;
    }
    x2[kSectionCount] = x1[kSectionCount];
    x1[kSectionCount] = x;
    return x;
}

} // namespace vello
