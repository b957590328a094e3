// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/ProcessTap.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "AudioEngine/Capture/CrashGuard.h"
#include "AudioEngine/Realtime/EQDSP.h"
#include "Foundation/DisplayText.h"
#include "Foundation/Precondition.h"
#include "Foundation/Product.h"
#include "Foundation/RandomUUID.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr int kLivenessAttempts = 40;
constexpr auto kLivenessPeriod = 50ms;
/// The I/O callback may still be using a replaced snapshot. A cycle is much shorter than this.
constexpr auto kSnapshotGracePeriod = 500ms;

void check(OSStatus status, bool hasResult, const char* operation) {
    if (status != kAudioHardwareNoError || !hasResult)
        throw CoreAudioError::status(status, operation);
}

/// Hz, with one decimal unless the rate is an integer.
std::string rateText(double sampleRate) {
    const int decimals = sampleRate == std::floor(sampleRate) ? 0 : 1;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, sampleRate);
    return text.data();
}

/// Runs a copy, because the action may remove itself.
void run(const ProcessTap::Action& action) {
    if (const auto copy = action)
        copy();
}

/// The model keeps any value, and a settings file or a shared preset may hold any. What is made audible stays
/// within what `vello render` accepts, so that a slip of the pen does not hurt ears or loudspeakers.
constexpr double kLargestVolume = 16; // linear
constexpr double kLargestGain = 24;   // dB, in either direction

float linearVolume(const EQSettings& settings) {
    return static_cast<float>(std::clamp(settings.volume, -kLargestVolume, kLargestVolume));
}

EQSettings audible(EQSettings settings) {
    for (double& gain : settings.bandGains)
        gain = std::clamp(gain, -kLargestGain, kLargestGain);
    return settings;
}

} // namespace

ProcessTap::ProcessTap(TapServices services, Target target, std::string label, EQSettings initialSettings,
                       std::optional<Succession> succession)
    : services_(services), target_(std::move(target)), label_(std::move(label)),
      logger_(services.log, kBundleIdentifier, "ProcessTap"), settings_(std::move(initialSettings)),
      outputDeviceUID_(settings_.outputDeviceUID), succession_(std::move(succession)) {}

ProcessTap::~ProcessTap() {
    invalidate();
}

double ProcessTap::sampleRate() const {
    if (processingSampleRate_ > 0)
        return processingSampleRate_;
    return streamDescription_ ? streamDescription_->mSampleRate : 0;
}

bool ProcessTap::formatSupportsEQ(const AudioStreamBasicDescription& format) {
    return format.mFormatID == kAudioFormatLinearPCM &&
           (format.mFormatFlags & kAudioFormatFlagIsFloat) != 0 &&
           (format.mFormatFlags & kAudioFormatFlagIsNonInterleaved) == 0 && format.mBitsPerChannel == 32 &&
           (format.mChannelsPerFrame == 1 || format.mChannelsPerFrame == 2);
}

// Activation

void ProcessTap::activate(ActivationCompletion completion) {
    precondition(tapID_ == kAudioObjectUnknown, "A tap is activated once.");
    activationCompletion_ = std::move(completion);
    runActivationStep([this] {
        if (isInvalidated_)
            return ActivationStep::last;
        const std::string tapUUID = createTap();
        streamDescription_ = readTapStreamBasicDescription(services_.hardware, tapID_);
        createAggregateDevice(tapUUID);
        CrashGuard::registerPair(aggregateDeviceID_, tapID_);
        return waitUntilAggregateIsAlive(1);
    });
}

/// Do not access the tap after the last step: the completion may have destroyed it.
template <class Step> void ProcessTap::runActivationStep(Step step) {
    std::optional<CoreAudioError> failure;
    try {
        if (step() == ActivationStep::waiting)
            return;
    } catch (const CoreAudioError& error) {
        failure = error;
        invalidate();
    }
    if (const auto completion = std::exchange(activationCompletion_, nullptr))
        completion(std::move(failure));
}

std::string ProcessTap::createTap() {
    TapDescription description;
    if (const auto* processes = std::get_if<Processes>(&target_)) {
        description.mixdown = TapMixdown::stereoOfProcesses;
        description.processes = processes->ids;
    } else {
        description.mixdown = TapMixdown::stereoGlobalButExclude;
        description.processes = std::get<GlobalExcluding>(target_).ids;
    }
    description.uuid = randomUUID();
    description.muteBehavior = TapMuteBehavior::mutedWhenTapped;
    description.isPrivate = true;
    const OSStatus status = services_.hardware.createProcessTap(description, tapID_);
    check(status, tapID_ != kAudioObjectUnknown, "AudioHardwareCreateProcessTap");
    return description.uuid;
}

