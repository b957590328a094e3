// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vello::session {

/// Value of one channel at a frame; `position` is what the driver's clock showed for it, `counter` the frames
/// emitted before it.
using Signal = std::function<float(std::uint64_t position, std::uint64_t counter, int channel)>;

/// The signal that the text names:
/// "position": left the clock's position, right the counter, see signalCode; "counter": the counter in both;
/// "constant=VALUE"; "silence"; "sines=F1,F2,...@AMPLITUDE": sines of these frequencies in Hz, each of that
/// amplitude, in every channel; "tones=F1,F2,...@AMPLITUDE": one such sine in each channel, the i-th
/// frequency in the i-th. Throws std::invalid_argument.
Signal makeSignal(const std::string& text, double sampleRate);

/// Interleaved samples of frames 0 to `frames`, for players of files; the clock's position is 0 throughout.
std::vector<float> renderSignal(const std::string& text, double sampleRate, std::size_t frames, int channels);

} // namespace vello::session
