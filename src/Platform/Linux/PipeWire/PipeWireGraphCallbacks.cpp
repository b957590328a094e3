// SPDX-License-Identifier: Apache-2.0
#include "PipeWireGraphEntries.h"

#include <charconv>
#include <cstring>

#include <spa/param/audio/format-utils.h>
#include <spa/param/audio/raw.h>
#include <spa/pod/iter.h>

namespace vello {

std::optional<std::uint32_t> propertyNumber(const spa_dict& properties, const char* key) {
    const char* text = spa_dict_lookup(&properties, key);
    if (text == nullptr)
        return std::nullopt;
    std::uint32_t number = 0;
    const char* end = text + std::strlen(text);
    const auto parsed = std::from_chars(text, end, number);
    if (parsed.ec != std::errc{} || parsed.ptr != end)
        return std::nullopt;
    return number;
}

namespace {

/// Reads an integer of a format. When the format offers a choice, returns its default, which is the first
/// value.
std::uint32_t formatInteger(const spa_pod* format, std::uint32_t key) {
    const spa_pod_prop* property = spa_pod_find_prop(format, nullptr, key);
    if (property == nullptr)
        return 0;
    std::uint32_t count = 0;
    std::uint32_t choice = 0;
    const spa_pod* values = spa_pod_get_values(&property->value, &count, &choice);
    std::int32_t value = 0;
    if (count < 1 || values == nullptr || SPA_POD_TYPE(values) != SPA_TYPE_Int ||
        SPA_POD_BODY_SIZE(values) < sizeof value)
        return 0;
    std::memcpy(&value, SPA_POD_BODY_CONST(values), sizeof value);
    return value > 0 ? static_cast<std::uint32_t>(value) : 0;
}

bool offersFormats(const pw_node_info& info) {
    return std::any_of(info.params, info.params + info.n_params, [](const spa_param_info& offered) {
        return offered.id == SPA_PARAM_EnumFormat && (offered.flags & SPA_PARAM_INFO_READ) != 0;
    });
}

} // namespace

void PipeWireGraph::Callbacks::listenToRegistry(PipeWireGraph& graph, RegistryEntry& entry) {
    static const pw_registry_events events = [] {
        pw_registry_events table{};
        table.version = PW_VERSION_REGISTRY_EVENTS;
        table.global = global;
        table.global_remove = globalRemove;
        return table;
    }();
    vello_registry_add_listener(entry.binding.as<pw_registry>(), entry.binding.hook(), &events, &graph);
}

void PipeWireGraph::Callbacks::listenToSink(SinkEntry& entry) {
    static const pw_node_events events = [] {
        pw_node_events table{};
        table.version = PW_VERSION_NODE_EVENTS;
        table.info = sinkInfo;
        table.param = sinkParameter;
        return table;
    }();
    auto* node = entry.binding.as<pw_node>();
    vello_node_add_listener(node, entry.binding.hook(), &events, &entry);
    std::uint32_t parameters[] = {SPA_PARAM_EnumFormat, SPA_PARAM_Format};
    vello_node_subscribe_parameters(node, parameters, 2);
}

void PipeWireGraph::Callbacks::listenToStream(StreamEntry& entry) {
    static const pw_node_events events = [] {
        pw_node_events table{};
        table.version = PW_VERSION_NODE_EVENTS;
        table.info = streamInfo;
        table.param = streamParameter;
        return table;
    }();
    auto* node = entry.binding.as<pw_node>();
    vello_node_add_listener(node, entry.binding.hook(), &events, &entry);
    std::uint32_t parameters[] = {SPA_PARAM_EnumFormat};
    vello_node_subscribe_parameters(node, parameters, 1);
}

void PipeWireGraph::Callbacks::listenToClient(ClientEntry& entry) {
    static const pw_client_events events = [] {
        pw_client_events table{};
        table.version = PW_VERSION_CLIENT_EVENTS;
        table.info = clientInfo;
        return table;
    }();
    vello_client_add_listener(entry.binding.as<pw_client>(), entry.binding.hook(), &events, &entry);
}

void PipeWireGraph::Callbacks::listenToMetadata(PipeWireGraph& graph, MetadataEntry& entry) {
    static const pw_metadata_events events = [] {
        pw_metadata_events table{};
        table.version = PW_VERSION_METADATA_EVENTS;
        table.property = metadataProperty;
        return table;
    }();
    vello_metadata_add_listener(entry.binding.as<pw_metadata>(), entry.binding.hook(), &events, &graph);
}

void PipeWireGraph::Callbacks::endedStreamsTimer(void* data, std::uint64_t) {
    static_cast<PipeWireGraph*>(data)->reportEndedStreams();
}

void PipeWireGraph::Callbacks::metadataTimer(void* data, std::uint64_t) {
    static_cast<PipeWireGraph*>(data)->readDoubtfulMetadata();
}

void PipeWireGraph::Callbacks::global(void* data, std::uint32_t id, std::uint32_t, const char* type,
                                      std::uint32_t, const spa_dict* properties) {
    if (properties != nullptr)
        static_cast<PipeWireGraph*>(data)->globalAdded(id, type, *properties);
}

void PipeWireGraph::Callbacks::globalRemove(void* data, std::uint32_t id) {
    static_cast<PipeWireGraph*>(data)->globalRemoved(id);
}

void PipeWireGraph::Callbacks::sinkInfo(void* data, const pw_node_info* info) {
    auto& entry = *static_cast<SinkEntry*>(data);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0 && info->props != nullptr)
        entry.graph.sinkDescribed(entry, *info->props);
}

