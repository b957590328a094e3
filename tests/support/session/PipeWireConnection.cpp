// SPDX-License-Identifier: Apache-2.0
#include "PipeWireConnection.h"

#include "ClientConfiguration.h"

#include <stdexcept>

#include <pipewire/pipewire.h>

namespace vello::session {

PipeWireConnection::PipeWireConnection(const std::string& socket, const std::string& applicationName) {
    pw_init(nullptr, nullptr);
    loop_ = pw_thread_loop_new("session-harness", nullptr);
    context_ = pw_context_new(pw_thread_loop_get_loop(loop_),
                              makeProperties({{PW_KEY_CONFIG_NAME, kClientConfiguration}}), 0);
    if (context_ != nullptr)
        core_ = pw_context_connect(
            context_, makeProperties({{PW_KEY_REMOTE_NAME, socket}, {PW_KEY_APP_NAME, applicationName}}), 0);
    if (core_ == nullptr || pw_thread_loop_start(loop_) != 0) {
        close();
        throw std::runtime_error("no connection to " + socket);
    }
}

PipeWireConnection::~PipeWireConnection() {
    close();
}

void PipeWireConnection::close() {
    stop();
    if (core_ != nullptr)
        pw_core_disconnect(core_);
    if (context_ != nullptr)
        pw_context_destroy(context_);
    pw_thread_loop_destroy(loop_);
}

void PipeWireConnection::stop() {
    pw_thread_loop_stop(loop_);
}

PipeWireConnection::Guard::Guard(const PipeWireConnection& connection) : loop_(connection.loop()) {
    pw_thread_loop_lock(loop_);
}

PipeWireConnection::Guard::~Guard() {
    pw_thread_loop_unlock(loop_);
}

pw_properties* makeProperties(std::initializer_list<std::pair<const char*, std::string>> entries) {
    pw_properties* properties = pw_properties_new(nullptr, nullptr);
    for (const auto& [key, value] : entries)
        pw_properties_set(properties, key, value.c_str());
    return properties;
}

} // namespace vello::session
