// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recording.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vello::session {

/// The way that a frame took from a player of numbers (see signalCode) to the output, when VELLO plays it at
/// half the volume.
enum class Way { silent, direct, tapped, unknown };

Way wayOf(float sample);

/// How a player's sound went over from one way to another.
struct Passage {
    std::size_t lastBefore = 0; ///< frame
    std::size_t firstAfter = 0; ///< frame
    std::size_t silentFrames = 0;
    std::size_t unknownFrames = 0;
};

/// The last passage from `before` to `after` in the right channel; none when there is none.
std::optional<Passage> findPassage(const Recording& recording, Way before, Way after);
/// Whether all of the last `frames` frames took that way.
bool endsWith(const Recording& recording, Way way, std::size_t frames);
/// Frames that the player emitted and nobody heard in the passage; negative when some were heard twice. For
/// any player: in the right channel there is its own counter.
std::int64_t lostFrames(const Recording& recording, const Passage& passage);

} // namespace vello::session