void PipeWireGraph::Callbacks::sinkParameter(void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t,
                                             const spa_pod* parameter) {
    auto& entry = *static_cast<SinkEntry*>(data);
    if (parameter == nullptr || (id != SPA_PARAM_EnumFormat && id != SPA_PARAM_Format))
        return;
    // Offered formats only stand in until the server sets the actual format.
    const bool isInForce = id == SPA_PARAM_Format;
    if (!isInForce && entry.sink.sampleRate > 0)
        return;
    entry.graph.sinkFormatKnown(entry, formatInteger(parameter, SPA_FORMAT_AUDIO_rate),
                                formatInteger(parameter, SPA_FORMAT_AUDIO_channels));
}

void PipeWireGraph::Callbacks::streamInfo(void* data, const pw_node_info* info) {
    auto& entry = *static_cast<StreamEntry*>(data);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PARAMS) != 0 && !offersFormats(*info))
        entry.graph.streamHasNoFormat(entry);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0 && info->props != nullptr)
        entry.graph.streamPropertiesKnown(entry, *info->props);
    if ((info->change_mask & PW_NODE_CHANGE_MASK_STATE) != 0)
        entry.graph.streamStateChanged(entry, info->state == PW_NODE_STATE_RUNNING);
}

void PipeWireGraph::Callbacks::streamParameter(void* data, int, std::uint32_t id, std::uint32_t,
                                               std::uint32_t, const spa_pod* parameter) {
    auto& entry = *static_cast<StreamEntry*>(data);
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    if (id != SPA_PARAM_EnumFormat || parameter == nullptr ||
        spa_format_parse(parameter, &type, &subtype) < 0)
        return;
    entry.graph.streamFormatKnown(entry, subtype == SPA_MEDIA_SUBTYPE_raw,
                                  formatInteger(parameter, SPA_FORMAT_AUDIO_channels));
}

void PipeWireGraph::Callbacks::clientInfo(void* data, const pw_client_info* info) {
    auto& entry = *static_cast<ClientEntry*>(data);
    if ((info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS) != 0 && info->props != nullptr)
        entry.graph.clientDescribed(entry, *info->props);
}

int PipeWireGraph::Callbacks::metadataProperty(void* data, std::uint32_t subject, const char* key,
                                               const char* type, const char* value) {
    static_cast<PipeWireGraph*>(data)->metadataChanged(subject, key, type, value);
    return 0;
}

} // namespace vello
