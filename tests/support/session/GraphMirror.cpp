// SPDX-License-Identifier: Apache-2.0
#include "GraphMirror.h"

#include "InterfaceCall.h"

#include <cerrno>
#include <stdexcept>
#include <string_view>

namespace vello::session {
namespace {

/// While the server sends the metadata to another client, it withholds changes from all others. After this
/// time a wait checks whether it missed a change.
constexpr std::chrono::milliseconds metadataPatience(500);

std::map<std::string, std::string> toMap(const spa_dict* properties) {
    std::map<std::string, std::string> result;
    if (properties != nullptr)
        for (std::uint32_t i = 0; i < properties->n_items; ++i)
            result[properties->items[i].key] = properties->items[i].value;
    return result;
}

} // namespace

const pw_core_events AudioGraph::Mirror::coreEvents = [] {
    pw_core_events table{};
    table.version = PW_VERSION_CORE_EVENTS;
    table.done = [](void* data, std::uint32_t, int sequence) {
        auto* self = static_cast<Mirror*>(data);
        if (sequence == self->metadataSync_)
            return self->forgetMissedMetadata();
        bool more = false;
        self->change([&](GraphState&) { more = --self->syncsLeft_ > 0; });
        if (more)
            self->requestSync();
    };
    table.error = [](void* data, std::uint32_t id, int, int result, const char*) {
        if (id == PW_ID_CORE && result == -EPIPE)
            static_cast<Mirror*>(data)->change([](GraphState& state) { state = GraphState{}; });
    };
    return table;
}();

const pw_registry_events AudioGraph::Mirror::registryEvents = [] {
    pw_registry_events table{};
    table.version = PW_VERSION_REGISTRY_EVENTS;
    table.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                      const spa_dict* properties) {
        static_cast<Mirror*>(data)->addGlobal(id, type, properties);
    };
    table.global_remove = [](void* data, std::uint32_t id) { static_cast<Mirror*>(data)->removeGlobal(id); };
    return table;
}();

const pw_node_events AudioGraph::Mirror::nodeEvents = [] {
    pw_node_events table{};
    table.version = PW_VERSION_NODE_EVENTS;
    table.info = [](void* data, const pw_node_info* info) {
        const auto* bound = static_cast<Bound*>(data);
        bound->mirror->updateNode(bound->id, *info);
    };
    return table;
}();

const pw_client_events AudioGraph::Mirror::clientEvents = [] {
    pw_client_events table{};
    table.version = PW_VERSION_CLIENT_EVENTS;
    table.info = [](void* data, const pw_client_info* info) {
        const auto* bound = static_cast<Bound*>(data);
        if ((info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS) != 0)
            bound->mirror->change([&](GraphState& state) { state.clients[bound->id] = toMap(info->props); });
    };
    return table;
}();

const pw_link_events AudioGraph::Mirror::linkEvents = [] {
    pw_link_events table{};
    table.version = PW_VERSION_LINK_EVENTS;
    table.info = [](void* data, const pw_link_info* info) {
        const auto* bound = static_cast<Bound*>(data);
        const GraphLink link{info->output_node_id, info->input_node_id};
        bound->mirror->change([&](GraphState& state) { state.links[bound->id] = link; });
    };
    return table;
}();

const pw_metadata_events AudioGraph::Mirror::metadataEvents = [] {
    pw_metadata_events table{};
    table.version = PW_VERSION_METADATA_EVENTS;
    table.property = [](void* data, std::uint32_t subject, const char* key, const char*,
                        const char* value) -> int {
        auto* bound = static_cast<Bound*>(data);
        return bound->mirror->updateMetadata(*bound, subject, key, value);
    };
    return table;
}();

AudioGraph::Mirror::Mirror(const std::string& socket) : connection_(socket, "session-harness") {
    const PipeWireConnection::Guard guard(connection_);
    state_.isConnected = true;
    callInterface(connection_.core(), &pw_core_methods::add_listener, &coreListener_, &coreEvents, this);
    registry_ = pw_core_get_registry(connection_.core(), PW_VERSION_REGISTRY, 0);
    callInterface(registry_, &pw_registry_methods::add_listener, &registryListener_, &registryEvents, this);
    requestSync();
}

AudioGraph::Mirror::~Mirror() {
    connection_.stop();
    for (const auto& [id, bound] : bound_)
        pw_proxy_destroy(bound->proxy);
    for (auto* proxy : created_)
        pw_proxy_destroy(proxy);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    spa_hook_remove(&coreListener_);
}

void AudioGraph::Mirror::requestSync() {
    callInterface(connection_.core(), &pw_core_methods::sync, PW_ID_CORE, 0);
}

