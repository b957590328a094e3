// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioError.h"
#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "AudioEngine/Capture/TapConnection.h"
#include "AudioEngine/Capture/TapServices.h"
#include "AudioEngine/Realtime/EQChainSnapshot.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"
#include "Models/EQSettings.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vello {

/// One application's sound, captured, equalized and played on an output device: a process tap, a private
/// aggregate device of the tap and the output, the I/O callback on it, and the settings in force.
///
/// Main thread only. A tap is activated once and invalidated once; after that every operation does nothing.
/// Only the blocking calls of its teardown run elsewhere, on the teardown queue.
class ProcessTap {
public:
    /// Exactly these process objects, as one stereo mix.
    struct Processes {
        std::vector<AudioObjectID> ids;
        friend bool operator==(const Processes&, const Processes&) = default;
    };
    /// Everything that plays but these, as one stereo mix.
    struct GlobalExcluding {
        std::vector<AudioObjectID> ids;
        friend bool operator==(const GlobalExcluding&, const GlobalExcluding&) = default;
    };
    using Target = std::variant<Processes, GlobalExcluding>;
    using Action = std::function<void()>;
    /// Nothing: the tap runs, or was invalidated on the way.
    using ActivationCompletion = std::function<void(std::optional<CoreAudioError>)>;

    /// Creates nothing on the platform yet. `label` names the source for people.
    ProcessTap(TapServices services, Target target, std::string label, EQSettings initialSettings);
    /// Invalidates.
    ~ProcessTap();
    ProcessTap(const ProcessTap&) = delete;
    ProcessTap& operator=(const ProcessTap&) = delete;

    /// Builds and starts everything. `completion` runs once, inside this call or up to some 2 seconds later,
    /// and may drop the tap; it never runs when the tap is dropped first. A failure has invalidated the tap.
    /// A tap that has been activated before ends the process.
    void activate(ActivationCompletion completion);
    /// Puts settings in force without interrupting the sound. A change of the output device takes a new tap.
    void applySettings(const EQSettings& settings);
    /// The tap follows the application's own output, and that is no longer the device in use.
    bool automaticRouteWouldChangeDevice() const;
    /// Takes everything down. The platform's part of it happens a moment later on the teardown queue.
    void invalidate();

    /// Runs on a change of the tap's stream format, until the tap is invalidated.
    void setOnStreamFormatChange(Action action) { onStreamFormatChange_ = std::move(action); }
    /// Runs when the application moved its output to another device and this tap follows it, until
    /// invalidated.
    void setOnAppOutputDeviceChange(Action action) { onAppOutputDeviceChange_ = std::move(action); }

    /// Runs when isStillConnecting() may have changed, until the tap is invalidated.
    void setOnConnectionChange(Action action) { onConnectionChange_ = std::move(action); }

    const Target& target() const { return target_; }
    const std::string& label() const { return label_; }
    const EQSettings& settings() const { return settings_; }
    bool isInvalidated() const { return isInvalidated_; }
    /// kAudioObjectUnknown while there is none; so for the aggregate device.
    AudioObjectID tapID() const { return tapID_; }
    AudioObjectID aggregateDeviceID() const { return aggregateDeviceID_; }
    /// Shared with the I/O callback; null until the tap runs and after it was invalidated.
    const std::shared_ptr<TapRealtimeContext>& realtimeContext() const { return realtimeContext_; }
    /// What the I/O callback filters with; null as the context is, and where the sound cannot be processed.
    const std::shared_ptr<const EQChainSnapshot>& currentSnapshot() const { return currentSnapshot_; }
    /// It runs, but the audio system has not connected its device, or not yet: it carries nothing.
    bool isStillConnecting() const { return connection_ && !connection_->isConnected(); }
    /// Looks for a change of it that was not announced, for the log.
    void checkConnection();
    /// When the activation was done.
    std::optional<MainThread::Instant> activatedAt() const { return activatedAt_; }
    /// The output device that the settings ask for, and the one in use.
    const std::optional<std::string>& outputDeviceUID() const { return outputDeviceUID_; }
    const std::optional<std::string>& resolvedOutputDeviceUID() const { return resolvedOutputDeviceUID_; }
    /// Hz; 0 while it is unknown.
    double sampleRate() const;

    /// The sound can be processed: interleaved 32-bit float in 1 or 2 channels. Any other passes through as
    /// it is.
    static bool formatSupportsEQ(const AudioStreamBasicDescription& format);
    /// A device that cannot tell how it is connected counts as not.
    static bool isBluetoothDevice(const AudioHardware& hardware, AudioObjectID device);

private:
    struct OutputChoice {
        AudioObjectID device;
        bool isFromSettings;
    };
    struct RetiredSnapshot {
        std::shared_ptr<const EQChainSnapshot> snapshot;
        TaskHandle release;
    };
    /// What the I/O callback may touch until it is destroyed.
    struct TeardownHandles {
        std::shared_ptr<TapRealtimeContext> context;
        std::vector<std::shared_ptr<const EQChainSnapshot>> snapshots;
    };

    enum class ActivationStep { waiting, last };

    template <class Step> void runActivationStep(Step step);
    std::string createTap();
    void createAggregateDevice(const std::string& tapUUID);
    AggregateDeviceDescription describeAggregateDevice(const std::string& tapUUID);
    ActivationStep waitUntilAggregateIsAlive(int attempt);
    bool isAggregateAlive() const;
    ActivationStep startProcessing();
    void createRealtimeContext();
    void startCallback();
    void installObservers();

    OutputChoice chooseOutputDevice() const;
    AudioObjectID automaticOutputDevice() const;
    std::optional<AudioObjectID> appOutputDevice() const;

    void publishSnapshot();
    void retire(std::shared_ptr<const EQChainSnapshot> snapshot);

    void dropObservers();
    TeardownHandles takeTeardownHandles();
    static void tearDownBlocking(AudioHardware& hardware, const Logger& teardownLogger,
                                 AudioObjectID aggregateDevice, AudioDeviceIOProcID ioProc, AudioObjectID tap,
                                 TeardownHandles& handles);

    TapServices services_;
    Target target_;
    std::string label_;
    Logger logger_;
    AudioObjectID tapID_ = kAudioObjectUnknown;
    AudioObjectID aggregateDeviceID_ = kAudioObjectUnknown;
    AudioDeviceIOProcID ioProcID_ = 0;
    std::unique_ptr<CoreAudioPropertyObserver> tapFormatObserver_;
    std::unique_ptr<TapConnection> connection_; ///< while the callback is started
    bool isInvalidated_ = false;
    Action onStreamFormatChange_;
    Action onAppOutputDeviceChange_;
    Action onConnectionChange_;
    EQSettings settings_;
    std::shared_ptr<const EQChainSnapshot> currentSnapshot_;
    std::vector<RetiredSnapshot> retiredSnapshots_;
    std::vector<std::unique_ptr<CoreAudioPropertyObserver>> appDeviceObservers_;
    std::shared_ptr<TapRealtimeContext> realtimeContext_;
    std::optional<AudioStreamBasicDescription> streamDescription_;
    std::optional<MainThread::Instant> activatedAt_;
    std::optional<std::string> outputDeviceUID_;
    std::optional<std::string> resolvedOutputDeviceUID_;
    double processingSampleRate_ = 0;
    ActivationCompletion activationCompletion_;
    TaskHandle livenessTask_;
};

} // namespace vello
