// SPDX-License-Identifier: Apache-2.0
// The port's functions of FakeAudioHardware.
#include "FakeAudioHardware.h"

#include <algorithm>
#include <array>
#include <unistd.h>

namespace vello {

namespace {

/// Async-signal-safe.
void report(int fileDescriptor, char kind, AudioObjectID object) noexcept {
    std::array<unsigned char, 1 + sizeof object> message{static_cast<unsigned char>(kind)};
    std::memcpy(message.data() + 1, &object, sizeof object);
    [[maybe_unused]] const auto written = ::write(fileDescriptor, message.data(), message.size());
}

} // namespace

const std::vector<unsigned char>* FakeAudioHardware::find(AudioObjectID object, PropertyKey key,
                                                          OSStatus& status) const {
    const auto properties = objects_.find(object);
    status = kAudioHardwareBadObjectError;
    if (properties == objects_.end())
        return nullptr;
    const auto found = properties->second.find(key);
    status = kAudioHardwareUnknownPropertyError;
    if (found == properties->second.end())
        return nullptr;
    status = kAudioHardwareNoError;
    return &found->second;
}

OSStatus FakeAudioHardware::getPropertyDataSize(AudioObjectID object,
                                                const AudioObjectPropertyAddress& address,
                                                std::uint32_t& size) const {
    const Lock lock(mutex_);
    OSStatus status = kAudioHardwareNoError;
    const auto* bytes = find(object, {address.mSelector, address.mScope}, status);
    status = scriptedFailure(HardwareCall::getPropertyDataSize, object, address.mSelector).value_or(status);
    if (status == kAudioHardwareNoError)
        size = static_cast<std::uint32_t>(bytes->size());
    return record(HardwareCall::getPropertyDataSize, object, address.mSelector, status);
}

OSStatus FakeAudioHardware::getPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                            std::uint32_t& size, void* data) const {
    const Lock lock(mutex_);
    OSStatus status = kAudioHardwareNoError;
    const auto* bytes = find(object, {address.mSelector, address.mScope}, status);
    status = scriptedFailure(HardwareCall::getPropertyData, object, address.mSelector).value_or(status);
    record(HardwareCall::getPropertyData, object, address.mSelector, status);
    if (status != kAudioHardwareNoError)
        return status;
    size = std::min(size, static_cast<std::uint32_t>(bytes->size()));
    if (size > 0)
        std::memcpy(data, bytes->data(), size);
    const auto waiting = readsUntilAlive_.find(object);
    if (address.mSelector == kAudioDevicePropertyDeviceIsAlive && waiting != readsUntilAlive_.end() &&
        waiting->second > 0) {
        --waiting->second;
        std::memset(data, 0, size);
    }
    return status;
}

OSStatus FakeAudioHardware::setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                            std::uint32_t size, const void* data) {
    const Lock lock(mutex_);
    OSStatus status = kAudioHardwareNoError;
    const auto* bytes = find(object, {address.mSelector, address.mScope}, status);
    if (bytes != nullptr && address.mSelector != kAudioProcessPropertyDownmix &&
        address.mSelector != kAudioHardwarePropertySpareDevice)
        status = kAudioHardwareUnknownPropertyError;
    else if (bytes != nullptr && bytes->size() != size)
        status = kAudioHardwareBadPropertySizeError;
    status = scriptedFailure(HardwareCall::setPropertyData, object, address.mSelector).value_or(status);
    const bool isLater = address.mSelector == kAudioHardwarePropertySpareDevice && !spareIsImmediate_;
    if (status == kAudioHardwareNoError && !isLater) {
        const auto* first = static_cast<const unsigned char*>(data);
        setPropertyBytes(object, address.mSelector, address.mScope, {first, first + size});
    }
    return record(HardwareCall::setPropertyData, object, address.mSelector, status);
}

OSStatus FakeAudioHardware::addPropertyListener(AudioObjectID object,
                                                const AudioObjectPropertyAddress& address,
                                                AudioPropertyListener listener,
                                                AudioPropertyListenerID& listenerID) {
    const Lock lock(mutex_);
    const OSStatus natural = objects_.contains(object) ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
    const OSStatus status =
        scriptedFailure(HardwareCall::addPropertyListener, object, address.mSelector).value_or(natural);
    if (status == kAudioHardwareNoError) {
        listenerID = nextID_++;
        listeners_[listenerID] = {object, {address.mSelector, address.mScope}, std::move(listener)};
    }
    return record(HardwareCall::addPropertyListener, object, address.mSelector, status);
}

OSStatus FakeAudioHardware::removePropertyListener(AudioObjectID object,
                                                   const AudioObjectPropertyAddress& address,
                                                   AudioPropertyListenerID listenerID) {
    const Lock lock(mutex_);
    const bool wasKnown = listeners_.erase(listenerID) > 0 && objects_.contains(object);
    const OSStatus natural = wasKnown ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
    const OSStatus status =
        scriptedFailure(HardwareCall::removePropertyListener, object, address.mSelector).value_or(natural);
    return record(HardwareCall::removePropertyListener, object, address.mSelector, status);
}

void FakeAudioHardware::notify(AudioObjectID object, PropertyKey property) {
    for (const auto& [id, listener] : listeners_)
        if (listener.object == object && listener.property == property)
            mainThread_.post([this, listenerID = id, isAlive = std::weak_ptr(isAlive_)] {
                if (!isAlive.expired())
                    runListener(listenerID);
            });
}