void ProcessTap::createAggregateDevice(const std::string& tapUUID) {
    const auto description = describeAggregateDevice(tapUUID);
    const OSStatus status = services_.hardware.createAggregateDevice(description, aggregateDeviceID_);
    check(status, aggregateDeviceID_ != kAudioObjectUnknown, "AudioHardwareCreateAggregateDevice");
}

AggregateDeviceDescription ProcessTap::describeAggregateDevice(const std::string& tapUUID) {
    const OutputChoice output = chooseOutputDevice();
    outputDeviceUID_ = settings_.outputDeviceUID;
    resolvedOutputDeviceUID_ = readString(services_.hardware, output.device, kAudioDevicePropertyDeviceUID);

    AggregateDeviceDescription description;
    description.name = kTapNamePrefix + boundedName(label_);
    description.uid = randomUUID();
    description.mainSubDevice = *resolvedOutputDeviceUID_;
    description.isMainSubDeviceChosen = output.isFromSettings;
    description.isPrivate = true;
    description.isStacked = false;
    description.tapAutoStart = true;
    description.subDevices = {*resolvedOutputDeviceUID_};
    description.taps = {{tapUUID, !isBluetoothDevice(services_.hardware, output.device)}};
    description.predecessor = succession_ ? succession_->aggregateDevice : kAudioObjectUnknown;
    return description;
}

ProcessTap::ActivationStep ProcessTap::waitUntilAggregateIsAlive(int attempt) {
    if (isInvalidated_)
        return ActivationStep::last;
    if (attempt > kLivenessAttempts)
        throw CoreAudioError::invalidObject("Aggregate device for " + label_ + " never became alive");
    if (isDeviceAlive())
        return startProcessing();
    if (!livenessObserver_)
        livenessObserver_ = std::make_unique<CoreAudioPropertyObserver>(
            services_.hardware, services_.log, aggregateDeviceID_, kAudioDevicePropertyDeviceIsAlive,
            kAudioObjectPropertyScopeGlobal, [this] { checkLivenessAfter(0ms, livenessAttempt_); });
    prepareRing();
    checkLivenessAfter(kLivenessPeriod, attempt + 1);
    return ActivationStep::waiting;
}

void ProcessTap::checkLivenessAfter(MainThread::Duration delay, int attempt) {
    livenessAttempt_ = attempt;
    livenessTask_ = services_.mainThread.after(delay, [this, attempt] {
        runActivationStep([this, attempt] { return waitUntilAggregateIsAlive(attempt); });
    });
}

bool ProcessTap::isDeviceAlive() const {
    const auto alive = attempt([this] {
        return readProperty<std::uint32_t>(services_.hardware, aggregateDeviceID_,
                                           kAudioDevicePropertyDeviceIsAlive);
    });
    return alive.value_or(0) != 0;
}

void ProcessTap::checkConnection() {
    if (connection_)
        connection_->check();
}

ProcessTap::ActivationStep ProcessTap::startProcessing() {
    drop(livenessObserver_);
    // The format may have changed since the tap was created, because it depends on the chosen device.
    streamDescription_ = attempt([this] {
                             return readTapStreamBasicDescription(services_.hardware, tapID_);
                         }).value_or(*streamDescription_);
    processingSampleRate_ = attempt([this] {
                                return readNominalSampleRate(services_.hardware, aggregateDeviceID_);
                            }).value_or(streamDescription_->mSampleRate);
    createRealtimeContext();
    startCallback();
    activatedAt_ = services_.mainThread.now();
    installObservers();
    logger_.notice("Tap running for " + label_ + " (tap #" + std::to_string(tapID_) + ", aggregate #" +
                   std::to_string(aggregateDeviceID_) + ", " + rateText(processingSampleRate_) + " Hz)");
    return ActivationStep::last;
}

/// The system takes milliseconds for this memory. While the device is not alive they delay no sound.
void ProcessTap::prepareRing() {
    if (!ringMemory_)
        ringMemory_.emplace(TapRealtimeContext::ringCapacity);
}

