// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <type_traits>
#include <utility>

namespace vello {

enum class HardwareCall {
    getPropertyDataSize,
    getPropertyData,
    setPropertyData,
    addPropertyListener,
    removePropertyListener,
    prepareToTerminate,
    createProcessTap,
    createAggregateDevice,
    createIOProcID,
    startDevice,
    stopDevice,
    destroyIOProcID,
    destroyAggregateDevice,
    destroyProcessTap,
};

/// The audio object model in memory, scripted by the test. It records every call in order. Listeners are
/// called through the main thread's queue. As the port allows, objects may be destroyed and stopped on
/// another thread.
class FakeAudioHardware final : public AudioHardware {
public:
    explicit FakeAudioHardware(MainThread& mainThread);

    // What exists. Each change of a list or property fires its listeners.

    struct Device {
        std::string uid{};
        std::string name{};
        std::vector<std::uint32_t> streamChannels{2}; ///< channels of each output stream
        double sampleRate = 48000;
        FourCharCode transportType = 0;
    };
    struct Process {
        std::int32_t pid = 0;
        std::string bundleID{};
        bool isRunningOutput = true;
        std::vector<AudioObjectID> devices{};
    };
    struct ExemptStream {
        std::string name{};
        StreamExemption exemption = StreamExemption::fixed;
        Process process{};
    };
    AudioObjectID addDevice(const Device& device);
    AudioObjectID addProcess(const Process& process);
    AudioObjectID addExemptStream(const ExemptStream& stream);
    /// Removes the object: it leaves its list, reads of it fail, and its listeners are not called any more.
    void removeObject(AudioObjectID object);
    void setDefaultOutputDevice(AudioObjectID device);
    /// Removes every object but the system object, and calls the system object's listeners.
    void loseConnection();

    void setPropertyBytes(AudioObjectID object, FourCharCode selector, FourCharCode scope,
                          std::vector<unsigned char> bytes);
    template <class T>
    void setProperty(AudioObjectID object, FourCharCode selector, const T& value,
                     FourCharCode scope = kAudioObjectPropertyScopeGlobal) {
        static_assert(std::is_trivially_copyable_v<T>);
        std::vector<unsigned char> bytes(sizeof(T));
        std::memcpy(bytes.data(), &value, sizeof(T));
        setPropertyBytes(object, selector, scope, std::move(bytes));
    }
    void setString(AudioObjectID object, FourCharCode selector, std::string_view text);
    void setProcessDevices(AudioObjectID process, const std::vector<AudioObjectID>& devices);
    void removeProperty(AudioObjectID object, FourCharCode selector,
                        FourCharCode scope = kAudioObjectPropertyScopeGlobal);

    // What goes wrong.

    struct Failure {
        HardwareCall call;
        OSStatus status = kAudioHardwareUnspecifiedError;
        std::optional<AudioObjectID> object{};  ///< any object when absent
        std::optional<FourCharCode> selector{}; ///< any property when absent
        int times = std::numeric_limits<int>::max();
    };
    void fail(const Failure& failure);
    /// Makes one call fail, after `callsBefore` further calls of any kind, including reads and listeners.
    void failCallNumber(std::size_t callsBefore, OSStatus status);
    void stopFailing();
    /// The next such creation succeeds, but returns object number 0.
    void answerWithoutObject(HardwareCall creation);

    static constexpr int kNeverAlive = std::numeric_limits<int>::max();
    /// How often aggregates created from now on report that they are not alive yet.
    void setReadsUntilAlive(int reads);
    /// Whether aggregates created from now on take over the connections of their predecessors.
    void setContinuesPredecessors(bool isContinued);
    /// Whether the spare device is ready as soon as it is requested, which is the default. Otherwise the test
    /// sets kAudioHardwarePropertySpareDevice when it is.
    void setSpareIsImmediate(bool isImmediate);
    /// The stream format of taps created from now on; the default is interleaved 32-bit float, stereo, 48
    /// kHz.
    void setTapFormat(const AudioStreamBasicDescription& format);
    static AudioStreamBasicDescription floatFormat(std::uint32_t channels, double sampleRate);

    // What happened.

    struct Call {
        HardwareCall call;
        AudioObjectID object = 0;  ///< the object that was called or created
        FourCharCode selector = 0; ///< of reads and listeners
        OSStatus status = kAudioHardwareNoError;
    };
    std::vector<Call> calls() const;
    /// Called inside each call, on its thread, after the call has taken effect.
    void setOnCall(std::function<void(const Call&)> onCall);
    /// The calls that create, start, stop and destroy, in order, such as "startDevice 12"; failed calls end
    /// with " failed".
    std::vector<std::string> actions() const;
    void clearCalls();
    std::size_t listenerCount(AudioObjectID object, FourCharCode selector) const;

