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

/// Captures, equalizes and plays one application's audio. Owns a process tap, a private aggregate device of
/// the tap and the output device, the I/O callback and the current settings.
///
/// Main thread only. A tap is activated once and invalidated once; after that every operation does nothing.
/// Only the blocking calls of the teardown run on another thread, that of the teardown queue.
class ProcessTap {
public:
    /// Exactly these process objects, as one stereo mix.
    struct Processes {
        std::vector<AudioObjectID> ids;
        friend bool operator==(const Processes&, const Processes&) = default;
    };
    /// All processes except these, as one stereo mix.
    struct GlobalExcluding {
        std::vector<AudioObjectID> ids;
        friend bool operator==(const GlobalExcluding&, const GlobalExcluding&) = default;
    };
    using Target = std::variant<Processes, GlobalExcluding>;
    using Action = std::function<void()>;
    /// nullopt: the tap runs, or was invalidated during the activation.
    using ActivationCompletion = std::function<void(std::optional<CoreAudioError>)>;

    /// What a tap leaves to the tap that replaces it, so that the sound goes on without a jump. The filters
    /// keep samples, not coefficients, so they go on at another sample rate, too.
    struct Succession {
        AudioObjectID aggregateDevice;
        std::shared_ptr<TapRealtimeContext::Realtime> filters;
    };

    /// Creates no platform objects yet. `label` is the source's name for the log. `succession` is that of the
    /// tap that this one replaces, if there is one.
    ProcessTap(TapServices services, Target target, std::string label, EQSettings initialSettings,
               std::optional<Succession> succession = {});
    /// Calls invalidate().
    ~ProcessTap();
    ProcessTap(const ProcessTap&) = delete;
    ProcessTap& operator=(const ProcessTap&) = delete;

    /// Creates and starts everything. `completion` runs once, inside this call or up to about 2 seconds
    /// later, and may destroy the tap. It never runs if the tap is destroyed first. On failure the tap has
    /// been invalidated. Activating a tap twice aborts the process.
    void activate(ActivationCompletion completion);
    /// Applies settings without interrupting the audio. A change of the output device needs a new tap.
    void applySettings(const EQSettings& settings);
    /// Whether the tap follows the application's own output and that is no longer the device in use.
    bool automaticRouteWouldChangeDevice() const;
    /// Absent for a tap that does not filter. Call before invalidate().
    std::optional<Succession> succession() const;
    /// Tears everything down. The platform objects are destroyed asynchronously on the teardown queue.
    void invalidate();

    /// `action` runs when the tap's stream format changes, until the tap is invalidated.
    void setOnStreamFormatChange(Action action) { onStreamFormatChange_ = std::move(action); }
    /// `action` runs when the application has moved to another output device and this tap follows it, until
    /// the tap is invalidated.
    void setOnAppOutputDeviceChange(Action action) { onAppOutputDeviceChange_ = std::move(action); }

    /// `action` runs when isStillConnecting() may have changed, until the tap is invalidated.
    void setOnConnectionChange(Action action) { onConnectionChange_ = std::move(action); }

    const Target& target() const { return target_; }
    const std::string& label() const { return label_; }
    const EQSettings& settings() const { return settings_; }
    bool isInvalidated() const { return isInvalidated_; }
    /// kAudioObjectUnknown while there is no tap. The same holds for the aggregate device.
    AudioObjectID tapID() const { return tapID_; }
    AudioObjectID aggregateDeviceID() const { return aggregateDeviceID_; }
    /// Shared with the I/O callback; null until the tap runs and after invalidate().
    const std::shared_ptr<TapRealtimeContext>& realtimeContext() const { return realtimeContext_; }
    /// The filters of the I/O callback; null when the context is null or the format cannot be processed.
    const std::shared_ptr<const EQChainSnapshot>& currentSnapshot() const { return currentSnapshot_; }
    /// False while there is no device, and when it is gone.
    bool isDeviceAlive() const;
    /// Whether the tap runs but carries no audio, because the audio system has not connected its device.
    bool isStillConnecting() const { return connection_ && !connection_->isConnected(); }
    /// Polls the connection for changes that were not announced. Only affects the log.
    void checkConnection();
    /// When the activation completed.
    std::optional<MainThread::Instant> activatedAt() const { return activatedAt_; }
    /// The output device in the settings, and the one in use.
    const std::optional<std::string>& outputDeviceUID() const { return outputDeviceUID_; }
    const std::optional<std::string>& resolvedOutputDeviceUID() const { return resolvedOutputDeviceUID_; }
    /// Hz; 0 while unknown.
    double sampleRate() const;

    /// Whether the format can be processed: interleaved 32-bit float with 1 or 2 channels. Any other format
    /// is passed through unchanged.
    static bool formatSupportsEQ(const AudioStreamBasicDescription& format);
    /// False also when the transport type cannot be read.
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
    /// Objects that the I/O callback may access until it is destroyed.
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
    void checkLivenessAfter(MainThread::Duration delay, int attempt);
    ActivationStep startProcessing();
    void prepareRing();
    void createRealtimeContext();
    bool isDeviceContinued() const;
    void startCallback();
    void installObservers();

    OutputChoice chooseOutputDevice() const;
    AudioObjectID automaticOutputDevice() const;

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
    std::optional<SampleMemory> ringMemory_; ///< until the context takes it
    std::shared_ptr<TapRealtimeContext> realtimeContext_;
    std::optional<AudioStreamBasicDescription> streamDescription_;
    std::optional<MainThread::Instant> activatedAt_;
    std::optional<std::string> outputDeviceUID_;
    std::optional<std::string> resolvedOutputDeviceUID_;
    double processingSampleRate_ = 0;
    std::optional<Succession> succession_; ///< of the replaced tap, until the callback starts
    ActivationCompletion activationCompletion_;
    std::unique_ptr<CoreAudioPropertyObserver> livenessObserver_; ///< while the device is not alive yet
    TaskHandle livenessTask_;
    int livenessAttempt_ = 0;
};

} // namespace vello
