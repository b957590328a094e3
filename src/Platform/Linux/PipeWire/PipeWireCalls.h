// SPDX-License-Identifier: Apache-2.0
#pragma once

// PipeWire's methods are C macros with C casts. These functions wrap them.

#include <pipewire/pipewire.h>

// After pipewire.h, whose declarations it needs.
#include <pipewire/extensions/metadata.h>

#ifdef __cplusplus
extern "C" {
#endif

void vello_core_add_listener(struct pw_core* core, struct spa_hook* hook, const struct pw_core_events* events,
                             void* data);
int vello_core_sync(struct pw_core* core, int sequence);
void vello_registry_add_listener(struct pw_registry* registry, struct spa_hook* hook,
                                 const struct pw_registry_events* events, void* data);
void vello_node_add_listener(struct pw_node* node, struct spa_hook* hook, const struct pw_node_events* events,
                             void* data);
void vello_node_subscribe_parameters(struct pw_node* node, uint32_t* ids, uint32_t count);
void vello_client_add_listener(struct pw_client* client, struct spa_hook* hook,
                               const struct pw_client_events* events, void* data);
void vello_metadata_add_listener(struct pw_metadata* metadata, struct spa_hook* hook,
                                 const struct pw_metadata_events* events, void* data);
void vello_metadata_set_property(struct pw_metadata* metadata, uint32_t subject, const char* key,
                                 const char* type, const char* value);

#ifdef __cplusplus
}
#endif
