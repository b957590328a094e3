// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vello::session {

/// Value of one channel at a frame. `position` is the driver's clock at the frame, `counter` the number of
/// frames emitted before it.
using Signal = std::function<float(std::uint64_t position, std::uint64_t counter, int channel)>;

/// The signal described by the text:
/// "position": the clock's position on the left, the counter on the right, see signalCode; "counter": the
/// counter in both; "constant=VALUE"; "silence"; "sines=F1,F2,...@AMPLITUDE": sines of these frequencies in
/// Hz, each with that amplitude, in every channel; "tones=F1,F2,...@AMPLITUDE": one such sine per channel,
/// the i-th frequency in the i-th channel. Throws std::invalid_argument.
Signal makeSignal(const std::string& text, double sampleRate);

/// Interleaved samples of the first `frames` frames, for players of files; the clock's position is always 0.
std::vector<float> renderSignal(const std::string& text, double sampleRate, std::size_t frames, int channels);

} // namespace vello::session
