// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireTapFormats.h"
#include "PipeWireTapPair.h"
#include "PipeWireTapRetry.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_core;

namespace vello {

class PipeWireGraph;
class PipeWireStreamDirector;

/// A process tap. A device is made of it.
struct ProcessTap {
    TapDescription description;
    std::uint32_t channels;  ///< as reported to its creator
    std::string output = {}; ///< node name of the output device, once known
};

/// An aggregate device of one tap: its pair of nodes, its callback, and the redirects of the
/// applications' streams to it. The control loop's lock guards all of it.
class PipeWireTapDevice {
public:
    using PropertyChanged = std::function<void(AudioObjectID, FourCharCode selector)>;
    /// What all devices share.
    struct Context {
        PipeWireGraph& graph;
        PipeWireStreamDirector& director;
        const PipeWireTapFormats& formats;
        const PropertyChanged& propertyChanged;
        std::atomic<std::uint64_t>& missedCycles; ///< of all pairs, see MissedCycles
    };
    /// How long a pair counts as being worked on by the session manager.
    static constexpr std::chrono::seconds workPatience{2};

    PipeWireTapDevice(const Context& context, AudioObjectID id, AggregateDeviceDescription description,
                      AudioObjectID tap, const ProcessTap& tapped);
    PipeWireTapDevice(const PipeWireTapDevice&) = delete;
    PipeWireTapDevice& operator=(const PipeWireTapDevice&) = delete;

    const AggregateDeviceDescription& description() const { return description_; }
    AudioObjectID tap() const { return tap_; }
    /// 1 or 2.
    std::uint32_t channels() const { return channels_; }
    bool captures(AudioObjectID process) const;
    /// Whether its tap is newer than the other device's tap and has processes of it.
    bool isSuccessorOf(const PipeWireTapDevice& older) const;
    /// Whether the tap with this ID is newer than its own tap and has processes of it.
    bool isSucceededBy(AudioObjectID tap, const TapDescription& newer) const;

    void addProc(AudioDeviceIOProcID procID, AudioDeviceIOProc function, void* clientData);
    bool hasProc(AudioDeviceIOProcID procID) const { return procs_.contains(procID); }
    /// Stops the callback if it is the started one.
    void removeProc(AudioDeviceIOProcID procID);
    /// 0 while no callback is started.
    AudioDeviceIOProcID startedProc() const { return startedProc_; }
    void start(AudioDeviceIOProcID procID);
    void stop();
    /// Restores the streams, or moves them to another device of their process.
    void release();

    /// False while it waits for its turn, or when another device has taken over the pair.
    bool hasPair() const { return pair_ != nullptr; }
    /// `sampleRateChanged` must call sampleRateChanged() while the device exists.
    void makePair(pw_core* core, const std::string& captureName, std::function<void()> sampleRateChanged);
    /// Takes a pair that was made for no device in particular and follows the default output.
    /// `sampleRateChanged` as above.
    void useSparePair(std::unique_ptr<PipeWireTapPair> pair, std::function<void()> sampleRateChanged);
    /// Takes over the pair of the device that it replaces, if that carries sound of the same channels. The
    /// callback of that device runs until this one is started.
    void adoptPair(PipeWireTapDevice& predecessor, std::function<void()> sampleRateChanged);
    /// Whether its pair is that of its predecessor.
    bool continuesPredecessor() const { return continuesPredecessor_; }
    /// The device that has taken over its pair; 0: none.
    AudioObjectID adopter() const { return adopter_; }
    /// False while it needs a pair of its own.
    bool isProvided() const { return pair_ != nullptr || adopter_ != 0; }
    /// No callback runs in its pair any more, not even one of its predecessor.
    void silencePair();
    /// Null when there is no pair.
    std::unique_ptr<PipeWireTapPair> takePair() { return std::move(pair_); }
    /// Empty while there is no pair.
    std::string captureName() const { return pair_ != nullptr ? pair_->captureName() : std::string{}; }
    /// When the session manager last received work for it: the pair, or the streams.
    MainThread::Instant workGivenAt() const { return workGivenAt_; }
    bool isWorkedOn() const;

    /// Linked, or late. The streams are directed to a late device when it is linked.
    bool isAlive() const;
    /// Started, and the session manager has linked both the device's output and the streams that play into
    /// it.
    bool isConnected() const;
    bool isDirected() const { return isDirected_; }
    bool isLinkedOut() const { return pair_ != nullptr && pair_->isLinkedOut(context_.graph); }
    /// isLinkedOut() when a link last changed.
    bool wasLinkedOut() const { return wasLinkedOut_; }
    bool isLinkedInto() const { return pair_ != nullptr && pair_->isLinkedInto(context_.graph); }
    /// Whether an existing stream is directed to it, linked or not.
    bool hasStreams() const;
    /// Whether its streams are linked to it, or it has none.
    bool hasItsStreams() const { return isLinkedInto() || !hasStreams(); }
    /// Negotiated rate of the pair in Hz; the expected rate before the negotiation.
    double sampleRate() const;

    void linksChanged();
    /// Call when streams appear or vanish. The graph does not run its pair while its processes have none.
    void restWithoutStreams();
    void sampleRateChanged();
    /// Call when a stream of its processes requests another latency, or has ended and requests none.
    void latencyChanged();

    /// Whether its pair is not linked although there is an output device. Without any device there is nothing
    /// to link to, and the session manager links the pair when a device appears.
    bool isRefused() const;
    const PipeWireTapRetry& retry() const { return retry_; }
    /// Call when the session manager has given the pair up. Restores the streams until a new pair is linked.
    void giveUp(MainThread::Instant now);
    /// Call when the pair that was given up has been taken. The new pair is made when it is its turn.
    void retried() { retry_.remade(); }

private:
    struct Proc {
        AudioDeviceIOProc function;
        void* clientData;
    };

    /// Node name of the output device; empty when the pair follows the default output.
    std::string targetSink() const;
    bool followsDefault() const { return target_.empty(); }
    void usePair(std::unique_ptr<PipeWireTapPair> pair, std::function<void()> sampleRateChanged);
    void moveToTarget();
    void startPair();
    void directWhenLinked();
    void reportLinks();

    const Context& context_;
    const AudioObjectID id_;
    const AggregateDeviceDescription description_;
    const AudioObjectID tap_;
    const std::vector<AudioObjectID> processes_;
    const std::uint32_t channels_;
    const MainThread::Instant madeAt_ = MainThread::Clock::now();
    std::map<AudioDeviceIOProcID, Proc> procs_;
    AudioDeviceIOProcID startedProc_ = 0;
    std::unique_ptr<PipeWireTapPair> pair_;
    AudioObjectID adopter_ = 0;
    bool continuesPredecessor_ = false;
    std::string target_;                  ///< targetSink() that the pair was made for or moved to
    std::optional<GraphLatency> latency_; ///< requested by its streams
    MainThread::Instant workGivenAt_{};
    bool isDirected_ = false; ///< the streams are directed to the capture
    PipeWireTapRetry retry_;
    bool wasLinkedOut_ = false;
    bool wasConnected_ = false;
    double announcedSampleRate_ = 0;
};

} // namespace vello
