// SPDX-License-Identifier: Apache-2.0
#include "PipeWireClients.h"

#include "GraphEntries.h"
#include "PipeWireBinding.h"
#include "PipeWireValues.h"

#include <utility>

namespace vello {

namespace {

void identify(GraphClient& client, const spa_dict& properties) {
    client.applicationID = propertyText(properties, "pipewire.access.portal.app_id");
    // The socket of a PulseAudio client belongs to the PulseAudio server, which passes on the process ID that
    // the application reports. A sandboxed application reports an ID of its own namespace, which outside
    // belongs to another process.
    const bool isPulse = propertyText(properties, PW_KEY_CLIENT_API) == "pipewire-pulse";
    const bool isSandboxed = !client.applicationID.empty();
    const auto reported =
        isPulse && isSandboxed ? std::nullopt : propertyNumber(properties, PW_KEY_APP_PROCESS_ID);
    const auto ofSocket = propertyNumber(properties, PW_KEY_SEC_PID);
    client.processID = static_cast<std::int32_t>((isPulse    ? reported
                                                  : ofSocket ? ofSocket
                                                             : reported)
                                                     .value_or(0));
    if (client.applicationID.empty())
        client.applicationID = propertyText(properties, PW_KEY_APP_ID);
}

} // namespace

struct PipeWireClients::Entry {
    PipeWireClients& clients;
    GraphClient object;
    PipeWireBinding binding;

    void listen();
    static void onInfo(void* data, const pw_client_info* info);
};

void PipeWireClients::Entry::listen() {
    static const pw_client_events events = [] {
        pw_client_events table{};
        table.version = PW_VERSION_CLIENT_EVENTS;
        table.info = onInfo;
        return table;
    }();
    vello_client_add_listener(binding.as<pw_client>(), binding.hook(), &events, this);
}

void PipeWireClients::Entry::onInfo(void* data, const pw_client_info* info) {
    auto& entry = *static_cast<Entry*>(data);
    if ((info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS) != 0 && info->props != nullptr)
        entry.clients.propertiesKnown(entry.object, *info->props);
}

PipeWireClients::PipeWireClients(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID)
    : observer_(observer), nextObjectID_(std::move(nextObjectID)) {}

PipeWireClients::~PipeWireClients() = default;

void PipeWireClients::add(std::uint32_t clientID) {
    auto entry = std::unique_ptr<Entry>(new Entry{*this, {}, {}});
    entry->object.clientID = clientID;
    clients_[clientID] = std::move(entry);
}

void PipeWireClients::remove(std::uint32_t clientID) {
    clients_.erase(clientID);
}

void PipeWireClients::clear() {
    clients_.clear();
}

void PipeWireClients::streamAdded(pw_registry* registry, std::uint32_t clientID) {
    Entry& entry = *clients_.at(clientID);
    if (entry.object.objectID != 0)
        return;
    entry.object.objectID = nextObjectID_();
    entry.binding.bind(pw_registry_bind(registry, clientID, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0));
    entry.listen();
}

void PipeWireClients::streamDescribed(const GraphStream& stream) {
    if (GraphClient* owner = find(stream.clientID))
        update(*owner, [&] {
            if (stream.exemption == StreamExemption::none)
                owner->movableStreams.insert(stream.nodeID);
            else
                owner->movableStreams.erase(stream.nodeID);
        });
}

void PipeWireClients::streamRemoved(const GraphStream& stream) {
    if (GraphClient* owner = find(stream.clientID))
        update(*owner, [&] { owner->movableStreams.erase(stream.nodeID); });
}

void PipeWireClients::propertiesKnown(GraphClient& client, const spa_dict& properties) {
    identify(client, properties);
    update(client, [&] { client.isDescribed = true; });
}

template <class Change> void PipeWireClients::update(GraphClient& client, Change change) {
    const bool wasProcess = client.isProcess();
    change();
    if (client.isProcess() != wasProcess)
        observer_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
}

void PipeWireClients::setDownmix(AudioObjectID process, bool downmixes) {
    for (const auto& [id, entry] : clients_)
        if (entry->object.objectID == process)
            entry->object.downmixes = downmixes;
}

std::vector<const GraphClient*> PipeWireClients::processes() const {
    return objectsWhere(clients_, [](const GraphClient& client) { return client.isProcess(); });
}

const GraphClient* PipeWireClients::process(AudioObjectID objectID) const {
    return objectWhere(clients_, [&](const GraphClient& client) {
        return objectID != 0 && client.objectID == objectID && client.isProcess();
    });
}

const GraphClient* PipeWireClients::withClientID(std::uint32_t clientID) const {
    return objectWithID(clients_, clientID);
}

GraphClient* PipeWireClients::find(std::uint32_t clientID) {
    const auto entry = clients_.find(clientID);
    return entry != clients_.end() ? &entry->second->object : nullptr;
}

} // namespace vello
