// SPDX-License-Identifier: Apache-2.0
#include "PlainCascade.h"

namespace vello {

void plainCascade(const PlainSection* sections, PlainState& state, float* samples, std::size_t stride,
                  std::size_t frames) noexcept {
    auto& past = state.histories;
    for (std::size_t i = 0; i < frames; ++i) {
        float x = samples[i * stride];
        for (std::size_t k = 0; k < kSectionCount; ++k) {
            const PlainSection& s = sections[k];
            const float y = s.b0 * x + s.b1 * past[k][0] + s.b2 * past[k][1] - s.a1 * past[k + 1][0] -
                            s.a2 * past[k + 1][1];
            past[k][1] = past[k][0];
            past[k][0] = x;
            x = y;
        }
        past[kSectionCount][1] = past[kSectionCount][0];
        past[kSectionCount][0] = x;
        samples[i * stride] = x;
    }
}

void plainCascadeBySection(const PlainSection* sections, PlainState& state, float* samples,
                           std::size_t stride, std::size_t frames) noexcept {
    auto& past = state.histories;
    float x1 = past[0][0];
    float x2 = past[0][1];
    for (std::size_t k = 0; k < kSectionCount; ++k) {
        const PlainSection s = sections[k];
        float y1 = past[k + 1][0];
        float y2 = past[k + 1][1];
        const float nextX1 = y1;
        const float nextX2 = y2;
        for (std::size_t i = 0; i < frames; ++i) {
            const float x = samples[i * stride];
            const float y = s.b0 * x + s.b1 * x1 + s.b2 * x2 - s.a1 * y1 - s.a2 * y2;
            x2 = x1;
            x1 = x;
            y2 = y1;
            y1 = y;
            samples[i * stride] = y;
        }
        past[k][0] = x1;
        past[k][1] = x2;
        past[k + 1][0] = y1;
        past[k + 1][1] = y2;
        x1 = nextX1;
        x2 = nextX2;
    }
}

} // namespace vello
