// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

namespace vello::session {

/// A signal that carries a frame number in every sample, exactly. The player emits values in [0.5, 1). At
/// half the volume they are in [0.25, 0.5) and still exact, so one sample tells both the number and the way
/// it took.
namespace signalCode {

/// Numbers repeat after this many frames (87 s at 48 kHz).
inline constexpr std::uint64_t kPeriod = 1U << 22;

inline float encode(std::uint64_t frame) {
    return static_cast<float>(frame % kPeriod + kPeriod) / static_cast<float>(2 * kPeriod);
}

/// The frame number modulo kPeriod; absent when the sample does not carry a number.
inline std::optional<std::uint64_t> decode(float sample) {
    double number = static_cast<double>(sample) * static_cast<double>(2 * kPeriod);
    if (sample >= 0.25F && sample < 0.5F)
        number *= 2;
    if (number < static_cast<double>(kPeriod) || number >= static_cast<double>(2 * kPeriod) ||
        number != std::floor(number))
        return std::nullopt;
    return static_cast<std::uint64_t>(number) - kPeriod;
}

} // namespace signalCode

/// Constant signals that identify up to eight applications in the sum on one output. Application i emits 2 x
/// 4^-(i+1), so the sum in base 4 has one digit for each: 2 as emitted, 1 at half the volume, 0 silent.
namespace constantCode {

inline constexpr int kApplications = 8;

inline double emitted(int application) {
    return 2.0 * std::pow(0.25, application + 1);
}

inline int digit(float sum, int application) {
    const double shifted = static_cast<double>(sum) * std::pow(4.0, application + 1);
    return static_cast<int>(static_cast<std::int64_t>(std::floor(shifted)) & 3);
}

} // namespace constantCode

} // namespace vello::session
