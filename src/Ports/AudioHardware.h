// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace vello {

/// Number of an object of the audio system. Never reused during the lifetime of the port; 0 means no object.
using AudioObjectID = std::uint32_t;
/// Result of a call: 0 is success, anything else one of the kAudioHardware... codes below or a platform code.
using OSStatus = std::int32_t;
/// Four-character code, first character in the highest byte.
using FourCharCode = std::uint32_t;

constexpr FourCharCode fourCharCode(const char (&text)[5]) {
    FourCharCode code = 0;
    for (std::size_t i = 0; i < 4; ++i)
        code = (code << 8) | static_cast<unsigned char>(text[i]);
    return code;
}

struct AudioObjectPropertyAddress {
    FourCharCode mSelector;
    FourCharCode mScope;
    std::uint32_t mElement;

    friend bool operator==(const AudioObjectPropertyAddress&, const AudioObjectPropertyAddress&) = default;
};

inline constexpr AudioObjectID kAudioObjectUnknown = 0;
inline constexpr AudioObjectID kAudioObjectSystemObject = 1;
inline constexpr std::uint32_t kAudioObjectPropertyElementMain = 0;
inline constexpr FourCharCode kAudioObjectPropertyScopeGlobal = fourCharCode("glob");
inline constexpr FourCharCode kAudioObjectPropertyScopeOutput = fourCharCode("outp");

// Properties of the system object: AudioObjectID arrays, in the order in which the objects appeared, and one
// AudioObjectID (0: no default output).
inline constexpr FourCharCode kAudioHardwarePropertyDevices = fourCharCode("dev#");
inline constexpr FourCharCode kAudioHardwarePropertyDefaultOutputDevice = fourCharCode("dOut");
inline constexpr FourCharCode kAudioHardwarePropertyProcessObjectList = fourCharCode("prs#");

/// uint32_t, of the system object, settable. Non-zero: whatever takes time about an aggregate device is done
/// in advance for the next one, so that it is alive as soon as it is created. Reads as 1 once that is done.
/// Setting it again while it reads as 0 asks for it immediately. Initially 0.
inline constexpr FourCharCode kAudioHardwarePropertySpareDevice = fourCharCode("spar");

// Properties of a device. Strings are UTF-8 bytes without a terminator: the size is the byte count.
inline constexpr FourCharCode kAudioDevicePropertyDeviceUID = fourCharCode("uid ");
inline constexpr FourCharCode kAudioObjectPropertyName = fourCharCode("lnam");
/// An AudioBufferList with one buffer per stream, in the output scope; data pointers are null.
inline constexpr FourCharCode kAudioDevicePropertyStreamConfiguration = fourCharCode("slay");
/// double, Hz.
inline constexpr FourCharCode kAudioDevicePropertyNominalSampleRate = fourCharCode("nsrt");
/// FourCharCode, one of the kAudioDeviceTransportType... values or any other.
inline constexpr FourCharCode kAudioDevicePropertyTransportType = fourCharCode("tran");
/// uint32_t, non-zero once the device is ready to carry sound.
inline constexpr FourCharCode kAudioDevicePropertyDeviceIsAlive = fourCharCode("livn");
/// uint32_t, of a started aggregate device: 0 until the audio system has linked it to the captured streams
/// and to its output. The callback does not run before that.
inline constexpr FourCharCode kAudioDevicePropertyDeviceIsRunning = fourCharCode("goin");
/// uint32_t, of an aggregate device: 1 when it runs on the connections of its predecessor. Its callback then
/// follows the predecessor's callback from one cycle to the next, on the same thread.
inline constexpr FourCharCode kAudioDevicePropertyContinuesPredecessor = fourCharCode("cont");

inline constexpr FourCharCode kAudioDeviceTransportTypeBluetooth = fourCharCode("blue");
inline constexpr FourCharCode kAudioDeviceTransportTypeBluetoothLE = fourCharCode("blea");

/// Property of a process tap: AudioStreamBasicDescription.
inline constexpr FourCharCode kAudioTapPropertyFormat = fourCharCode("tfmt");

// Properties of a process object.
/// int32_t.
inline constexpr FourCharCode kAudioProcessPropertyPID = fourCharCode("ppid");
/// UTF-8 string; empty when the process does not set one.
inline constexpr FourCharCode kAudioProcessPropertyBundleID = fourCharCode("pbid");
/// AudioObjectID array, output scope: the devices that the process itself plays to.
inline constexpr FourCharCode kAudioProcessPropertyDevices = fourCharCode("pdv#");
/// uint32_t, non-zero while the process produces output.
inline constexpr FourCharCode kAudioProcessPropertyIsRunningOutput = fourCharCode("piro");

