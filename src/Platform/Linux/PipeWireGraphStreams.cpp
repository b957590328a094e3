// SPDX-License-Identifier: Apache-2.0
// The clients and their streams of the mirror.
#include "PipeWireGraph.h"

#include "PipeWireGraphEntries.h"
#include "PipeWireQuirks.h"

#include <algorithm>
#include <utility>

namespace vello {

void PipeWireGraph::clientAdded(std::uint32_t id, const spa_dict&) {
    auto entry = std::unique_ptr<ClientEntry>(new ClientEntry{*this, {}, {}});
    entry->client.clientID = id;
    clients_[id] = std::move(entry);
    // It may be about to look at the metadata.
    readMetadataAnewSoon();
}

void PipeWireGraph::clientDescribed(ClientEntry& entry, const spa_dict& properties) {
    GraphClient& client = entry.client;
    // A PulseAudio client's socket belongs to the PulseAudio server, which tells the application's own
    // process.
    const bool isPulse = propertyText(properties, PW_KEY_CLIENT_API) == "pipewire-pulse";
    const auto told = propertyNumber(properties, PW_KEY_APP_PROCESS_ID);
    const auto ofSocket = propertyNumber(properties, PW_KEY_SEC_PID);
    client.processID = static_cast<std::int32_t>((isPulse ? told : ofSocket ? ofSocket : told).value_or(0));
    client.applicationID = propertyText(properties, "pipewire.access.portal.app_id");
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
    } else if (streamsOf(owner.client).size() == 1 && owner.client.isDescribed) {
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
    }
    Callbacks::listenToStream(stream);
    observer_.streamAppeared(stream.stream);
}

void PipeWireGraph::streamDescribed(StreamEntry& entry, const spa_dict& properties) {
    std::string target = propertyText(properties, PW_KEY_TARGET_OBJECT);
    if (target.empty())
        target = propertyText(properties, "node.target");
    if (!target.empty())
        entry.stream.targetProperty = std::move(target);
}

void PipeWireGraph::streamRemoved(std::uint32_t id) {
    const std::uint32_t clientID = streams_.at(id)->stream.clientID;
    streams_.erase(id);
    // The server takes the targets of a node that is gone away without telling, and gives its number to the
    // next one.
    if (metadata_ != nullptr)
        std::erase_if(metadata_->targets, [id](const auto& target) { return target.first.first == id; });
    observer_.streamVanished(id);
    const auto client = clients_.find(clientID);
    if (client != clients_.end() && !isListed(client->second->client))
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
    reportRunning(clientID);
}

void PipeWireGraph::streamStateChanged(StreamEntry& entry, bool isRunning) {
    GraphStream& stream = entry.stream;
    if (stream.isRunning == isRunning)
        return;
    stream.isRunning = isRunning;
    if (isRunning) {
        const bool wasReported = std::exchange(stream.isEndReported, true);
        if (wasReported)
            reportRunning(stream.clientID);
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
        reportRunning(stream.clientID);
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

void PipeWireGraph::reportRunning(std::uint32_t clientID) {
    const auto client = clients_.find(clientID);
    if (client != clients_.end())
        observer_.propertyChanged(client->second->client.objectID, kAudioProcessPropertyIsRunningOutput);
}

bool PipeWireGraph::isListed(const GraphClient& client) const {
    return client.isDescribed && findEntry(streams_, [&](const StreamEntry& entry) {
                                     return entry.stream.clientID == client.clientID;
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

std::vector<const GraphStream*> PipeWireGraph::streams() const {
    std::vector<const GraphStream*> all;
    for (const auto& [id, entry] : streams_)
        all.push_back(&entry->stream);
    return all;
}

std::vector<const GraphStream*> PipeWireGraph::streamsOf(const GraphClient& client) const {
    std::vector<const GraphStream*> owned;
    for (const auto& [id, entry] : streams_)
        if (entry->stream.clientID == client.clientID)
            owned.push_back(&entry->stream);
    return owned;
}

const GraphStream* PipeWireGraph::stream(std::uint32_t nodeID) const {
    const auto entry = streams_.find(nodeID);
    return entry != streams_.end() ? &entry->second->stream : nullptr;
}

bool PipeWireGraph::isProducingOutput(const GraphClient& client) const {
    return std::ranges::any_of(streamsOf(client), [](const GraphStream* stream) {
        return stream->isRunning || !stream->isEndReported;
    });
}

} // namespace vello
