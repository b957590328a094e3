// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/PipeWireAudioHardware.h"

#include "PipeWireConnection.h"
#include "PipeWireGraph.h"
#include "PipeWireHeartbeat.h"
#include "PipeWireProperties.h"
#include "PipeWirePropertyListeners.h"
#include "PipeWireStreamDirector.h"
#include "PipeWireTaps.h"
#include "Platform/Linux/PipeWire/PipeWireRedirectGuard.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <optional>
#include <utility>

#include <sched.h>

#include <pipewire/thread-loop.h>

namespace vello {

namespace {

/// Longest wait for the first view of a server. Without a session manager there is no default output to wait
/// for.
constexpr std::chrono::milliseconds kFirstLookPatience{500};
/// Longest sum of all waits at the end of the process.
constexpr std::chrono::milliseconds kTerminationPatience{1500};

} // namespace

/// Connects the parts: events of the server update the mirror. The mirror notifies the parts that act on it,
/// and sends change notices to the main thread.
class PipeWireAudioHardware::Implementation final : private PipeWireConnectionHandler,
                                                    private PipeWireGraphObserver {
public:
    Implementation(MainThread& mainThread, SystemLog& log, std::string remoteName,
                   PipeWireRedirectGuard* redirectGuard)
        : listeners(mainThread), guard(redirectGuard),
          connection(*this, log, std::move(remoteName), PipeWireConnection::Purpose::watchingAndNodes),
          graph(
              *this, [this] { return nextObjectID(); }, connection.loop()),
          director(
              graph,
              [this](AudioObjectID object, FourCharCode selector) { listeners.changed(object, selector); },
              guard),
          taps(
              connection, graph, director, mainThread, [this] { return nextObjectID(); },
              [this](AudioObjectID object, FourCharCode selector) { listeners.changed(object, selector); }),
          properties(graph, director.rights(), taps) {
        if (guard != nullptr)
            heartbeat.emplace(mainThread, connection, *guard, log,
                              PipeWireHeartbeat::Work{[this] { return director.isDirecting(); },
                                                      [this] { director.directAgain(); }});
        director.setOnFirstDirected([this] {
            if (heartbeat)
                heartbeat->start();
        });
        connection.start();
        awaitFirstLook();
        if (guard != nullptr)
            guard->awaitGuard();
    }
    ~Implementation() override {
        taps.awaitReleasedStreams();
        connection.stop();
    }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    void endInSignalHandler() noexcept {
        if (guard != nullptr)
            guard->giveBackInSignalHandler();
        connection.shutDownInSignalHandler();
        // A core dump at the data thread's realtime priority would starve the session manager.
        constexpr sched_param usual{};
        ::sched_setscheduler(0, SCHED_OTHER, &usual);
    }

    PipeWirePropertyListeners listeners;
    PipeWireRedirectGuard* const guard;
    PipeWireConnection connection;
    PipeWireGraph graph;
    PipeWireStreamDirector director;
    PipeWireTaps taps;
    PipeWireProperties properties;
    std::optional<PipeWireHeartbeat> heartbeat;

    OSStatus setProperty(AudioObjectID object, FourCharCode selector, std::uint32_t size, const void* data) {
        const bool isSystem = object == kAudioObjectSystemObject;
        if (!isSystem && graph.clients().process(object) == nullptr)
            return kAudioHardwareBadObjectError;
        if (selector != (isSystem ? kAudioHardwarePropertySpareDevice : kAudioProcessPropertyDownmix))
            return kAudioHardwareUnknownPropertyError;
        std::uint32_t value = 0;
        if (size != sizeof value)
            return kAudioHardwareBadPropertySizeError;
        std::memcpy(&value, data, size);
        if (isSystem) {
            taps.setKeepsSpare(value != 0);
        } else {
            graph.clients().setDownmix(object, value != 0);
            director.reconsider();
        }
        return kAudioHardwareNoError;
    }

private:
    /// Waits until the default output is known, when a server runs. A listener added afterwards then finds
    /// it, and is not notified of a change that is not one.
    void awaitFirstLook() {
        const PipeWireLock lock(connection);
        timespec end{};
        pw_thread_loop_get_time(connection.threadLoop(), &end,
                                std::chrono::nanoseconds(kFirstLookPatience).count());
        while (connection.core() != nullptr && graph.defaultSink() == nullptr)
            if (pw_thread_loop_timed_wait_full(connection.threadLoop(), &end) != 0)
                break;
        listeners.forgetChanges();
    }

    AudioObjectID nextObjectID() { return ++lastObjectID_; }

    void connected(pw_core* core) override {
        graph.attach(core);
        if (guard != nullptr)
            guard->holdConnection(connection.sockets());
    }

    void disconnected() override {
        if (guard != nullptr)
            guard->letGoOfConnection();
        taps.connectionLost();
        director.reset();
        graph.detach();
        for (const FourCharCode selector :
             {kAudioHardwarePropertyProcessObjectList, kAudioHardwarePropertyDevices,
              kAudioHardwarePropertyExemptStreamList, kAudioHardwarePropertyDefaultOutputDevice})
            listeners.changed(kAudioObjectSystemObject, selector);
    }

    void synchronized() override {
        if (graph.metadata().answered())
            director.metadataKnown();
    }
    void propertyChanged(AudioObjectID object, FourCharCode selector) override {
        listeners.changed(object, selector);
        if (selector == kAudioHardwarePropertyDefaultOutputDevice ||
            selector == kAudioHardwarePropertyDevices || selector == kAudioDevicePropertyStreamConfiguration)
            director.reconsider();
        if (selector == kAudioDevicePropertyStreamConfiguration)
            taps.streamsChanged();
        pw_thread_loop_signal(connection.threadLoop(), false);
    }
    void streamDescribed(const GraphStream& stream) override {
        director.streamDescribed(stream);
        taps.streamsChanged();
        taps.latencyChanged(stream);
    }
    void streamRunningChanged(const GraphStream& stream) override {
        director.streamRunningChanged(stream);
        taps.latencyChanged(stream);
    }
    void streamVanished(std::uint32_t nodeID) override {
        director.streamVanished(nodeID);
        taps.streamsChanged();
    }
    void linksChanged() override { taps.linksChanged(); }
    void metadataRequested() override { connection.sync(); }
    /// All links of the session manager are gone, including those through the taps. A new session manager
    /// does not link nodes that the old one was still working on. Reconnecting makes all nodes new.
    void sessionManagerGone() override { connection.reconnect("The session manager has ended"); }
    void targetChanged(std::uint32_t nodeID, const std::string& key,
                       const std::optional<MetadataValue>& value) override {
        director.targetChanged(nodeID, key, value);
    }

    std::atomic<AudioObjectID> lastObjectID_{kAudioObjectSystemObject};
};

PipeWireAudioHardware::PipeWireAudioHardware(MainThread& mainThread, SystemLog& log, std::string remoteName,
                                             PipeWireRedirectGuard* guard)
    : implementation_(std::make_unique<Implementation>(mainThread, log, std::move(remoteName), guard)) {}

PipeWireAudioHardware::~PipeWireAudioHardware() = default;

OSStatus PipeWireAudioHardware::getPropertyDataSize(AudioObjectID object,
                                                    const AudioObjectPropertyAddress& address,
                                                    std::uint32_t& size) const {
    PropertyData data;
    PipeWireLock lock(implementation_->connection);
    const OSStatus status = implementation_->properties.read(object, address.mSelector, data);
    size = static_cast<std::uint32_t>(data.size());
    return status;
}

OSStatus PipeWireAudioHardware::getPropertyData(AudioObjectID object,
                                                const AudioObjectPropertyAddress& address,
                                                std::uint32_t& size, void* data) const {
    PropertyData current;
    PipeWireLock lock(implementation_->connection);
    const OSStatus status = implementation_->properties.read(object, address.mSelector, current);
    if (status != kAudioHardwareNoError)
        return status;
    size = std::min(size, static_cast<std::uint32_t>(current.size()));
    if (size > 0)
        std::memcpy(data, current.data(), size);
    return kAudioHardwareNoError;
}

OSStatus PipeWireAudioHardware::setPropertyData(AudioObjectID object,
                                                const AudioObjectPropertyAddress& address, std::uint32_t size,
                                                const void* data) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->setProperty(object, address.mSelector, size, data);
}