void ProcessTap::createRealtimeContext() {
    const bool supportsEQ = formatSupportsEQ(*streamDescription_);
    if (!supportsEQ)
        logger_.error("Tap format for " + label_ +
                      " is not interleaved Float32; EQ bypassed, passthrough only");
    const auto channels = static_cast<int>(streamDescription_->mChannelsPerFrame);
    prepareRing();
    realtimeContext_ =
        supportsEQ && isDeviceContinued()
            ? std::make_shared<TapRealtimeContext>(succession_->filters, linearVolume(settings_),
                                                   std::move(*ringMemory_))
            : std::make_shared<TapRealtimeContext>(supportsEQ, channels, linearVolume(settings_),
                                                   services_.kernel, std::move(*ringMemory_));
    ringMemory_.reset();
    succession_.reset();
    publishSnapshot();
}

bool ProcessTap::isDeviceContinued() const {
    return succession_ && attempt([this] {
                              return readProperty<std::uint32_t>(services_.hardware, aggregateDeviceID_,
                                                                 kAudioDevicePropertyContinuesPredecessor);
                          }).value_or(0) != 0;
}

void ProcessTap::startCallback() {
    AudioHardware& hardware = services_.hardware;
    OSStatus status = hardware.createIOProcID(aggregateDeviceID_, eqByQUORVINProcessIOProc,
                                              realtimeContext_.get(), ioProcID_);
    check(status, ioProcID_ != 0, "AudioDeviceCreateIOProcID");
    status = hardware.startDevice(aggregateDeviceID_, ioProcID_);
    check(status, true, "AudioDeviceStart");
}

void ProcessTap::installObservers() {
    tapFormatObserver_ = std::make_unique<CoreAudioPropertyObserver>(
        services_.hardware, services_.log, tapID_, kAudioTapPropertyFormat, kAudioObjectPropertyScopeGlobal,
        [this] { run(onStreamFormatChange_); });
    connection_ = std::make_unique<TapConnection>(services_, aggregateDeviceID_, label_,
                                                  [this] { run(onConnectionChange_); });
    const auto* processes = std::get_if<Processes>(&target_);
    if (!processes)
        return;
    for (const AudioObjectID process : processes->ids)
        if (attempt([&] {
                return readProperty<std::int32_t>(services_.hardware, process, kAudioProcessPropertyPID);
            }))
            appDeviceObservers_.push_back(std::make_unique<CoreAudioPropertyObserver>(
                services_.hardware, services_.log, process, kAudioProcessPropertyDevices,
                kAudioObjectPropertyScopeOutput, [this] {
                    if (automaticRouteWouldChangeDevice())
                        run(onAppOutputDeviceChange_);
                }));
}

// Output device

bool ProcessTap::isBluetoothDevice(const AudioHardware& hardware, AudioObjectID device) {
    const auto transport = attempt([&] { return readTransportType(hardware, device); });
    return transport == kAudioDeviceTransportTypeBluetooth ||
           transport == kAudioDeviceTransportTypeBluetoothLE;
}

ProcessTap::OutputChoice ProcessTap::chooseOutputDevice() const {
    if (settings_.outputDeviceUID)
        if (const auto chosen =
                attempt([this] { return readOutputDevice(services_.hardware, *settings_.outputDeviceUID); }))
            return {*chosen, true};
    return {automaticOutputDevice(), false};
}

AudioObjectID ProcessTap::automaticOutputDevice() const {
    if (const auto* processes = std::get_if<Processes>(&target_))
        if (const auto device = readProcessOutputDevice(services_.hardware, processes->ids))
            return *device;
    return readDefaultOutputDevice(services_.hardware);
}

bool ProcessTap::automaticRouteWouldChangeDevice() const {
    if (isInvalidated_ || settings_.outputDeviceUID || !std::holds_alternative<Processes>(target_))
        return false;
    const auto uid = attempt([this] {
        return readString(services_.hardware, automaticOutputDevice(), kAudioDevicePropertyDeviceUID);
    });
    return uid != resolvedOutputDeviceUID_;
}

// Settings

void ProcessTap::applySettings(const EQSettings& settings) {
    if (isInvalidated_)
        return;
    settings_ = settings;
    outputDeviceUID_ = settings.outputDeviceUID;
    if (!realtimeContext_)
        return;
    realtimeContext_->setVolumeTarget(linearVolume(settings_));
    publishSnapshot();
}

