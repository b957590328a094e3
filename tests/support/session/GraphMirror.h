// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioGraph.h"
#include "PipeWireConnection.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

namespace vello::session {

/// The PipeWire side of AudioGraph: follows the registry on the connection's thread and updates a GraphState.
class AudioGraph::Mirror {
public:
    explicit Mirror(const std::string& socket);
    ~Mirror();
    Mirror(const Mirror&) = delete;
    Mirror& operator=(const Mirror&) = delete;

    bool awaitComplete(std::chrono::milliseconds timeout);
    GraphState state() const;
    std::vector<GraphEvent> events() const;
    bool waitUntil(const Predicate& predicate, std::chrono::milliseconds timeout);

    void setMetadata(const std::string& metadata, std::uint32_t subject, const std::string& key,
                     const std::string& type, const std::string& value);
    void createOutput(const std::string& name, const std::string& description, const std::string& positions);
    void createLink(std::uint32_t outputPort, std::uint32_t inputPort);
    void destroyObject(std::uint32_t id);
    void suspendNode(std::uint32_t id);

private:
    /// One object of the server with a listener.
    struct Bound {
        Mirror* mirror = nullptr;
        std::uint32_t id = 0;
        std::string name; ///< name of a metadata object
        pw_proxy* proxy = nullptr;
        spa_hook listener{};
        /// Keys received so far, of a metadata object.
        std::set<std::pair<std::uint32_t, std::string>> told = {};
    };

    template <class Change> void change(Change&& apply);
    Bound& bind(std::uint32_t id, const char* type, std::uint32_t version);
    void addGlobal(std::uint32_t id, const char* type, const spa_dict* properties);
    void removeGlobal(std::uint32_t id);
    void updateNode(std::uint32_t id, const pw_node_info& info);
    int updateMetadata(Bound& metadata, std::uint32_t subject, const char* key, const char* value);
    void requestSync();
    void readMetadataAnew();
    void forgetMissedMetadata();

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;
    static const pw_node_events nodeEvents;
    static const pw_client_events clientEvents;
    static const pw_link_events linkEvents;
    static const pw_metadata_events metadataEvents;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    GraphState state_;
    std::vector<GraphEvent> events_;
    int syncsLeft_ = 2; ///< the first finds the globals, the second their properties
    int metadataSync_ = -1;

    PipeWireConnection connection_;
    pw_registry* registry_ = nullptr;
    spa_hook coreListener_{};
    spa_hook registryListener_{};
    std::map<std::uint32_t, std::unique_ptr<Bound>> bound_;
    std::vector<pw_proxy*> created_;
};

} // namespace vello::session