/// uint32_t, non-zero to capture streams with more than two channels mixed down to two, even if the device
/// could play all of them. Settable.
inline constexpr FourCharCode kAudioProcessPropertyDownmix = fourCharCode("pdmx");

/// Why a stream is exempt. An exempt stream is not captured and does not make its process count as one that
/// produces output.
enum class StreamExemption : std::uint32_t {
    none = 0,
    fixed,           ///< its application does not allow moving it to another device
    module,          ///< output of a filter or loopback of the audio system, not of an application
    unmanaged,       ///< its application or the user links it manually
    encoded,         ///< passed through to the device in a compressed format
    exclusive,       ///< its application has exclusive access to the device
    surround,        ///< more than two channels on a device that plays them; see kAudioProcessPropertyDownmix
    pinnedElsewhere, ///< sent to a different device than the rest of its application
};

/// Property of the system object: AudioObjectID array of the exempt streams. Each has the properties
/// kAudioStreamPropertyExemption and kAudioObjectPropertyName, and the read-only properties of its process,
/// except that kAudioProcessPropertyDevices and kAudioProcessPropertyIsRunningOutput describe the stream
/// itself.
inline constexpr FourCharCode kAudioHardwarePropertyExemptStreamList = fourCharCode("xst#");
/// uint32_t, a StreamExemption.
inline constexpr FourCharCode kAudioStreamPropertyExemption = fourCharCode("xwhy");

inline constexpr OSStatus kAudioHardwareNoError = 0;
inline constexpr OSStatus kAudioHardwareUnspecifiedError = static_cast<OSStatus>(fourCharCode("what"));
inline constexpr OSStatus kAudioHardwareNotRunningError = static_cast<OSStatus>(fourCharCode("stop"));
inline constexpr OSStatus kAudioHardwareUnknownPropertyError = static_cast<OSStatus>(fourCharCode("who?"));
inline constexpr OSStatus kAudioHardwareBadPropertySizeError = static_cast<OSStatus>(fourCharCode("!siz"));
inline constexpr OSStatus kAudioHardwareBadObjectError = static_cast<OSStatus>(fourCharCode("!obj"));
inline constexpr OSStatus kAudioHardwareIllegalOperationError = static_cast<OSStatus>(fourCharCode("nope"));

inline constexpr FourCharCode kAudioFormatLinearPCM = fourCharCode("lpcm");
inline constexpr std::uint32_t kAudioFormatFlagIsFloat = 1U << 0;
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 1U << 3;
inline constexpr std::uint32_t kAudioFormatFlagIsNonInterleaved = 1U << 5;

struct AudioStreamBasicDescription {
    double mSampleRate = 0; ///< Hz
    FourCharCode mFormatID = 0;
    std::uint32_t mFormatFlags = 0;
    std::uint32_t mBytesPerPacket = 0;
    std::uint32_t mFramesPerPacket = 0;
    std::uint32_t mBytesPerFrame = 0;
    std::uint32_t mChannelsPerFrame = 0;
    std::uint32_t mBitsPerChannel = 0;
    std::uint32_t mReserved = 0;
};

/// The samples of one stream. mData is null if this side has no data in this cycle.
struct AudioBuffer {
    std::uint32_t mNumberChannels = 0;
    std::uint32_t mDataByteSize = 0;
    void* mData = nullptr;
};

/// Header of mNumberBuffers AudioBuffers that follow it in memory: 8 bytes, then 16 bytes per buffer.
struct alignas(8) AudioBufferList {
    std::uint32_t mNumberBuffers = 0;

    std::span<AudioBuffer> buffers() noexcept {
        return {reinterpret_cast<AudioBuffer*>(this + 1), mNumberBuffers};
    }
    std::span<const AudioBuffer> buffers() const noexcept {
        return {reinterpret_cast<const AudioBuffer*>(this + 1), mNumberBuffers};
    }
};

/// A buffer list with storage for Count buffers.
template <std::size_t Count> struct AudioBufferListStorage {
    AudioBufferList list{static_cast<std::uint32_t>(Count)};
    AudioBuffer buffers[Count]{};
};
static_assert(sizeof(AudioBufferList) == 8 && sizeof(AudioBufferListStorage<1>) == 24);

/// Called on the data thread once per cycle of the device. Must not block, lock, allocate or log. `input` and
/// `output` are valid only during the call. Returns 0.
using AudioDeviceIOProc = OSStatus (*)(AudioObjectID device, const AudioBufferList* input,
                                       AudioBufferList* output, void* clientData) noexcept;
/// A registered I/O callback; 0 means no callback.
using AudioDeviceIOProcID = std::uint64_t;
/// A registered listener; 0 means no listener.
using AudioPropertyListenerID = std::uint64_t;
/// Runs on the main thread.
using AudioPropertyListener = std::function<void()>;

