// SPDX-License-Identifier: Apache-2.0
// The mirror's clients and streams.
#include "PipeWireGraph.h"

#include "PipeWireGraphEntries.h"
#include "PipeWireQuirks.h"

#include <algorithm>
#include <cstdio>
#include <utility>

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

std::string streamName(const spa_dict& properties) {
    for (const char* key : {PW_KEY_MEDIA_NAME, PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NAME})
        if (std::string name = propertyText(properties, key); !name.empty())
            return name;
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

} // namespace

void PipeWireGraph::clientAdded(std::uint32_t id, const spa_dict&) {
    auto entry = std::unique_ptr<ClientEntry>(new ClientEntry{*this, {}, {}});
    entry->client.clientID = id;
    clients_[id] = std::move(entry);
    // The new client may be about to read the metadata, see quirks::metadataDoubt.
    readMetadataAnewSoon();
}

void PipeWireGraph::clientDescribed(ClientEntry& entry, const spa_dict& properties) {
    GraphClient& client = entry.client;
    client.applicationID = propertyText(properties, "pipewire.access.portal.app_id");
    // The socket of a PulseAudio client belongs to the PulseAudio server, which passes on the process ID that
    // the application reports. A sandboxed application reports an ID of its own namespace, which outside
    // belongs to another process.
    const bool isPulse = propertyText(properties, PW_KEY_CLIENT_API) == "pipewire-pulse";
    const bool isSandboxed = !client.applicationID.empty();
    const auto told =
        isPulse && isSandboxed ? std::nullopt : propertyNumber(properties, PW_KEY_APP_PROCESS_ID);
    const auto ofSocket = propertyNumber(properties, PW_KEY_SEC_PID);
    client.processID = static_cast<std::int32_t>((isPulse ? told : ofSocket ? ofSocket : told).value_or(0));
    if (client.applicationID.empty())
        client.applicationID = propertyText(properties, PW_KEY_APP_ID);
    if (!std::exchange(client.isDescribed, true) && isListed(client))
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
}

