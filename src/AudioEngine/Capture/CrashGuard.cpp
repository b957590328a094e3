// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/CrashGuard.h"

#include <csignal>
#include <thread>

namespace vello {

/// Scoped lock.
class CrashGuardRegistry::Guard {
public:
    explicit Guard(std::atomic_flag& lock) noexcept : lock_(lock) {
        while (lock_.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    ~Guard() { lock_.clear(std::memory_order_release); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    std::atomic_flag& lock_;
};

void CrashGuardRegistry::add(AudioObjectID aggregate, AudioObjectID tap) noexcept {
    replaceFirst(kAudioObjectUnknown, kAudioObjectUnknown, aggregate, tap);
}

void CrashGuardRegistry::remove(AudioObjectID aggregate, AudioObjectID tap) noexcept {
    replaceFirst(aggregate, tap, kAudioObjectUnknown, kAudioObjectUnknown);
}

void CrashGuardRegistry::replaceFirst(AudioObjectID aggregate, AudioObjectID tap, AudioObjectID newAggregate,
                                      AudioObjectID newTap) noexcept {
    const Guard guard(registryLock_);
    for (std::size_t i = 0; i < slotCount; ++i) {
        if (aggregateSlots_[i] != aggregate || tapSlots_[i] != tap)
            continue;
        aggregateSlots_[i] = newAggregate;
        tapSlots_[i] = newTap;
        return;
    }
}

void CrashGuardRegistry::clear() noexcept {
    const Guard guard(registryLock_);
    for (auto* slots : {&aggregateSlots_, &tapSlots_})
        for (auto& slot : *slots)
            slot = kAudioObjectUnknown;
}

void CrashGuardRegistry::destroyAllInSignalHandler(AudioHardware& hardware) noexcept {
    registryLock_.test_and_set(std::memory_order_acquire);
    for (const auto& slot : aggregateSlots_)
        if (const AudioObjectID aggregate = slot)
            hardware.destroyAggregateDeviceInSignalHandler(aggregate);
    for (const auto& slot : tapSlots_)
        if (const AudioObjectID tap = slot)
            hardware.destroyProcessTapInSignalHandler(tap);
}

namespace {

constinit CrashGuardRegistry sharedRegistry;
constinit std::atomic<AudioHardware*> sharedHardware{nullptr};
constinit bool isInstalled = false;

constexpr std::array kSignals{SIGABRT, SIGSEGV, SIGBUS, SIGTRAP, SIGILL, SIGTERM, SIGINT, SIGHUP};

extern "C" void crashGuardSignalHandler(int signal) {
    // Restore the default disposition, so that a second signal, and the one raised below, end the process.
    std::signal(signal, SIG_DFL);
    if (AudioHardware* const hardware = sharedHardware)
        sharedRegistry.destroyAllInSignalHandler(*hardware);
    std::raise(signal);
}

} // namespace

void CrashGuard::install(AudioHardware& hardware) {
    if (isInstalled)
        return;
    isInstalled = true;
    sharedRegistry.clear();
    sharedHardware = &hardware;
    for (const int signal : kSignals)
        std::signal(signal, crashGuardSignalHandler);
}

void CrashGuard::registerPair(AudioObjectID aggregate, AudioObjectID tap) {
    sharedRegistry.add(aggregate, tap);
}

void CrashGuard::unregisterPair(AudioObjectID aggregate, AudioObjectID tap) {
    sharedRegistry.remove(aggregate, tap);
}

const CrashGuardRegistry& CrashGuard::registry() {
    return sharedRegistry;
}

} // namespace vello
