// SPDX-License-Identifier: Apache-2.0
#include "PipeWireStreams.h"

#include "GraphEntries.h"
#include "PipeWireBinding.h"
#include "PipeWireClients.h"
#include "PipeWireLinks.h"
#include "PipeWireQuirks.h"
#include "PipeWireValues.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <spa/param/audio/format-utils.h>

namespace vello {

namespace {

bool isTrue(const spa_dict& properties, const char* key) {
    const std::string text = propertyText(properties, key);
    return text == "true" || text == "1";
}

/// The exemption that follows from a stream's own properties. Modules of the audio system mark their related
/// nodes with a link group. A stream that the session manager does not connect is not moved by it either.
StreamExemption exemptionByProperties(const spa_dict& properties) {
    if (!propertyText(properties, PW_KEY_NODE_LINK_GROUP).empty())
        return StreamExemption::module;
    if (isTrue(properties, PW_KEY_NODE_DONT_RECONNECT) || isTrue(properties, "node.dont-move"))
        return StreamExemption::fixed;
    if (isTrue(properties, PW_KEY_NODE_EXCLUSIVE))
        return StreamExemption::exclusive;
    if (!isTrue(properties, PW_KEY_NODE_AUTOCONNECT))
        return StreamExemption::unmanaged;
    return StreamExemption::none;
}

/// The text of the first property that is not empty.
std::string firstText(const spa_dict& properties, std::initializer_list<const char*> keys) {
    for (const char* key : keys)
        if (std::string text = propertyText(properties, key); !text.empty())
            return text;
    return {};
}

std::optional<GraphLatency> latencyAskedFor(const spa_dict& properties) {
    const std::string text = propertyText(properties, PW_KEY_NODE_LATENCY);
    GraphLatency latency;
    if (std::sscanf(text.c_str(), "%u/%u", &latency.frames, &latency.rate) != 2 || latency.frames == 0 ||
        latency.rate == 0)
        return std::nullopt;
    return latency;
}

bool isUnansweredByPulseServer(const spa_dict& properties) {
    return propertyText(properties, PW_KEY_CLIENT_API) == "pipewire-pulse" &&
           propertyText(properties, quirks::kAnsweredByPulseServer).empty();
}

bool offersFormats(const pw_node_info& info) {
    return std::any_of(info.params, info.params + info.n_params, [](const spa_param_info& offered) {
        return offered.id == SPA_PARAM_EnumFormat && (offered.flags & SPA_PARAM_INFO_READ) != 0;
    });
}

} // namespace

struct PipeWireStreams::Entry {
    PipeWireStreams& streams;
    GraphStream object;
    PipeWireBinding binding;
    /// according to the properties only
    StreamExemption exemption = StreamExemption::none;
    bool arePropertiesKnown = false;
    bool isFormatKnown = false;
    bool isEverRaw = false; ///< at least one of its formats was uncompressed
    /// The PulseAudio server has not answered the application's request for this stream yet.
    bool isUnanswered = false;
    MainThread::Instant runningSince{};

    static void onInfo(void* data, const pw_node_info* info);
    static void onParameter(void* data, int sequence, std::uint32_t id, std::uint32_t index,
                            std::uint32_t next, const spa_pod* parameter);
};

void PipeWireStreams::Entry::onInfo(void* data, const pw_node_info* info) {
    auto& entry = *static_cast<Entry*>(data);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PARAMS) != 0 && !offersFormats(*info))
        entry.isFormatKnown = entry.isEverRaw = true;
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0 && info->props != nullptr)
        entry.streams.propertiesKnown(entry, *info->props);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_STATE) != 0)
        entry.streams.stateChanged(entry, info->state == PW_NODE_STATE_RUNNING);
}

void PipeWireStreams::Entry::onParameter(void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t,
                                         const spa_pod* parameter) {
    auto& entry = *static_cast<Entry*>(data);
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    if (id != SPA_PARAM_EnumFormat || parameter == nullptr ||
        spa_format_parse(parameter, &type, &subtype) < 0)
        return;
    entry.streams.formatKnown(entry, subtype == SPA_MEDIA_SUBTYPE_raw,
                              formatInteger(parameter, SPA_FORMAT_AUDIO_channels));
}

PipeWireStreams::PipeWireStreams(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                                 pw_loop* loop, PipeWireClients& clients, const PipeWireLinks& links)
    : observer_(observer), nextObjectID_(std::move(nextObjectID)),
      endedTimer_(loop, [this] { reportEnded(); }), answerTimer_(loop, [this] { describeUnanswered(); }),
      clients_(clients), links_(links) {}

PipeWireStreams::~PipeWireStreams() = default;

