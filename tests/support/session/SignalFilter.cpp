// SPDX-License-Identifier: Apache-2.0
// A client like the JACK library's: a node without a media class, with two ports that must be linked by
// another program. It plays the position of the graph's clock (see SignalCode.h) until SIGTERM or SIGINT.
#include "SignalCode.h"

#include <array>
#include <csignal>

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

namespace vello::session {
namespace {

struct Port {};

class Filter {
public:
    explicit Filter(const char* name) : loop_(pw_main_loop_new(nullptr)) {
        auto* properties = pw_properties_new(
            PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Duplex", PW_KEY_MEDIA_ROLE, "DSP",
            PW_KEY_NODE_NAME, name, PW_KEY_APP_NAME, name, PW_KEY_NODE_ALWAYS_PROCESS, "true", nullptr);
        filter_ = pw_filter_new_simple(pw_main_loop_get_loop(loop_), name, properties, &events, this);
        ports_ = {addPort("output_FL"), addPort("output_FR")};
        for (const int signal : {SIGTERM, SIGINT})
            pw_loop_add_signal(pw_main_loop_get_loop(loop_), signal, quit, loop_);
    }
    ~Filter() {
        pw_filter_destroy(filter_);
        pw_main_loop_destroy(loop_);
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

    bool run() {
        if (pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0)
            return false;
        pw_main_loop_run(loop_);
        return true;
    }

private:
    Port* addPort(const char* name) {
        auto* properties =
            pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, name, nullptr);
        return static_cast<Port*>(pw_filter_add_port(filter_, PW_DIRECTION_OUTPUT,
                                                     PW_FILTER_PORT_FLAG_MAP_BUFFERS, sizeof(Port),
                                                     properties, nullptr, 0));
    }

    static void process(void* data, spa_io_position* position) {
        const auto frames = static_cast<std::uint32_t>(position->clock.duration);
        for (Port* port : static_cast<Filter*>(data)->ports_) {
            auto* samples = static_cast<float*>(pw_filter_get_dsp_buffer(port, frames));
            for (std::uint32_t frame = 0; samples != nullptr && frame < frames; ++frame)
                samples[frame] = signalCode::encode(position->clock.position + frame);
        }
    }

    static void quit(void* loop, int) { pw_main_loop_quit(static_cast<pw_main_loop*>(loop)); }

    static const pw_filter_events events;

    pw_main_loop* loop_;
    pw_filter* filter_ = nullptr;
    std::array<Port*, 2> ports_{};
};

const pw_filter_events Filter::events = [] {
    pw_filter_events table{};
    table.version = PW_VERSION_FILTER_EVENTS;
    table.process = process;
    return table;
}();

} // namespace
} // namespace vello::session

int main(int argumentCount, char** arguments) {
    pw_init(nullptr, nullptr);
    return argumentCount == 2 && vello::session::Filter(arguments[1]).run() ? 0 : 1;
}