    std::vector<AudioObjectID> liveTaps() const;
    std::vector<AudioObjectID> liveAggregates() const;
    std::size_t liveIOProcCount() const;
    /// Descriptions remain available after the object is gone.
    TapDescription tapDescription(AudioObjectID tap) const;
    AggregateDeviceDescription aggregateDescription(AudioObjectID device) const;

    struct IOProc {
        AudioObjectID device = 0;
        AudioDeviceIOProc proc = nullptr;
        void* clientData = nullptr;
        bool isRunning = false;
    };
    std::optional<IOProc> ioProcOf(AudioObjectID device) const;
    /// Runs one cycle of the device on the calling thread. Returns false when it has no running callback.
    bool runCycle(AudioObjectID device, const AudioBufferList& input, AudioBufferList& output) const;

    /// Descriptor for the two calls of signal handlers: each writes one byte 'A' or 'T' and the object
    /// number.
    void setSignalReport(int fileDescriptor) { signalReport_ = fileDescriptor; }

    OSStatus getPropertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                 std::uint32_t& size) const override;
    OSStatus getPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                             std::uint32_t& size, void* data) const override;
    OSStatus setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                             std::uint32_t size, const void* data) override;
    OSStatus addPropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                 AudioPropertyListener listener,
                                 AudioPropertyListenerID& listenerID) override;
    OSStatus removePropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                    AudioPropertyListenerID listenerID) override;
    OSStatus createProcessTap(const TapDescription& description, AudioObjectID& tap) override;
    OSStatus createAggregateDevice(const AggregateDeviceDescription& description,
                                   AudioObjectID& device) override;
    OSStatus createIOProcID(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                            AudioDeviceIOProcID& procID) override;
    OSStatus startDevice(AudioObjectID device, AudioDeviceIOProcID procID) override;
    void prepareToTerminate() override;
    OSStatus stopDevice(AudioObjectID device, AudioDeviceIOProcID procID) override;
    OSStatus destroyIOProcID(AudioObjectID device, AudioDeviceIOProcID procID) override;
    OSStatus destroyAggregateDevice(AudioObjectID device) override;
    OSStatus destroyProcessTap(AudioObjectID tap) override;
    void destroyAggregateDeviceInSignalHandler(AudioObjectID device) noexcept override;
    void destroyProcessTapInSignalHandler(AudioObjectID tap) noexcept override;

private:
    using PropertyKey = std::pair<FourCharCode, FourCharCode>; ///< selector, scope
    using Properties = std::map<PropertyKey, std::vector<unsigned char>>;
    struct Listener {
        AudioObjectID object;
        PropertyKey property;
        AudioPropertyListener action;
    };
    using Lock = std::lock_guard<std::recursive_mutex>;

    OSStatus record(HardwareCall call, AudioObjectID object, FourCharCode selector, OSStatus status) const;
    std::optional<OSStatus> scriptedFailure(HardwareCall call, AudioObjectID object,
                                            FourCharCode selector) const;
    const std::vector<unsigned char>* find(AudioObjectID object, PropertyKey key, OSStatus& status) const;
    bool consumeCreationWithoutObject(HardwareCall call);
    void putObjectIDs(AudioObjectID object, FourCharCode selector, FourCharCode scope,
                      const std::vector<AudioObjectID>& ids);
    std::vector<AudioObjectID> objectIDs(FourCharCode list) const;
    void appendToList(FourCharCode list, AudioObjectID object);
    AudioObjectID addProcessProperties(const Process& process);
    void removeFromLists(AudioObjectID object);
    double sampleRateOfDeviceWithUID(const std::string& uid) const;
    void notify(AudioObjectID object, PropertyKey property);
    void runListener(AudioPropertyListenerID id);
    OSStatus setRunning(HardwareCall call, AudioObjectID device, AudioDeviceIOProcID procID, bool isRunning);

    MainThread& mainThread_;
    mutable std::recursive_mutex mutex_; ///< guards everything below
    AudioObjectID nextObject_ = 10;
    std::uint64_t nextID_ = 1;
    std::map<AudioObjectID, Properties> objects_;
    std::map<AudioPropertyListenerID, Listener> listeners_;
    std::map<AudioDeviceIOProcID, IOProc> ioProcs_;
    std::map<AudioObjectID, TapDescription> taps_;
    std::map<AudioObjectID, AggregateDeviceDescription> aggregates_;
    mutable std::map<AudioObjectID, int> readsUntilAlive_;
    mutable std::vector<Failure> failures_;
    mutable std::optional<std::pair<std::size_t, OSStatus>> failingCallNumber_;
    std::set<HardwareCall> withoutObject_;
    int readsUntilAliveOfNew_ = 0;
    bool continuesPredecessors_ = false;
    bool spareIsImmediate_ = true;
    AudioStreamBasicDescription tapFormat_ = floatFormat(2, 48000);
    mutable std::vector<Call> calls_;
    std::function<void(const Call&)> onCall_;
    int signalReport_ = -1;
    std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
};

} // namespace vello
