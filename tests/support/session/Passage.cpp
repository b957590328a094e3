// SPDX-License-Identifier: Apache-2.0
#include "Passage.h"

#include "SignalCode.h"

namespace vello::session {

Way wayOf(float sample) {
    if (sample == 0)
        return Way::silent;
    if (!signalCode::decode(sample))
        return Way::unknown;
    return sample < 0.5F ? Way::tapped : Way::direct;
}

std::optional<Passage> findPassage(const Recording& recording, Way before, Way after) {
    std::optional<Passage> found;
    Passage current;
    bool hasBefore = false;
    for (std::size_t frame = 0; frame < recording.frames(); ++frame) {
        const Way way = wayOf(recording.sample(frame, 1));
        if (way == before) {
            current = {.lastBefore = frame};
            hasBefore = true;
        } else if (way == after && hasBefore) {
            current.firstAfter = frame;
            found = current;
            hasBefore = false;
        } else if (hasBefore) {
            ++(way == Way::silent ? current.silentFrames : current.unknownFrames);
        }
    }
    return found;
}

bool endsWith(const Recording& recording, Way way, std::size_t frames) {
    if (recording.frames() < frames)
        return false;
    for (std::size_t frame = recording.frames() - frames; frame < recording.frames(); ++frame)
        if (wayOf(recording.sample(frame, 1)) != way)
            return false;
    return true;
}

std::int64_t lostFrames(const Recording& recording, const Passage& passage) {
    const auto before = signalCode::decode(recording.sample(passage.lastBefore, 1));
    const auto after = signalCode::decode(recording.sample(passage.firstAfter, 1));
    return static_cast<std::int64_t>(after.value()) - static_cast<std::int64_t>(before.value()) - 1;
}

} // namespace vello::session