void PipeWireGraph::streamAdded(std::uint32_t id, const spa_dict& properties) {
    const auto clientID = propertyNumber(properties, PW_KEY_CLIENT_ID);
    const auto client = clients_.find(clientID.value_or(0));
    if (client == clients_.end())
        return;
    auto entry = std::unique_ptr<StreamEntry>(new StreamEntry{*this, {}, {}});
    entry->stream.objectID = nextObjectID_();
    entry->stream.nodeID = id;
    entry->stream.clientID = client->first;
    auto* registry = registry_->binding.as<pw_registry>();
    entry->binding.bind(pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    StreamEntry& stream = *(streams_[id] = std::move(entry));
    ClientEntry& owner = *client->second;
    if (owner.client.objectID == 0) {
        owner.client.objectID = nextObjectID_();
        owner.binding.bind(pw_registry_bind(registry, owner.client.clientID, PW_TYPE_INTERFACE_Client,
                                            PW_VERSION_CLIENT, 0));
        Callbacks::listenToClient(owner);
    }
    Callbacks::listenToStream(stream);
}

void PipeWireGraph::streamPropertiesKnown(StreamEntry& entry, const spa_dict& properties) {
    std::string target = propertyText(properties, PW_KEY_TARGET_OBJECT);
    if (target.empty())
        target = propertyText(properties, "node.target");
    if (!target.empty())
        entry.stream.targetProperty = std::move(target);
    entry.stream.name = streamName(properties);
    entry.stream.latency = latencyAskedFor(properties);
    // The session manager reads these properties only when the stream appears. A property removed later still
    // keeps the stream from being moved.
    if (const auto marked = exemptionByProperties(properties); marked != StreamExemption::none)
        entry.exemption = marked;
    entry.arePropertiesKnown = true;
    describe(entry);
}

void PipeWireGraph::streamFormatKnown(StreamEntry& entry, bool isRaw, std::uint32_t channels) {
    entry.isFormatKnown = true;
    if (isRaw) {
        entry.isEverRaw = true;
        entry.stream.channels = channels;
    }
    describe(entry);
}

void PipeWireGraph::streamHasNoFormat(StreamEntry& entry) {
    entry.isFormatKnown = entry.isEverRaw = true;
}

void PipeWireGraph::describe(StreamEntry& entry) {
    if (!entry.arePropertiesKnown || !entry.isFormatKnown)
        return;
    const auto client = clients_.find(entry.stream.clientID);
    const bool wasListed = client != clients_.end() && isListed(client->second->client);
    entry.stream.isDescribed = true;
    entry.stream.exemption = entry.exemption == StreamExemption::none && !entry.isEverRaw
                                 ? StreamExemption::encoded
                                 : entry.exemption;
    if (client != clients_.end())
        listChanged(client->second->client, wasListed);
    observer_.streamDescribed(entry.stream);
}

void PipeWireGraph::listChanged(const GraphClient& client, bool wasListed) {
    if (isListed(client) != wasListed)
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
}

void PipeWireGraph::streamRemoved(std::uint32_t id) {
    const std::uint32_t clientID = streams_.at(id)->stream.clientID;
    const auto client = clients_.find(clientID);
    const bool wasListed = client != clients_.end() && isListed(client->second->client);
    const auto removed = streams_.extract(id);
    // The server removes the targets of a vanished node without a notification, and reuses the node's ID.
    if (metadata_ != nullptr)
        std::erase_if(metadata_->targets, [id](const auto& target) { return target.first.first == id; });
    observer_.streamVanished(id);
    if (client != clients_.end())
        listChanged(client->second->client, wasListed);
    reportRunning(removed.mapped()->stream);
}

void PipeWireGraph::streamStateChanged(StreamEntry& entry, bool isRunning) {
    GraphStream& stream = entry.stream;
    if (stream.isRunning == isRunning)
        return;
    stream.isRunning = isRunning;
    if (isRunning) {
        const bool wasReported = std::exchange(stream.isEndReported, true);
        if (wasReported)
            reportRunning(stream);
        return;
    }
    stream.endedAt = MainThread::Clock::now();
    stream.isEndReported = false;
    startEndedStreamsTimer();
}

void PipeWireGraph::reportEndedStreams() {
    const auto now = MainThread::Clock::now();
    bool areAllReported = true;
    for (auto& [id, entry] : streams_) {
        GraphStream& stream = entry->stream;
        if (stream.isRunning || stream.isEndReported)
            continue;
        if (now <
            stream.endedAt + (isBeingLinked(stream) ? quirks::longestRelinking : quirks::runningFlicker)) {
            areAllReported = false;
            continue;
        }
        stream.isEndReported = true;
        reportRunning(stream);
    }
    if (!areAllReported)
        startEndedStreamsTimer();
}

bool PipeWireGraph::isBeingLinked(const GraphStream& stream) const {
    return !hasLinkOutOf(stream.nodeID) ||
           MainThread::Clock::now() < stream.linksChangedAt + quirks::relinkingSettles;
}

void PipeWireGraph::startEndedStreamsTimer() {
    timespec pause{.tv_sec = 0, .tv_nsec = std::chrono::nanoseconds(quirks::runningFlicker).count()};
    pw_loop_update_timer(loop_, endedStreamsTimer_, &pause, nullptr, false);
}

void PipeWireGraph::reportRunning(const GraphStream& stream) {
    const auto client = clients_.find(stream.clientID);
    if (client != clients_.end())
        observer_.propertyChanged(client->second->client.objectID, kAudioProcessPropertyIsRunningOutput);
    observer_.streamRunningChanged(stream);
}

bool PipeWireGraph::isListed(const GraphClient& client) const {
    return client.isDescribed && findEntry(streams_, [&](const StreamEntry& entry) {
                                     return entry.stream.clientID == client.clientID &&
                                            entry.stream.isDescribed &&
                                            entry.stream.exemption == StreamExemption::none;
                                 }) != nullptr;
}

std::vector<const GraphClient*> PipeWireGraph::processes() const {
    std::vector<const GraphClient*> listed;
    for (const auto& [id, entry] : clients_)
        if (isListed(entry->client))
            listed.push_back(&entry->client);
    std::ranges::sort(listed, {}, [](const GraphClient* client) { return client->objectID; });
    return listed;
}

const GraphClient* PipeWireGraph::process(AudioObjectID objectID) const {
    const auto* entry = findEntry(clients_, [&](const ClientEntry& candidate) {
        return objectID != 0 && candidate.client.objectID == objectID && isListed(candidate.client);
    });
    return entry != nullptr ? &entry->client : nullptr;
}

void PipeWireGraph::setDownmix(AudioObjectID process, bool downmixes) {
    for (const auto& [id, entry] : clients_)
        if (entry->client.objectID == process)
            entry->client.downmixes = downmixes;
}

const GraphClient* PipeWireGraph::processOfStream(const GraphStream& stream) const {
    const auto client = clients_.find(stream.clientID);
    return client != clients_.end() ? &client->second->client : nullptr;
}

template <class Predicate>
std::vector<const GraphStream*> PipeWireGraph::streamsWhere(Predicate matches) const {
    std::vector<const GraphStream*> found;
    for (const auto& [id, entry] : streams_)
        if (matches(entry->stream))
            found.push_back(&entry->stream);
    std::ranges::sort(found, {}, [](const GraphStream* stream) { return stream->objectID; });
    return found;
}

std::vector<const GraphStream*> PipeWireGraph::streams() const {
    return streamsWhere([](const GraphStream&) { return true; });
}

std::vector<const GraphStream*> PipeWireGraph::streamsOf(const GraphClient& client) const {
    return streamsWhere([&](const GraphStream& stream) { return stream.clientID == client.clientID; });
}

const GraphStream* PipeWireGraph::stream(std::uint32_t nodeID) const {
    const auto entry = streams_.find(nodeID);
    return entry != streams_.end() ? &entry->second->stream : nullptr;
}

const GraphStream* PipeWireGraph::streamOfObject(AudioObjectID objectID) const {
    const auto* entry = findEntry(
        streams_, [&](const StreamEntry& candidate) { return candidate.stream.objectID == objectID; });
    return entry != nullptr ? &entry->stream : nullptr;
}

} // namespace vello
