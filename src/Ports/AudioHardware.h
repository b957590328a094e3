// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace vello {

/// Number of an object of the audio system. Given once, never reused within the life of the port; 0 is
/// "none".
using AudioObjectID = std::uint32_t;
/// Result of a call: 0 is success, otherwise one of the kAudioHardware... codes below or the platform's own.
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

// Properties of a device. Strings are UTF-8 bytes without a terminator: the size is the byte count.
inline constexpr FourCharCode kAudioDevicePropertyDeviceUID = fourCharCode("uid ");
inline constexpr FourCharCode kAudioObjectPropertyName = fourCharCode("lnam");
/// An AudioBufferList with one buffer per stream, in the output scope; data pointers are null.
inline constexpr FourCharCode kAudioDevicePropertyStreamConfiguration = fourCharCode("slay");
/// double, Hz.
inline constexpr FourCharCode kAudioDevicePropertyNominalSampleRate = fourCharCode("nsrt");
/// FourCharCode, one of the kAudioDeviceTransportType... values or another.
inline constexpr FourCharCode kAudioDevicePropertyTransportType = fourCharCode("tran");
/// uint32_t, non-zero once the device can carry sound.
inline constexpr FourCharCode kAudioDevicePropertyDeviceIsAlive = fourCharCode("livn");
/// uint32_t, of a started aggregate device: 0 while the audio system is still connecting it to what it
/// captures and plays to. No callback can come before.
inline constexpr FourCharCode kAudioDevicePropertyDeviceIsRunning = fourCharCode("goin");

inline constexpr FourCharCode kAudioDeviceTransportTypeBluetooth = fourCharCode("blue");
inline constexpr FourCharCode kAudioDeviceTransportTypeBluetoothLE = fourCharCode("blea");

/// Property of a process tap: AudioStreamBasicDescription.
inline constexpr FourCharCode kAudioTapPropertyFormat = fourCharCode("tfmt");

// Properties of a process object.
/// int32_t.
inline constexpr FourCharCode kAudioProcessPropertyPID = fourCharCode("ppid");
/// UTF-8 string; empty when the process names none.
inline constexpr FourCharCode kAudioProcessPropertyBundleID = fourCharCode("pbid");
/// AudioObjectID array, output scope: the devices the process itself plays to.
inline constexpr FourCharCode kAudioProcessPropertyDevices = fourCharCode("pdv#");
/// uint32_t, non-zero while the process produces output.
inline constexpr FourCharCode kAudioProcessPropertyIsRunningOutput = fourCharCode("piro");

/// uint32_t, non-zero when streams of more than two channels are to be captured as two, also where the device
/// would play them all. May be set.
inline constexpr FourCharCode kAudioProcessPropertyDownmix = fourCharCode("pdmx");

/// Why a stream of an application is left as it is: not captured, and no reason for its process to be listed
/// as one that produces output.
enum class StreamExemption : std::uint32_t {
    none = 0,
    fixed,     ///< its application forbids that it is moved to another device
    module,    ///< the output of a filter or loopback of the audio system, not of an application
    unmanaged, ///< its application, or its user, connects it by hand
    encoded,   ///< passed through to the device in a compressed format
    exclusive, ///< its application has the device for itself
    surround,  ///< more than two channels, on a device that plays them; see kAudioProcessPropertyDownmix
    pinnedElsewhere, ///< on another device than the one that its application is played on
};

/// Property of the system object: AudioObjectID array, the streams that are left as they are. Each has the
/// properties kAudioStreamPropertyExemption, kAudioObjectPropertyName, and those of a process but for the
/// settable ones: of its process, except that kAudioProcessPropertyDevices and
/// kAudioProcessPropertyIsRunningOutput are its own.
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

/// One stream's samples. mData may be null: the side has nothing for this cycle.
struct AudioBuffer {
    std::uint32_t mNumberChannels = 0;
    std::uint32_t mDataByteSize = 0;
    void* mData = nullptr;
};

/// Header of mNumberBuffers AudioBuffers that follow it directly in memory: 8 bytes, then 16 bytes a buffer.
struct alignas(8) AudioBufferList {
    std::uint32_t mNumberBuffers = 0;

