// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace vello {

/// The live taps and their aggregate devices, readable from a signal handler at any time.
///
/// Slot i of both arrays describes one tap; 0 means free. A signal handler may see a pair that is only half
/// written. add() and remove() lock each other out and must not be called from a signal handler.
class CrashGuardRegistry {
public:
    static constexpr std::size_t slotCount = 64;

    /// Uses the first free slot. If all slots are in use, the pair is dropped and that tap has no crash
    /// protection.
    void add(AudioObjectID aggregate, AudioObjectID tap) noexcept;
    /// Frees the first slot that holds exactly this pair, if any.
    void remove(AudioObjectID aggregate, AudioObjectID tap) noexcept;
    void clear() noexcept;

    /// Destroys every aggregate device and then every tap, in slot order. Async-signal-safe: it tries the
    /// lock once, does not wait for it, and never releases it, because the process is about to exit.
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

/// Destroys the registered taps and aggregate devices when a signal ends the process, so that the captured
/// applications do not stay silent. The signal then takes its default action.
///
/// Process-wide, because signal handlers are. Main thread only.
class CrashGuard {
public:
    /// Clears the registry and installs the handler for the fatal and terminating signals. Later calls do
    /// nothing. `hardware` must outlive every registered pair.
    static void install(AudioHardware& hardware);
    static void registerPair(AudioObjectID aggregate, AudioObjectID tap);
    static void unregisterPair(AudioObjectID aggregate, AudioObjectID tap);

    static const CrashGuardRegistry& registry();
};

} // namespace vello