bool AudioGraph::Mirror::awaitComplete(std::chrono::milliseconds timeout) {
    return waitUntil([this](const GraphState&) { return syncsLeft_ <= 0; }, timeout);
}

GraphState AudioGraph::Mirror::state() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

std::vector<GraphEvent> AudioGraph::Mirror::events() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

bool AudioGraph::Mirror::waitUntil(const Predicate& predicate, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (true) {
        {
            std::unique_lock lock(mutex_);
            const auto pause = std::min(deadline, std::chrono::steady_clock::now() + metadataPatience);
            if (changed_.wait_until(lock, pause, [&] { return predicate(state_); }))
                return true;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        readMetadataAnew();
    }
}

void AudioGraph::Mirror::readMetadataAnew() {
    const PipeWireConnection::Guard guard(connection_);
    // Only one read at a time, because the end of overlapping reads could not be detected.
    if (metadataSync_ >= 0 || syncsLeft_ > 0 || !state().isConnected)
        return;
    for (const auto& [id, bound] : bound_) {
        if (bound->name != "default")
            continue;
        bound->told.clear();
        spa_hook_remove(&bound->listener);
        pw_proxy_destroy(bound->proxy);
        bound->proxy = static_cast<pw_proxy*>(
            pw_registry_bind(registry_, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
        pw_proxy_add_object_listener(bound->proxy, &bound->listener, &metadataEvents, bound.get());
        metadataSync_ = callInterface(connection_.core(), &pw_core_methods::sync, PW_ID_CORE, 0);
    }
}

void AudioGraph::Mirror::forgetMissedMetadata() {
    metadataSync_ = -1;
    for (const auto& [id, bound] : bound_)
        if (bound->name == "default")
            change([&](GraphState& state) {
                std::erase_if(state.metadata,
                              [&](const auto& entry) { return !bound->told.contains(entry.first); });
            });
}

template <class Change> void AudioGraph::Mirror::change(Change&& apply) {
    {
        const std::lock_guard lock(mutex_);
        apply(state_);
    }
    changed_.notify_all();
}

AudioGraph::Mirror::Bound& AudioGraph::Mirror::bind(std::uint32_t id, const char* type,
                                                    std::uint32_t version) {
    auto bound = std::make_unique<Bound>();
    bound->mirror = this;
    bound->id = id;
    bound->proxy = static_cast<pw_proxy*>(pw_registry_bind(registry_, id, type, version, 0));
    auto& place = bound_[id];
    place = std::move(bound);
    return *place;
}

void AudioGraph::Mirror::addGlobal(std::uint32_t id, const char* type, const spa_dict* properties) {
    const std::string_view name = type;
    if (name == PW_TYPE_INTERFACE_Node) {
        auto& bound = bind(id, type, PW_VERSION_NODE);
        pw_proxy_add_object_listener(bound.proxy, &bound.listener, &nodeEvents, &bound);
    } else if (name == PW_TYPE_INTERFACE_Client) {
        auto& bound = bind(id, type, PW_VERSION_CLIENT);
        pw_proxy_add_object_listener(bound.proxy, &bound.listener, &clientEvents, &bound);
    } else if (name == PW_TYPE_INTERFACE_Link) {
        auto& bound = bind(id, type, PW_VERSION_LINK);
        pw_proxy_add_object_listener(bound.proxy, &bound.listener, &linkEvents, &bound);
    } else if (name == PW_TYPE_INTERFACE_Metadata) {
        auto& bound = bind(id, type, PW_VERSION_METADATA);
        bound.name = toMap(properties)["metadata.name"];
        pw_proxy_add_object_listener(bound.proxy, &bound.listener, &metadataEvents, &bound);
    } else if (name == PW_TYPE_INTERFACE_Port && properties != nullptr) {
        auto known = toMap(properties);
        change([&](GraphState& state) {
            state.ports[id] = {static_cast<std::uint32_t>(std::stoul(known[PW_KEY_NODE_ID])),
                               known[PW_KEY_PORT_NAME]};
        });
    }
}

void AudioGraph::Mirror::removeGlobal(std::uint32_t id) {
    if (const auto found = bound_.find(id); found != bound_.end()) {
        pw_proxy_destroy(found->second->proxy);
        bound_.erase(found);
    }
    change([&](GraphState& state) {
        if (const auto node = state.nodes.find(id); node != state.nodes.end())
            events_.push_back({std::chrono::steady_clock::now(), GraphEvent::Kind::nodeRemoved,
                               node->second.name(), node->second.mediaClass()});
        state.nodes.erase(id);
        state.clients.erase(id);
        state.links.erase(id);
        state.ports.erase(id);
        // The server removes it as well, without a notification.
        std::erase_if(state.metadata, [&](const auto& entry) { return entry.first.first == id; });
    });
}

void AudioGraph::Mirror::updateNode(std::uint32_t id, const pw_node_info& info) {
    change([&](GraphState& state) {
        const bool isNew = !state.nodes.contains(id);
        auto& node = state.nodes[id];
        node.id = id;
        node.state = pw_node_state_as_string(info.state);
        if ((info.change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0)
            node.properties = toMap(info.props);
        if (isNew)
            events_.push_back({std::chrono::steady_clock::now(), GraphEvent::Kind::nodeAdded, node.name(),
                               node.mediaClass()});
    });
}

int AudioGraph::Mirror::updateMetadata(Bound& metadata, std::uint32_t subject, const char* key,
                                       const char* value) {
    if (metadata.name != "default")
        return 0;
    change([&](GraphState& state) {
        const std::string name = key == nullptr ? "" : key;
        metadata.told.insert({subject, name});
        if (value != nullptr && state.metadata.contains({subject, name}) &&
            state.metadata.at({subject, name}) == value)
            return;
        events_.push_back({std::chrono::steady_clock::now(), GraphEvent::Kind::metadataChanged,
                           std::to_string(subject) + " " + name, value == nullptr ? "" : value});
        if (key == nullptr)
            std::erase_if(state.metadata, [&](const auto& entry) { return entry.first.first == subject; });
        else if (value == nullptr)
            state.metadata.erase({subject, name});
        else
            state.metadata[{subject, name}] = value;
    });
    return 0;
}

void AudioGraph::Mirror::setMetadata(const std::string& metadata, std::uint32_t subject,
                                     const std::string& key, const std::string& type,
                                     const std::string& value) {
    const PipeWireConnection::Guard guard(connection_);
    for (const auto& [id, bound] : bound_) {
        if (bound->name != metadata)
            continue;
        auto* object = reinterpret_cast<pw_metadata*>(bound->proxy);
        callInterface(object, &pw_metadata_methods::set_property, subject, key.c_str(),
                      type.empty() ? nullptr : type.c_str(), value.empty() ? nullptr : value.c_str());
        return;
    }
    throw std::runtime_error("the server has no metadata " + metadata);
}

void AudioGraph::Mirror::createOutput(const std::string& name, const std::string& description,
                                      const std::string& positions) {
    const PipeWireConnection::Guard guard(connection_);
    auto* properties = makeProperties({{"factory.name", "support.null-audio-sink"},
                                       {PW_KEY_MEDIA_CLASS, "Audio/Sink"},
                                       {PW_KEY_NODE_NAME, name},
                                       {PW_KEY_NODE_DESCRIPTION, description},
                                       {"audio.position", positions},
                                       {PW_KEY_PRIORITY_SESSION, "1000"},
                                       {PW_KEY_PRIORITY_DRIVER, "1000"},
                                       {PW_KEY_OBJECT_LINGER, "true"}});
    void* proxy = pw_core_create_object(connection_.core(), "adapter", PW_TYPE_INTERFACE_Node,
                                        PW_VERSION_NODE, &properties->dict, 0);
    pw_properties_free(properties);
    created_.push_back(static_cast<pw_proxy*>(proxy));
}

void AudioGraph::Mirror::createLink(std::uint32_t outputPort, std::uint32_t inputPort) {
    const PipeWireConnection::Guard guard(connection_);
    auto* properties = makeProperties({{PW_KEY_LINK_OUTPUT_PORT, std::to_string(outputPort)},
                                       {PW_KEY_LINK_INPUT_PORT, std::to_string(inputPort)},
                                       {PW_KEY_OBJECT_LINGER, "true"}});
    void* proxy = pw_core_create_object(connection_.core(), "link-factory", PW_TYPE_INTERFACE_Link,
                                        PW_VERSION_LINK, &properties->dict, 0);
    pw_properties_free(properties);
    created_.push_back(static_cast<pw_proxy*>(proxy));
}

void AudioGraph::Mirror::suspendNode(std::uint32_t id) {
    const PipeWireConnection::Guard guard(connection_);
    const spa_command suspend = SPA_NODE_COMMAND_INIT(SPA_NODE_COMMAND_Suspend);
    callInterface(bound_.at(id)->proxy, &pw_node_methods::send_command, &suspend);
}

void AudioGraph::Mirror::destroyObject(std::uint32_t id) {
    const PipeWireConnection::Guard guard(connection_);
    callInterface(registry_, &pw_registry_methods::destroy, id);
}

} // namespace vello::session