OSStatus PipeWireAudioHardware::addPropertyListener(AudioObjectID object,
                                                    const AudioObjectPropertyAddress& address,
                                                    AudioPropertyListener listener,
                                                    AudioPropertyListenerID& listenerID) {
    std::uint32_t size = 0;
    const OSStatus status = getPropertyDataSize(object, address, size);
    if (status == kAudioHardwareBadObjectError)
        return status;
    listenerID = implementation_->listeners.add(object, address.mSelector, std::move(listener));
    return kAudioHardwareNoError;
}

OSStatus PipeWireAudioHardware::removePropertyListener(AudioObjectID object,
                                                       const AudioObjectPropertyAddress& address,
                                                       AudioPropertyListenerID listenerID) {
    return implementation_->listeners.remove(object, address.mSelector, listenerID)
               ? kAudioHardwareNoError
               : kAudioHardwareBadObjectError;
}

std::uint64_t PipeWireAudioHardware::missedCycles() const {
    return implementation_->taps.missedCycles();
}

OSStatus PipeWireAudioHardware::createProcessTap(const TapDescription& description, AudioObjectID& tap) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->taps.createTap(description, tap);
}

OSStatus PipeWireAudioHardware::createAggregateDevice(const AggregateDeviceDescription& description,
                                                      AudioObjectID& device) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->taps.createDevice(description, device);
}

OSStatus PipeWireAudioHardware::createIOProcID(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                                               AudioDeviceIOProcID& procID) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->taps.createProc(device, proc, clientData, procID);
}

OSStatus PipeWireAudioHardware::startDevice(AudioObjectID device, AudioDeviceIOProcID procID) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->taps.start(device, procID);
}

void PipeWireAudioHardware::prepareToTerminate() {
    PipeWireLock lock(implementation_->connection);
    implementation_->connection.limitWaits(MainThread::Clock::now() + kTerminationPatience);
    implementation_->taps.prepareToTerminate();
}

OSStatus PipeWireAudioHardware::stopDevice(AudioObjectID device, AudioDeviceIOProcID procID) {
    return implementation_->taps.stop(device, procID);
}

OSStatus PipeWireAudioHardware::destroyIOProcID(AudioObjectID device, AudioDeviceIOProcID procID) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->taps.destroyProc(device, procID);
}

OSStatus PipeWireAudioHardware::destroyAggregateDevice(AudioObjectID device) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->taps.destroyDevice(device);
}

OSStatus PipeWireAudioHardware::destroyProcessTap(AudioObjectID tap) {
    PipeWireLock lock(implementation_->connection);
    return implementation_->taps.destroyTap(tap);
}

void PipeWireAudioHardware::destroyAggregateDeviceInSignalHandler(AudioObjectID) noexcept {
    implementation_->endInSignalHandler();
}

void PipeWireAudioHardware::destroyProcessTapInSignalHandler(AudioObjectID) noexcept {
    implementation_->endInSignalHandler();
}

} // namespace vello
