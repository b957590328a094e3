// SPDX-License-Identifier: Apache-2.0
#include "SessionConfiguration.h"

#include "SoundFormat.h"

#include <sstream>

namespace vello::session {
namespace {

constexpr const char* kServerModules = R"(
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.*       = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-rt args = { nice.level = -11 } flags = [ ifexists nofail ] }
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-spa-device-factory }
    { name = libpipewire-module-spa-node-factory }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
)";

constexpr const char* kIdleDrivers = R"(
    { factory = spa-node-factory args = {
        factory.name = support.node.driver node.name = Dummy-Driver node.group = pipewire.dummy
        priority.driver = 20000 } }
    { factory = spa-node-factory args = {
        factory.name = support.node.driver node.name = Freewheel-Driver node.group = pipewire.freewheel
        priority.driver = 19000 node.freewheel = true } }
)";

std::string rates(const SessionOptions& options) {
    if (options.allowedRates.empty())
        return std::to_string(options.sampleRate);
    std::string result;
    for (const int rate : options.allowedRates)
        result += std::to_string(rate) + " ";
    return result;
}

} // namespace

std::string serverConfiguration(const SessionOptions& options) {
    std::ostringstream text;
    text << "context.properties = {\n"
         << "    core.daemon = true\n    core.name = pipewire-0\n    log.level = 2\n    link.max-buffers = "
            "16\n"
         << "    default.clock.rate = " << options.sampleRate << "\n"
         << "    default.clock.allowed-rates = [ " << rates(options) << " ]\n"
         << "    default.clock.quantum = " << options.quantum << "\n"
         << "    default.clock.min-quantum = " << std::min(options.quantum, options.minimumQuantum) << "\n"
         << "    default.clock.max-quantum = " << std::max(options.quantum, options.maximumQuantum) << "\n"
         << "    default.clock.quantum-limit = 8192\n}\n"
         << kServerModules
         << "    { name = libpipewire-module-access args = { access.legacy = true access.restricted = [ "
         << options.restrictedProgram << " ] } }\n]\n"
         << "context.objects = [" << kIdleDrivers;
    // Earlier outputs have a higher priority, so that the first one is the default.
    int priority = 2000;
    for (const auto& output : options.outputs) {
        text << "    { factory = adapter args = { factory.name = support.null-audio-sink media.class = "
             << output.mediaClass << "\n"
             << "        node.name = \"" << output.name << "\" node.description = \"" << output.description
             << "\"\n"
             << "        audio.position = [ " << positionNames(output.channels) << " ]\n"
             << "        priority.session = " << priority << " priority.driver = " << priority << " } }\n";
        priority -= 10;
    }
    text << "]\n";
    return text.str();
}

std::string pulseServerConfiguration() {
    return R"(context.properties = { log.level = 2 }
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.*       = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-rt args = { nice.level = -11 } flags = [ ifexists nofail ] }
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-protocol-pulse args = { } }
]
pulse.cmd = [ { cmd = "load-module" args = "module-always-sink" flags = [ ] } ]
pulse.properties = { server.address = [ "unix:native" ] }
)";
}

std::string sessionManagerLua() {
    return "alsa_monitor.enabled = false\nv4l2_monitor.enabled = false\nlibcamera_monitor.enabled = false\n";
}

std::string sessionManagerBluetoothLua() {
    return "bluez_monitor.enabled = false\nbluez_midi_monitor = { enabled = false }\n";
}

std::string sessionManagerProfile() {
    return "wireplumber.profiles = { main = { hardware.audio = disabled hardware.bluetooth = disabled\n"
           "    hardware.video-capture = disabled } }\n";
}

} // namespace vello::session