void FakeAudioHardware::runListener(AudioPropertyListenerID id) {
    AudioPropertyListener action;
    {
        const Lock lock(mutex_);
        const auto found = listeners_.find(id);
        if (found != listeners_.end())
            action = found->second.action;
    }
    if (action)
        action();
}

OSStatus FakeAudioHardware::createProcessTap(const TapDescription& description, AudioObjectID& tap) {
    const Lock lock(mutex_);
    tap = kAudioObjectUnknown;
    const auto failure = scriptedFailure(HardwareCall::createProcessTap, 0, 0);
    if (!failure && !consumeCreationWithoutObject(HardwareCall::createProcessTap)) {
        tap = nextObject_++;
        taps_[tap] = description;
        setProperty(tap, kAudioTapPropertyFormat, tapFormat_);
    }
    return record(HardwareCall::createProcessTap, tap, 0, failure.value_or(kAudioHardwareNoError));
}

OSStatus FakeAudioHardware::createAggregateDevice(const AggregateDeviceDescription& description,
                                                  AudioObjectID& device) {
    const Lock lock(mutex_);
    device = kAudioObjectUnknown;
    const auto failure = scriptedFailure(HardwareCall::createAggregateDevice, 0, 0);
    if (!failure && !consumeCreationWithoutObject(HardwareCall::createAggregateDevice)) {
        device = nextObject_++;
        aggregates_[device] = description;
        readsUntilAlive_[device] = readsUntilAliveOfNew_;
        setString(device, kAudioObjectPropertyName, description.name);
        setProperty(device, kAudioDevicePropertyDeviceIsAlive, std::uint32_t{1});
        setProperty(device, kAudioDevicePropertyNominalSampleRate,
                    sampleRateOfDeviceWithUID(description.mainSubDevice));
        const bool isContinued = continuesPredecessors_ && aggregates_.contains(description.predecessor);
        setProperty(device, kAudioDevicePropertyContinuesPredecessor, std::uint32_t{isContinued});
    }
    return record(HardwareCall::createAggregateDevice, device, 0, failure.value_or(kAudioHardwareNoError));
}

OSStatus FakeAudioHardware::createIOProcID(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                                           AudioDeviceIOProcID& procID) {
    const Lock lock(mutex_);
    procID = 0;
    const OSStatus natural = objects_.contains(device) ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
    const OSStatus status = scriptedFailure(HardwareCall::createIOProcID, device, 0).value_or(natural);
    if (status == kAudioHardwareNoError && !consumeCreationWithoutObject(HardwareCall::createIOProcID)) {
        procID = nextID_++;
        ioProcs_[procID] = {device, proc, clientData, false};
    }
    return record(HardwareCall::createIOProcID, device, 0, status);
}

OSStatus FakeAudioHardware::setRunning(HardwareCall call, AudioObjectID device, AudioDeviceIOProcID procID,
                                       bool isRunning) {
    const Lock lock(mutex_);
    const auto found = ioProcs_.find(procID);
    const bool isKnown = found != ioProcs_.end() && found->second.device == device;
    const OSStatus natural = isKnown ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
    const OSStatus status = scriptedFailure(call, device, 0).value_or(natural);
    if (status == kAudioHardwareNoError)
        found->second.isRunning = isRunning;
    return record(call, device, 0, status);
}

OSStatus FakeAudioHardware::startDevice(AudioObjectID device, AudioDeviceIOProcID procID) {
    return setRunning(HardwareCall::startDevice, device, procID, true);
}

void FakeAudioHardware::prepareToTerminate() {
    const Lock lock(mutex_);
    record(HardwareCall::prepareToTerminate, kAudioObjectSystemObject, 0, kAudioHardwareNoError);
}

OSStatus FakeAudioHardware::stopDevice(AudioObjectID device, AudioDeviceIOProcID procID) {
    return setRunning(HardwareCall::stopDevice, device, procID, false);
}

OSStatus FakeAudioHardware::destroyIOProcID(AudioObjectID device, AudioDeviceIOProcID procID) {
    const Lock lock(mutex_);
    const OSStatus natural = ioProcs_.contains(procID) ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
    const OSStatus status = scriptedFailure(HardwareCall::destroyIOProcID, device, 0).value_or(natural);
    if (status == kAudioHardwareNoError)
        ioProcs_.erase(procID);
    return record(HardwareCall::destroyIOProcID, device, 0, status);
}

OSStatus FakeAudioHardware::destroyAggregateDevice(AudioObjectID device) {
    const Lock lock(mutex_);
    const OSStatus natural = objects_.contains(device) ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
    const OSStatus status =
        scriptedFailure(HardwareCall::destroyAggregateDevice, device, 0).value_or(natural);
    if (status == kAudioHardwareNoError)
        removeObject(device);
    return record(HardwareCall::destroyAggregateDevice, device, 0, status);
}

OSStatus FakeAudioHardware::destroyProcessTap(AudioObjectID tap) {
    const Lock lock(mutex_);
    const OSStatus natural = objects_.contains(tap) ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
    const OSStatus status = scriptedFailure(HardwareCall::destroyProcessTap, tap, 0).value_or(natural);
    if (status == kAudioHardwareNoError)
        removeObject(tap);
    return record(HardwareCall::destroyProcessTap, tap, 0, status);
}

void FakeAudioHardware::destroyAggregateDeviceInSignalHandler(AudioObjectID device) noexcept {
    report(signalReport_, 'A', device);
}

void FakeAudioHardware::destroyProcessTapInSignalHandler(AudioObjectID tap) noexcept {
    report(signalReport_, 'T', tap);
}

} // namespace vello
