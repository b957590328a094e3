// SPDX-License-Identifier: Apache-2.0
#include "FakeAudioHardware.h"

#include <algorithm>
#include <array>

namespace vello {

namespace {

constexpr FourCharCode kGlobal = kAudioObjectPropertyScopeGlobal;
constexpr FourCharCode kOutput = kAudioObjectPropertyScopeOutput;
constexpr std::array kLists{kAudioHardwarePropertyDevices, kAudioHardwarePropertyProcessObjectList,
                            kAudioHardwarePropertyExemptStreamList};

template <class T> std::vector<unsigned char> bytesOf(const T* values, std::size_t count) {
    std::vector<unsigned char> bytes(sizeof(T) * count);
    if (count > 0)
        std::memcpy(bytes.data(), values, bytes.size());
    return bytes;
}

std::vector<unsigned char> streamConfiguration(const std::vector<std::uint32_t>& streamChannels) {
    const AudioBufferList header{static_cast<std::uint32_t>(streamChannels.size())};
    std::vector<unsigned char> bytes = bytesOf(&header, 1);
    for (const std::uint32_t channels : streamChannels) {
        const AudioBuffer buffer{channels, 0, nullptr};
        const auto more = bytesOf(&buffer, 1);
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

const char* nameOf(HardwareCall call) {
    static constexpr std::array names{
        "getPropertyDataSize",    "getPropertyData",    "setPropertyData",  "addPropertyListener",
        "removePropertyListener", "prepareToTerminate", "createProcessTap", "createAggregateDevice",
        "createIOProcID",         "startDevice",        "stopDevice",       "destroyIOProcID",
        "destroyAggregateDevice", "destroyProcessTap"};
    return names.at(static_cast<std::size_t>(call));
}

} // namespace

FakeAudioHardware::FakeAudioHardware(MainThread& mainThread) : mainThread_(mainThread) {
    for (const FourCharCode list : kLists)
        objects_[kAudioObjectSystemObject][{list, kGlobal}] = {};
    setProperty(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice, kAudioObjectUnknown);
    setProperty(kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice, std::uint32_t{0});
}

// What exists

AudioObjectID FakeAudioHardware::addDevice(const Device& device) {
    const Lock lock(mutex_);
    const AudioObjectID id = nextObject_++;
    Properties& properties = objects_[id];
    properties[{kAudioDevicePropertyDeviceUID, kGlobal}] = bytesOf(device.uid.data(), device.uid.size());
    properties[{kAudioObjectPropertyName, kGlobal}] = bytesOf(device.name.data(), device.name.size());
    properties[{kAudioDevicePropertyStreamConfiguration, kOutput}] =
        streamConfiguration(device.streamChannels);
    properties[{kAudioDevicePropertyNominalSampleRate, kGlobal}] = bytesOf(&device.sampleRate, 1);
    properties[{kAudioDevicePropertyTransportType, kGlobal}] = bytesOf(&device.transportType, 1);
    appendToList(kAudioHardwarePropertyDevices, id);
    return id;
}

AudioObjectID FakeAudioHardware::addProcess(const Process& process) {
    const Lock lock(mutex_);
    const AudioObjectID id = addProcessProperties(process);
    const std::uint32_t downmix = 0;
    objects_[id][{kAudioProcessPropertyDownmix, kGlobal}] = bytesOf(&downmix, 1);
    appendToList(kAudioHardwarePropertyProcessObjectList, id);
    return id;
}

AudioObjectID FakeAudioHardware::addExemptStream(const ExemptStream& stream) {
    const Lock lock(mutex_);
    const AudioObjectID id = addProcessProperties(stream.process);
    objects_[id][{kAudioObjectPropertyName, kGlobal}] = bytesOf(stream.name.data(), stream.name.size());
    objects_[id][{kAudioStreamPropertyExemption, kGlobal}] = bytesOf(&stream.exemption, 1);
    appendToList(kAudioHardwarePropertyExemptStreamList, id);
    return id;
}

AudioObjectID FakeAudioHardware::addProcessProperties(const Process& process) {
    const AudioObjectID id = nextObject_++;
    const std::uint32_t isRunning = process.isRunningOutput ? 1 : 0;
    Properties& properties = objects_[id];
    properties[{kAudioProcessPropertyPID, kGlobal}] = bytesOf(&process.pid, 1);
    properties[{kAudioProcessPropertyBundleID, kGlobal}] =
        bytesOf(process.bundleID.data(), process.bundleID.size());
    properties[{kAudioProcessPropertyIsRunningOutput, kGlobal}] = bytesOf(&isRunning, 1);
    properties[{kAudioProcessPropertyDevices, kOutput}] =
        bytesOf(process.devices.data(), process.devices.size());
    return id;
}

void FakeAudioHardware::removeObject(AudioObjectID object) {
    const Lock lock(mutex_);
    objects_.erase(object);
    std::erase_if(ioProcs_, [object](const auto& entry) { return entry.second.device == object; });
    removeFromLists(object);
}

void FakeAudioHardware::setDefaultOutputDevice(AudioObjectID device) {
    setProperty(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice, device);
}

void FakeAudioHardware::loseConnection() {
    const Lock lock(mutex_);
    std::erase_if(objects_, [](const auto& entry) { return entry.first != kAudioObjectSystemObject; });
    ioProcs_.clear();
    for (const FourCharCode list : kLists)
        putObjectIDs(kAudioObjectSystemObject, list, kGlobal, {});
    setDefaultOutputDevice(kAudioObjectUnknown);
}

void FakeAudioHardware::setPropertyBytes(AudioObjectID object, FourCharCode selector, FourCharCode scope,
                                         std::vector<unsigned char> bytes) {
    const Lock lock(mutex_);
    objects_[object][{selector, scope}] = std::move(bytes);
    notify(object, {selector, scope});
}

void FakeAudioHardware::setString(AudioObjectID object, FourCharCode selector, std::string_view text) {
    setPropertyBytes(object, selector, kGlobal, bytesOf(text.data(), text.size()));
}

void FakeAudioHardware::setProcessDevices(AudioObjectID process, const std::vector<AudioObjectID>& devices) {
    putObjectIDs(process, kAudioProcessPropertyDevices, kOutput, devices);
}

void FakeAudioHardware::removeProperty(AudioObjectID object, FourCharCode selector, FourCharCode scope) {
    const Lock lock(mutex_);
    objects_[object].erase({selector, scope});
}

void FakeAudioHardware::putObjectIDs(AudioObjectID object, FourCharCode selector, FourCharCode scope,
                                     const std::vector<AudioObjectID>& ids) {
    setPropertyBytes(object, selector, scope, bytesOf(ids.data(), ids.size()));
}

std::vector<AudioObjectID> FakeAudioHardware::objectIDs(FourCharCode list) const {
    const auto& bytes = objects_.at(kAudioObjectSystemObject).at({list, kGlobal});
    std::vector<AudioObjectID> ids(bytes.size() / sizeof(AudioObjectID));
    if (!ids.empty())
        std::memcpy(ids.data(), bytes.data(), bytes.size());
    return ids;
}

void FakeAudioHardware::appendToList(FourCharCode list, AudioObjectID object) {
    auto ids = objectIDs(list);
    ids.push_back(object);
    putObjectIDs(kAudioObjectSystemObject, list, kGlobal, ids);
}

void FakeAudioHardware::removeFromLists(AudioObjectID object) {
    for (const FourCharCode list : kLists) {
        auto ids = objectIDs(list);
        if (std::erase(ids, object) > 0)
            putObjectIDs(kAudioObjectSystemObject, list, kGlobal, ids);
    }
}

double FakeAudioHardware::sampleRateOfDeviceWithUID(const std::string& uid) const {
    for (const auto& [id, properties] : objects_) {
        const auto found = properties.find({kAudioDevicePropertyDeviceUID, kGlobal});
        const auto rate = properties.find({kAudioDevicePropertyNominalSampleRate, kGlobal});
        if (found == properties.end() || rate == properties.end() || rate->second.size() != sizeof(double) ||
            std::string(found->second.begin(), found->second.end()) != uid)
            continue;
        double value = 0;
        std::memcpy(&value, rate->second.data(), sizeof value);
        return value;
    }
    return 0;
}

// What goes wrong

void FakeAudioHardware::fail(const Failure& failure) {
    const Lock lock(mutex_);
    failures_.push_back(failure);
}

void FakeAudioHardware::failCallNumber(std::size_t callsBefore, OSStatus status) {
    const Lock lock(mutex_);
    failingCallNumber_ = {callsBefore, status};
}

void FakeAudioHardware::stopFailing() {
    const Lock lock(mutex_);
    failures_.clear();
    failingCallNumber_.reset();
}

void FakeAudioHardware::answerWithoutObject(HardwareCall creation) {
    const Lock lock(mutex_);
    withoutObject_.insert(creation);
}

void FakeAudioHardware::setReadsUntilAlive(int reads) {
    const Lock lock(mutex_);
    readsUntilAliveOfNew_ = reads;
}

void FakeAudioHardware::setContinuesPredecessors(bool isContinued) {
    const Lock lock(mutex_);
    continuesPredecessors_ = isContinued;
}

void FakeAudioHardware::setSpareIsImmediate(bool isImmediate) {
    const Lock lock(mutex_);
    spareIsImmediate_ = isImmediate;
}

void FakeAudioHardware::setTapFormat(const AudioStreamBasicDescription& format) {
    const Lock lock(mutex_);
    tapFormat_ = format;
}

AudioStreamBasicDescription FakeAudioHardware::floatFormat(std::uint32_t channels, double sampleRate) {
    const auto bytesPerFrame = static_cast<std::uint32_t>(channels * sizeof(float));
    return {sampleRate,
            kAudioFormatLinearPCM,
            kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked,
            bytesPerFrame,
            1,
            bytesPerFrame,
            channels,
            32,
            0};
}

std::optional<OSStatus> FakeAudioHardware::scriptedFailure(HardwareCall call, AudioObjectID object,
                                                           FourCharCode selector) const {
    if (failingCallNumber_ && failingCallNumber_->first-- == 0)
        return std::exchange(failingCallNumber_, std::nullopt)->second;
    for (Failure& failure : failures_)
        if (failure.call == call && failure.object.value_or(object) == object &&
            failure.selector.value_or(selector) == selector && failure.times > 0) {
            --failure.times;
            return failure.status;
        }
    return std::nullopt;
}

bool FakeAudioHardware::consumeCreationWithoutObject(HardwareCall call) {
    return withoutObject_.erase(call) > 0;
}

// What happened

OSStatus FakeAudioHardware::record(HardwareCall call, AudioObjectID object, FourCharCode selector,
                                   OSStatus status) const {
    calls_.push_back({call, object, selector, status});
    if (onCall_)
        onCall_(calls_.back());
    return status;
}

void FakeAudioHardware::setOnCall(std::function<void(const Call&)> onCall) {
    const Lock lock(mutex_);
    onCall_ = std::move(onCall);
}

std::vector<FakeAudioHardware::Call> FakeAudioHardware::calls() const {
    const Lock lock(mutex_);
    return calls_;
}

std::vector<std::string> FakeAudioHardware::actions() const {
    std::vector<std::string> actions;
    for (const Call& call : calls())
        if (call.call >= HardwareCall::createProcessTap)
            actions.push_back(std::string(nameOf(call.call)) + " " + std::to_string(call.object) +
                              (call.status == kAudioHardwareNoError ? "" : " failed"));
    return actions;
}

void FakeAudioHardware::clearCalls() {
    const Lock lock(mutex_);
    calls_.clear();
}

std::size_t FakeAudioHardware::listenerCount(AudioObjectID object, FourCharCode selector) const {
    const Lock lock(mutex_);
    return static_cast<std::size_t>(std::ranges::count_if(listeners_, [&](const auto& entry) {
        return entry.second.object == object && entry.second.property.first == selector;
    }));
}

std::vector<AudioObjectID> FakeAudioHardware::liveTaps() const {
    const Lock lock(mutex_);
    std::vector<AudioObjectID> live;
    for (const auto& [id, description] : taps_)
        if (objects_.contains(id))
            live.push_back(id);
    return live;
}

std::vector<AudioObjectID> FakeAudioHardware::liveAggregates() const {
    const Lock lock(mutex_);
    std::vector<AudioObjectID> live;
    for (const auto& [id, description] : aggregates_)
        if (objects_.contains(id))
            live.push_back(id);
    return live;
}

std::size_t FakeAudioHardware::liveIOProcCount() const {
    const Lock lock(mutex_);
    return ioProcs_.size();
}

TapDescription FakeAudioHardware::tapDescription(AudioObjectID tap) const {
    const Lock lock(mutex_);
    return taps_.at(tap);
}

AggregateDeviceDescription FakeAudioHardware::aggregateDescription(AudioObjectID device) const {
    const Lock lock(mutex_);
    return aggregates_.at(device);
}

std::optional<FakeAudioHardware::IOProc> FakeAudioHardware::ioProcOf(AudioObjectID device) const {
    const Lock lock(mutex_);
    for (const auto& [id, ioProc] : ioProcs_)
        if (ioProc.device == device)
            return ioProc;
    return std::nullopt;
}

bool FakeAudioHardware::runCycle(AudioObjectID device, const AudioBufferList& input,
                                 AudioBufferList& output) const {
    const auto ioProc = ioProcOf(device);
    if (!ioProc || !ioProc->isRunning)
        return false;
    return ioProc->proc(device, &input, &output, ioProc->clientData) == kAudioHardwareNoError;
}

} // namespace vello