enum class TapMuteBehavior : std::uint32_t {
    unmuted = 0,
    muted = 1,
    mutedWhenTapped = 2, ///< the application's direct output is muted while an I/O callback reads the tap
};

enum class TapMixdown {
    stereoOfProcesses,      ///< exactly the listed processes
    stereoGlobalButExclude, ///< everything except the listed processes
};

struct TapDescription {
    TapMixdown mixdown = TapMixdown::stereoOfProcesses;
    std::vector<AudioObjectID> processes = {};
    std::string uuid = {};
    TapMuteBehavior muteBehavior = TapMuteBehavior::unmuted;
    bool isPrivate = false;
};

struct AggregateTap {
    std::string uid; ///< uuid of a TapDescription
    /// Compensates for clocks that differ. PipeWire resamples where that is needed, whatever this says.
    bool drift = false;
};

struct AggregateDeviceDescription {
    std::string name = {};
    std::string uid = {};
    std::string mainSubDevice = {}; ///< UID of the clock master; key "master"
    /// The user chose mainSubDevice, so it must not follow a change of the default output.
    bool isMainSubDeviceChosen = false;
    bool isPrivate = false;
    // For audio systems that offer the choice. PipeWire's graph does neither differently: outputs are not
    // played one after the other, and a capture runs while something is linked to it.
    bool isStacked = false;
    bool tapAutoStart = false;
    std::vector<std::string> subDevices = {}; ///< UIDs
    std::vector<AggregateTap> taps = {};
    /// The started device of the same application that this one replaces; 0: none. The new device may take
    /// over its connections, so that the sound is not interrupted. The predecessor's callback then runs until
    /// the new device is started, and stopDevice of the predecessor waits for that.
    AudioObjectID predecessor = kAudioObjectUnknown;
};

/// The audio object model: property reads, listeners, process taps, aggregate devices and I/O callbacks.
///
/// Main thread only unless noted otherwise. Reads return cached state immediately and never wait for a
/// server. Once the underlying object is gone, reads return kAudioHardwareBadObjectError; destroying it is
/// harmless and returns the same code. When the connection to the audio system is lost, every object except
/// the system object is gone and the listeners of the system object fire. The port reconnects by itself.
class AudioHardware {
public:
    virtual ~AudioHardware() = default;

    /// Current size of the property's data in bytes.
    virtual OSStatus getPropertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                         std::uint32_t& size) const = 0;
    /// Copies at most `size` bytes to `data` and sets `size` to the number of bytes copied.
    virtual OSStatus getPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                     std::uint32_t& size, void* data) const = 0;

    /// Takes effect immediately. Returns kAudioHardwareUnknownPropertyError when the property is read-only
    /// and kAudioHardwareBadPropertySizeError when `size` does not match its type.
    virtual OSStatus setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                     std::uint32_t size, const void* data) = 0;

    /// `listener` runs on the main thread after each change, never inside this call, and never after
    /// removePropertyListener has returned.
    virtual OSStatus addPropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                         AudioPropertyListener listener,
                                         AudioPropertyListenerID& listenerID) = 0;
    virtual OSStatus removePropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                            AudioPropertyListenerID listenerID) = 0;

    virtual OSStatus createProcessTap(const TapDescription& description, AudioObjectID& tap) = 0;
    virtual OSStatus createAggregateDevice(const AggregateDeviceDescription& description,
                                           AudioObjectID& device) = 0;
    virtual OSStatus createIOProcID(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                                    AudioDeviceIOProcID& procID) = 0;
    virtual OSStatus startDevice(AudioObjectID device, AudioDeviceIOProcID procID) = 0;

    /// Call before the last teardown, once. From then on the calls that may block do so for at most 1.5 s
    /// together, so that the process ends soon even if the audio system does not respond.
    virtual void prepareToTerminate() = 0;

    // These may be called from one other thread at a time besides the main thread, and may block briefly. If
    // a new tap of the same processes is being set up, stopDevice keeps the callback running until the new
    // tap has taken over.
    virtual OSStatus stopDevice(AudioObjectID device, AudioDeviceIOProcID procID) = 0;
    /// The callback never runs after this has returned.
    virtual OSStatus destroyIOProcID(AudioObjectID device, AudioDeviceIOProcID procID) = 0;
    virtual OSStatus destroyAggregateDevice(AudioObjectID device) = 0;
    virtual OSStatus destroyProcessTap(AudioObjectID tap) = 0;

    /// Async-signal-safe: no lock and no allocation. May wait briefly, and may take down more than the given
    /// object (the whole connection), because the process is about to exit.
    virtual void destroyAggregateDeviceInSignalHandler(AudioObjectID device) noexcept = 0;
    virtual void destroyProcessTapInSignalHandler(AudioObjectID tap) noexcept = 0;
};

} // namespace vello
