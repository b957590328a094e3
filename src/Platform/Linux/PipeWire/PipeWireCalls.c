// SPDX-License-Identifier: Apache-2.0
#include "PipeWireCalls.h"

void vello_core_add_listener(struct pw_core* core, struct spa_hook* hook, const struct pw_core_events* events,
                             void* data) {
    pw_core_add_listener(core, hook, events, data);
}

int vello_core_sync(struct pw_core* core, int sequence) {
    return pw_core_sync(core, PW_ID_CORE, sequence);
}

void vello_registry_add_listener(struct pw_registry* registry, struct spa_hook* hook,
                                 const struct pw_registry_events* events, void* data) {
    pw_registry_add_listener(registry, hook, events, data);
}

void vello_node_add_listener(struct pw_node* node, struct spa_hook* hook, const struct pw_node_events* events,
                             void* data) {
    pw_node_add_listener(node, hook, events, data);
}

void vello_node_subscribe_parameters(struct pw_node* node, uint32_t* ids, uint32_t count) {
    pw_node_subscribe_params(node, ids, count);
}

void vello_client_add_listener(struct pw_client* client, struct spa_hook* hook,
                               const struct pw_client_events* events, void* data) {
    pw_client_add_listener(client, hook, events, data);
}

void vello_metadata_add_listener(struct pw_metadata* metadata, struct spa_hook* hook,
                                 const struct pw_metadata_events* events, void* data) {
    pw_metadata_add_listener(metadata, hook, events, data);
}

void vello_metadata_set_property(struct pw_metadata* metadata, uint32_t subject, const char* key,
                                 const char* type, const char* value) {
    pw_metadata_set_property(metadata, subject, key, type, value);
}
