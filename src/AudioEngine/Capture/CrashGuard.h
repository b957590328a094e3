// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace vello {

/// The live taps and their aggregate devices, so kept that a signal handler can read them at any moment.
///
/// Slot i of both arrays describes one tap; 0 is free. A pair that is just being written may be seen half
/// done. Adding and removing wait for each other; they come from the main thread and never from a signal
/// handler.
class CrashGuardRegistry {
public:
    static constexpr std::size_t slotCount = 64;

    /// Takes the first free slot. With all slots taken the pair is not kept: such a tap has no crash
    /// protection.
    void add(AudioObjectID aggregate, AudioObjectID tap) noexcept;
    /// Frees the first slot that holds exactly this pair, if there is one.
    void remove(AudioObjectID aggregate, AudioObjectID tap) noexcept;
    void clear() noexcept;

    /// Destroys every aggregate device and then every tap, each in the order of the slots. Safe in a signal
    /// handler: it tries the lock, never waits for it, and does not let go of it, since the process is about
    /// to end.
    void destroyAllInSignalHandler(AudioHardware& hardware) noexcept;

    AudioObjectID aggregateSlot(std::size_t index) const noexcept { return aggregateSlots_[index].load(); }
    AudioObjectID tapSlot(std::size_t index) const noexcept { return tapSlots_[index].load(); }

private:
    using Slots = std::array<std::atomic<AudioObjectID>, slotCount>;
    static_assert(std::atomic<AudioObjectID>::is_always_lock_free);
    class Guard;

    void replaceFirst(AudioObjectID aggregate, AudioObjectID tap, AudioObjectID newAggregate,
                      AudioObjectID newTap) noexcept;

    Slots aggregateSlots_{};
    Slots tapSlots_{};
    std::atomic_flag registryLock_{};
};

/// Destroys the registered taps and aggregate devices when a signal ends the process, before the signal takes
/// its normal course: the applications whose sound was captured must not stay silent.
///
/// Process-wide, since signal handlers are. Main thread only.
class CrashGuard {
public:
    /// The first call empties the registry and installs the handler for the fatal and terminating signals;
    /// further calls do nothing. `hardware` has to live as long as anything is registered.
    static void install(AudioHardware& hardware);
    static void registerPair(AudioObjectID aggregate, AudioObjectID tap);
    static void unregisterPair(AudioObjectID aggregate, AudioObjectID tap);

    static const CrashGuardRegistry& registry();
};

} // namespace vello
