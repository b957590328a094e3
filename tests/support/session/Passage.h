// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recording.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vello::session {

/// The way of a frame from a player of frame numbers (see signalCode) to the output, when VELLO plays it at
/// half the volume.
enum class Way { silent, direct, tapped, unknown };

Way wayOf(float sample);

/// A transition of a player's sound from one way to another.
struct Passage {
    std::size_t lastBefore = 0; ///< frame
    std::size_t firstAfter = 0; ///< frame
    std::size_t silentFrames = 0;
    std::size_t unknownFrames = 0;
};

/// The last transition from `before` to `after` in the right channel; absent when there is none.
std::optional<Passage> findPassage(const Recording& recording, Way before, Way after);
/// Whether all of the last `frames` frames took that way.
bool endsWith(const Recording& recording, Way way, std::size_t frames);
/// Frames that the player emitted but that were not heard in the transition; negative when some were heard
/// twice. For any player: the right channel carries its own counter.
std::int64_t lostFrames(const Recording& recording, const Passage& passage);

} // namespace vello::session