void PipeWireStreams::add(pw_registry* registry, std::uint32_t nodeID, const spa_dict& properties) {
    const auto clientID = propertyNumber(properties, PW_KEY_CLIENT_ID);
    if (!clientID || clients_.withClientID(*clientID) == nullptr)
        return;
    auto entry = std::unique_ptr<Entry>(new Entry{*this, {}, {}});
    entry->object.objectID = nextObjectID_();
    entry->object.nodeID = nodeID;
    entry->object.clientID = *clientID;
    entry->binding.bind(pw_registry_bind(registry, nodeID, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    Entry& added = *(streams_[nodeID] = std::move(entry));
    clients_.streamAdded(registry, *clientID);
    listenToNode(added, {SPA_PARAM_EnumFormat});
}

void PipeWireStreams::remove(std::uint32_t nodeID) {
    const auto removed = streams_.extract(nodeID);
    const GraphStream& stream = removed.mapped()->object;
    observer_.streamVanished(nodeID);
    clients_.streamRemoved(stream);
    reportRunning(stream);
}

void PipeWireStreams::clear() {
    streams_.clear();
}

void PipeWireStreams::linksChanged(std::uint32_t nodeID) {
    if (const auto entry = streams_.find(nodeID); entry != streams_.end())
        entry->second->object.linksChangedAt = MainThread::Clock::now();
}

// Description

void PipeWireStreams::propertiesKnown(Entry& entry, const spa_dict& properties) {
    GraphStream& stream = entry.object;
    if (std::string target = firstText(properties, {PW_KEY_TARGET_OBJECT, "node.target"}); !target.empty())
        stream.targetProperty = std::move(target);
    stream.name = firstText(properties, {PW_KEY_MEDIA_NAME, PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NAME});
    stream.latency = latencyAskedFor(properties);
    // The session manager reads these properties only when the stream appears. A property removed later still
    // keeps the stream from being moved.
    if (const auto marked = exemptionByProperties(properties); marked != StreamExemption::none)
        entry.exemption = marked;
    entry.isUnanswered = !entry.object.isDescribed && isUnansweredByPulseServer(properties);
    entry.arePropertiesKnown = true;
    describe(entry);
}

void PipeWireStreams::formatKnown(Entry& entry, bool isRaw, std::uint32_t channels) {
    entry.isFormatKnown = true;
    if (isRaw) {
        entry.isEverRaw = true;
        entry.object.channels = channels;
    }
    describe(entry);
}

void PipeWireStreams::describe(Entry& entry) {
    if (!entry.arePropertiesKnown || !entry.isFormatKnown || entry.isUnanswered)
        return;
    const bool isEncoded = entry.exemption == StreamExemption::none && !entry.isEverRaw;
    entry.object.exemption = isEncoded ? StreamExemption::encoded : entry.exemption;
    entry.object.isDescribed = true;
    clients_.streamDescribed(entry.object);
    observer_.streamDescribed(entry.object);
}

/// Describes the streams that have run long enough to have been answered.
void PipeWireStreams::describeUnanswered() {
    const auto longEnough = MainThread::Clock::now() - quirks::kLongestPulseAnswer;
    for (auto& [id, entry] : streams_)
        if (entry->isUnanswered && entry->object.isRunning && entry->runningSince <= longEnough) {
            entry->isUnanswered = false;
            describe(*entry);
        }
}

std::vector<const GraphStream*> PipeWireStreams::all() const {
    return objectsWhere(streams_, [](const GraphStream&) { return true; });
}

std::vector<const GraphStream*> PipeWireStreams::ofClient(const GraphClient& client) const {
    return objectsWhere(streams_,
                        [&](const GraphStream& stream) { return stream.clientID == client.clientID; });
}

const GraphStream* PipeWireStreams::withNodeID(std::uint32_t nodeID) const {
    return objectWithID(streams_, nodeID);
}

const GraphStream* PipeWireStreams::withObjectID(AudioObjectID objectID) const {
    return objectWhere(streams_, [&](const GraphStream& stream) { return stream.objectID == objectID; });
}

// Running state

void PipeWireStreams::stateChanged(Entry& entry, bool isRunning) {
    GraphStream& stream = entry.object;
    if (std::exchange(stream.isRunning, isRunning) == isRunning)
        return;
    if (isRunning && entry.isUnanswered) {
        entry.runningSince = MainThread::Clock::now();
        answerTimer_.start(quirks::kLongestPulseAnswer);
    }
    if (!isRunning) {
        stream.endedAt = MainThread::Clock::now();
        stream.isEndReported = false;
        endedTimer_.start(quirks::kRunningFlicker);
    } else if (std::exchange(stream.isEndReported, true)) {
        reportRunning(stream);
    }
}

void PipeWireStreams::reportEnded() {
    const auto now = MainThread::Clock::now();
    bool isOneWaiting = false;
    for (auto& [id, entry] : streams_) {
        GraphStream& stream = entry->object;
        if (stream.isRunning || stream.isEndReported)
            continue;
        stream.isEndReported = now >= countsAsEndedAt(stream);
        if (stream.isEndReported)
            reportRunning(stream);
        else
            isOneWaiting = true;
    }
    if (isOneWaiting)
        endedTimer_.start(quirks::kRunningFlicker);
}

MainThread::Instant PipeWireStreams::countsAsEndedAt(const GraphStream& stream) const {
    return stream.endedAt + (isBeingLinked(stream) ? quirks::kLongestRelinking : quirks::kRunningFlicker);
}

bool PipeWireStreams::isBeingLinked(const GraphStream& stream) const {
    return !links_.hasLinkOutOf(stream.nodeID) ||
           MainThread::Clock::now() < stream.linksChangedAt + quirks::kRelinkingSettles;
}

void PipeWireStreams::reportRunning(const GraphStream& stream) {
    if (const GraphClient* client = clients_.ownerOf(stream))
        observer_.propertyChanged(client->objectID, kAudioProcessPropertyIsRunningOutput);
    observer_.streamRunningChanged(stream);
}

} // namespace vello