void ProcessTap::publishSnapshot() {
    if (!realtimeContext_ || !realtimeContext_->supportsEQ || !(sampleRate() > 0))
        return;
    auto previous = std::exchange(currentSnapshot_,
                                  std::make_shared<const EQChainSnapshot>(audible(settings_), sampleRate()));
    realtimeContext_->snapshotPointer.store(currentSnapshot_.get(), std::memory_order_release);
    if (previous)
        retire(std::move(previous));
}

void ProcessTap::retire(std::shared_ptr<const EQChainSnapshot> snapshot) {
    auto release = services_.mainThread.after(kSnapshotGracePeriod, [this, retired = snapshot.get()] {
        std::erase_if(retiredSnapshots_,
                      [retired](const RetiredSnapshot& entry) { return entry.snapshot.get() == retired; });
    });
    retiredSnapshots_.push_back({std::move(snapshot), std::move(release)});
}

// Teardown

std::optional<ProcessTap::Succession> ProcessTap::succession() const {
    if (tapID_ == kAudioObjectUnknown)
        return succession_; // replaced before its activation
    if (!realtimeContext_ || !realtimeContext_->supportsEQ)
        return std::nullopt;
    return Succession{aggregateDeviceID_, realtimeContext_->rt};
}

void ProcessTap::invalidate() {
    if (isInvalidated_)
        return;
    isInvalidated_ = true;
    dropObservers();
    if (aggregateDeviceID_ != kAudioObjectUnknown || tapID_ != kAudioObjectUnknown)
        CrashGuard::unregisterPair(aggregateDeviceID_, tapID_);
    services_.teardownQueue.submit([&hardware = services_.hardware,
                                    teardownLogger = Logger(services_.log, kBundleIdentifier, "ProcessTap"),
                                    aggregateDevice = std::exchange(aggregateDeviceID_, kAudioObjectUnknown),
                                    ioProc = std::exchange(ioProcID_, 0),
                                    tap = std::exchange(tapID_, kAudioObjectUnknown),
                                    handles = takeTeardownHandles()]() mutable {
        tearDownBlocking(hardware, teardownLogger, aggregateDevice, ioProc, tap, handles);
    });
    streamDescription_.reset();
    outputDeviceUID_.reset();
    resolvedOutputDeviceUID_.reset();
    activatedAt_.reset();
    processingSampleRate_ = 0;
}

void ProcessTap::dropObservers() {
    drop(livenessObserver_);
    drop(tapFormatObserver_);
    onStreamFormatChange_ = nullptr;
    connection_.reset();
    onConnectionChange_ = nullptr;
    for (auto& observer : appDeviceObservers_)
        drop(observer);
    appDeviceObservers_.clear();
    onAppOutputDeviceChange_ = nullptr;
}

ProcessTap::TeardownHandles ProcessTap::takeTeardownHandles() {
    TeardownHandles handles{std::move(realtimeContext_), {}};
    if (currentSnapshot_)
        handles.snapshots.push_back(std::move(currentSnapshot_));
    for (RetiredSnapshot& retired : retiredSnapshots_)
        handles.snapshots.push_back(std::move(retired.snapshot));
    retiredSnapshots_.clear();
    return handles;
}

void ProcessTap::tearDownBlocking(AudioHardware& hardware, const Logger& teardownLogger,
                                  AudioObjectID aggregateDevice, AudioDeviceIOProcID ioProc,
                                  AudioObjectID tap, TeardownHandles& handles) {
    const auto logFailure = [&](OSStatus status, const char* operation) {
        if (status != kAudioHardwareNoError)
            teardownLogger.error(std::string(operation) + " failed: " + std::to_string(status));
    };
    if (aggregateDevice != kAudioObjectUnknown && ioProc != 0) {
        logFailure(hardware.stopDevice(aggregateDevice, ioProc), "AudioDeviceStop");
        logFailure(hardware.destroyIOProcID(aggregateDevice, ioProc), "AudioDeviceDestroyIOProcID");
    }
    if (aggregateDevice != kAudioObjectUnknown)
        logFailure(hardware.destroyAggregateDevice(aggregateDevice), "AudioHardwareDestroyAggregateDevice");
    if (tap != kAudioObjectUnknown)
        logFailure(hardware.destroyProcessTap(tap), "AudioHardwareDestroyProcessTap");
    // Free these last: only now is it certain that the callback does not run.
    handles.context.reset();
    handles.snapshots.clear();
}

} // namespace vello
