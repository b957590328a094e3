// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireCalls.h"
#include "PipeWireGraph.h"

#include <algorithm>
#include <set>

namespace vello {

/// A proxy bound to one of the server's objects, with a listener on it. The destructor unbinds it.
class PipeWireBinding {
public:
    PipeWireBinding() = default;
    ~PipeWireBinding() { reset(); }
    PipeWireBinding(const PipeWireBinding&) = delete;
    PipeWireBinding& operator=(const PipeWireBinding&) = delete;

    /// Takes ownership of `proxy`; null when the object is already gone.
    void bind(void* proxy) {
        reset();
        proxy_ = static_cast<pw_proxy*>(proxy);
    }
    void reset() {
        if (proxy_ == nullptr)
            return;
        if (hook_.link.next != nullptr)
            spa_hook_remove(&hook_);
        hook_ = {};
        pw_proxy_destroy(proxy_);
        proxy_ = nullptr;
    }
    template <class Interface> Interface* as() const { return reinterpret_cast<Interface*>(proxy_); }
    spa_hook* hook() { return &hook_; }
    explicit operator bool() const { return proxy_ != nullptr; }

private:
    pw_proxy* proxy_ = nullptr;
    spa_hook hook_{};
};

struct PipeWireGraph::RegistryEntry {
    PipeWireBinding binding;
};

struct PipeWireGraph::SinkEntry {
    PipeWireGraph& graph;
    GraphSink sink;
    PipeWireBinding binding;
};

struct PipeWireGraph::StreamEntry {
    PipeWireGraph& graph;
    GraphStream stream;
    PipeWireBinding binding;
    /// according to the properties only
    StreamExemption exemption = StreamExemption::none;
    bool arePropertiesKnown = false;
    bool isFormatKnown = false;
    bool isEverRaw = false; ///< at least one of its formats was uncompressed
};

struct PipeWireGraph::ClientEntry {
    PipeWireGraph& graph;
    GraphClient client;
    PipeWireBinding binding;
};

struct PipeWireGraph::MetadataEntry {
    std::uint32_t id = 0;
    PipeWireBinding binding;
    std::map<std::pair<std::uint32_t, std::string>, MetadataValue> targets;
    std::set<std::uint32_t> withMoreThanTargets;
    /// Keys received during the current read.
    std::set<std::pair<std::uint32_t, std::string>> told;
    bool isDefaultSinkTold = false;
    bool isBeingTold = false;
    bool isToBeReadAgain = false;
    bool isKnown = false; ///< all values have been received once
};

/// The server's event callbacks, with access to the graph and its entries.
struct PipeWireGraph::Callbacks {
    static void listenToRegistry(PipeWireGraph& graph, RegistryEntry& entry);
    static void listenToSink(SinkEntry& entry);
    static void listenToStream(StreamEntry& entry);
    static void listenToClient(ClientEntry& entry);
    static void listenToMetadata(PipeWireGraph& graph, MetadataEntry& entry);
    static void endedStreamsTimer(void* data, std::uint64_t expirations);
    static void metadataTimer(void* data, std::uint64_t expirations);

private:
    static void global(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                       std::uint32_t version, const spa_dict* properties);
    static void globalRemove(void* data, std::uint32_t id);
    static void sinkInfo(void* data, const pw_node_info* info);
    static void sinkParameter(void* data, int sequence, std::uint32_t id, std::uint32_t index,
                              std::uint32_t next, const spa_pod* parameter);
    static void streamInfo(void* data, const pw_node_info* info);
    static void streamParameter(void* data, int sequence, std::uint32_t id, std::uint32_t index,
                                std::uint32_t next, const spa_pod* parameter);
    static void clientInfo(void* data, const pw_client_info* info);
    static int metadataProperty(void* data, std::uint32_t subject, const char* key, const char* type,
                                const char* value);
};

/// The property's text; empty when the property is absent.
inline std::string propertyText(const spa_dict& properties, const char* key) {
    const char* text = spa_dict_lookup(&properties, key);
    return text != nullptr ? text : "";
}

/// The property's number; absent when the property is missing or not a number.
std::optional<std::uint32_t> propertyNumber(const spa_dict& properties, const char* key);

/// The first entry of a map that matches; null when no entry matches.
template <class Map, class Predicate> auto findEntry(const Map& map, Predicate matches) {
    const auto found =
        std::find_if(map.begin(), map.end(), [&](const auto& item) { return matches(*item.second); });
    return found == map.end() ? nullptr : found->second.get();
}

} // namespace vello