    std::span<AudioBuffer> buffers() noexcept {
        return {reinterpret_cast<AudioBuffer*>(this + 1), mNumberBuffers};
    }
    std::span<const AudioBuffer> buffers() const noexcept {
        return {reinterpret_cast<const AudioBuffer*>(this + 1), mNumberBuffers};
    }
};

/// A buffer list with room for Count buffers.
template <std::size_t Count> struct AudioBufferListStorage {
    AudioBufferList list{static_cast<std::uint32_t>(Count)};
    AudioBuffer buffers[Count]{};
};
static_assert(sizeof(AudioBufferList) == 8 && sizeof(AudioBufferListStorage<1>) == 24);

/// Called on the data thread, once per cycle of the device. It must not block, lock, allocate or log. `input`
/// and `output` are valid for the call only. Returns 0.
using AudioDeviceIOProc = OSStatus (*)(AudioObjectID device, const AudioBufferList* input,
                                       AudioBufferList* output, void* clientData) noexcept;
/// A registered I/O callback; 0 is "none".
using AudioDeviceIOProcID = std::uint64_t;
/// A registered listener; 0 is "none".
using AudioPropertyListenerID = std::uint64_t;
/// Runs on the main thread.
using AudioPropertyListener = std::function<void()>;

enum class TapMuteBehavior : std::uint32_t {
    unmuted = 0,
    muted = 1,
    mutedWhenTapped = 2, ///< the application's direct output is silent while an I/O callback reads the tap
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
    bool drift = false;
};

struct AggregateDeviceDescription {
    std::string name = {};
    std::string uid = {};
    std::string mainSubDevice = {}; ///< UID of the clock master; key "master"
    /// The user picked mainSubDevice, so it must not follow a change of the default output meanwhile.
    bool isMainSubDeviceChosen = false;
    bool isPrivate = false;
    bool isStacked = false;
    bool tapAutoStart = false;
    std::vector<std::string> subDevices = {}; ///< UIDs
    std::vector<AggregateTap> taps = {};
};

/// The audio object model: property reads, listeners, process taps, aggregate devices and I/O callbacks.
///
/// Main thread only, except where a call says otherwise. Reads answer at once from what the port knows and
/// never wait for a server. An object whose other side is gone stays known to nobody: reads answer
/// kAudioHardwareBadObjectError, destroying it is harmless and answers the same code. When the connection to
/// the audio system is lost, every object but the system object dies and the listeners of the system object
/// fire; the port reconnects by itself.
class AudioHardware {
public:
    virtual ~AudioHardware() = default;

    /// Size in bytes of the property's data now.
    virtual OSStatus getPropertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                         std::uint32_t& size) const = 0;
    /// Copies at most `size` bytes to `data` and sets `size` to what was copied.
    virtual OSStatus getPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                     std::uint32_t& size, void* data) const = 0;

    /// Takes effect at once. kAudioHardwareUnknownPropertyError when the property may not be set,
    /// kAudioHardwareBadPropertySizeError when the data is not of its type.
    virtual OSStatus setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                     std::uint32_t size, const void* data) = 0;

    /// `listener` runs on the main thread after each change, never inside this call. After
    /// removePropertyListener has returned it does not run again.
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

    // The counterparts may come from any one thread at a time beside the main thread, and may block for a
    // moment. When a new tap of the same processes is on its way, stopDevice keeps the callback running until
    // that one has taken over.
    virtual OSStatus stopDevice(AudioObjectID device, AudioDeviceIOProcID procID) = 0;
    /// After it has returned, the callback does not run again.
    virtual OSStatus destroyIOProcID(AudioObjectID device, AudioDeviceIOProcID procID) = 0;
    virtual OSStatus destroyAggregateDevice(AudioObjectID device) = 0;
    virtual OSStatus destroyProcessTap(AudioObjectID tap) = 0;

    /// Safe in a signal handler: no lock, no allocation, no waiting. They may take more down than the object
    /// named (the whole connection), since the process is about to end.
    virtual void destroyAggregateDeviceInSignalHandler(AudioObjectID device) noexcept = 0;
    virtual void destroyProcessTapInSignalHandler(AudioObjectID tap) noexcept = 0;
};

} // namespace vello
