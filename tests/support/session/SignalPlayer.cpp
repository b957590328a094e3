// SPDX-License-Identifier: Apache-2.0
// A native PipeWire client that plays known signals for tests and measurements.
//
// Standard input takes one command per line: "open [KEY=VALUE ...]" adds a stream to the running client,
// "open-stereo" a stream of two channels, "close" ends the last stream, "close-first" the first, "pause" and
// "resume" stop and start all, "set KEY=VALUE ..." changes properties of all. Ends on SIGTERM, SIGINT or the
// end of standard input.
#include "ClientConfiguration.h"
#include "Signals.h"
#include "SoundFormat.h"

#include <csignal>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/audio/iec958-utils.h>

namespace vello::session {
namespace {

constexpr const char* kEncodedFormat = "ac3";

/// Splits "KEY=VALUE".
std::pair<std::string, std::string> inTwo(const std::string& property) {
    const auto sign = property.find('=');
    if (sign == std::string::npos)
        throw std::invalid_argument(property + " is not of the kind KEY=VALUE");
    return {property.substr(0, sign), property.substr(sign + 1)};
}

void setAll(pw_properties* properties, const std::vector<std::string>& values) {
    for (const auto& property : values) {
        const auto [key, value] = inTwo(property);
        pw_properties_set(properties, key.c_str(), value.c_str());
    }
}

struct PlayerOptions {
    std::string signal = "position";
    std::string target, nodeName = "signal-player", applicationName = "Signal Player", applicationID, role;
    int channels = 2;
    std::string format = "f32";
    int sampleRate = 48000; // Hz
    int clients = 1;
    int latency = 0; // frames; 0: the graph's quantum
    std::vector<std::string> properties, clientProperties;
};

class PlayerStream {
public:
    PlayerStream(pw_core* core, const PlayerOptions& options, Signal signal)
        : signal_(std::move(signal)), channels_(options.channels),
          isEncoded_(options.format == kEncodedFormat),
          format_(isEncoded_ ? SampleFormat::s16 : sampleFormatNamed(options.format)) {
        auto* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                             PW_KEY_NODE_NAME, options.nodeName.c_str(), nullptr);
        const auto set = [&](const char* key, const std::string& value) {
            if (!value.empty())
                pw_properties_set(properties, key, value.c_str());
        };
        set("target.object", options.target);
        set(PW_KEY_MEDIA_ROLE, options.role);
        set(PW_KEY_NODE_LATENCY, options.latency == 0 ? std::string()
                                                      : std::to_string(options.latency) + "/" +
                                                            std::to_string(options.sampleRate));
        setAll(properties, options.properties);
        const bool isAutomatic = pw_properties_get(properties, PW_KEY_NODE_AUTOCONNECT) == nullptr;
        stream_ = pw_stream_new(core, options.nodeName.c_str(), properties);
        pw_stream_add_listener(stream_, &listener_, &events, this);
        connect(options.sampleRate, isAutomatic);
    }
    ~PlayerStream() { pw_stream_destroy(stream_); }
    PlayerStream(const PlayerStream&) = delete;
    PlayerStream& operator=(const PlayerStream&) = delete;

    void setActive(bool isActive) { pw_stream_set_active(stream_, isActive); }
    void setProperties(const std::vector<std::string>& values) {
        auto* properties = pw_properties_new(nullptr, nullptr);
        setAll(properties, values);
        pw_stream_update_properties(stream_, &properties->dict);
        pw_properties_free(properties);
    }

private:
    void connect(int sampleRate, bool isAutomatic) {
        std::uint8_t buffer[1024];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, buffer, sizeof buffer);
        const spa_pod* parameters[] = {offeredFormat(builder, sampleRate)};
        const auto flags =
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS |
                                         (isAutomatic ? PW_STREAM_FLAG_AUTOCONNECT : PW_STREAM_FLAG_NONE));
        if (pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, parameters, 1) != 0)
            throw std::runtime_error("the stream cannot be connected");
    }

    const spa_pod* offeredFormat(spa_pod_builder& builder, int sampleRate) const {
        if (isEncoded_) {
            spa_audio_info_iec958 format{};
            format.codec = SPA_AUDIO_IEC958_CODEC_AC3;
            format.rate = static_cast<std::uint32_t>(sampleRate);
            return spa_format_audio_iec958_build(&builder, SPA_PARAM_EnumFormat, &format);
        }
        auto format = soundFormat(format_, channels_, sampleRate);
        return spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    }

    void process() {
        auto* buffer = pw_stream_dequeue_buffer(stream_);
        if (buffer == nullptr)
            return;
        auto& data = buffer->buffer->datas[0];
        const auto sampleBytes = static_cast<std::uint32_t>(bytesOfSample(format_));
        const auto stride = static_cast<std::uint32_t>(channels_) * sampleBytes;
        auto frames = data.maxsize / stride;
        if (buffer->requested != 0)
            frames = std::min(frames, static_cast<std::uint32_t>(buffer->requested));
        auto* place = static_cast<std::uint8_t*>(data.data);
        const std::uint64_t position = position_ == nullptr ? 0 : position_->clock.position;
        for (std::uint32_t frame = 0; frame < frames; ++frame)
            for (int channel = 0; channel < channels_; ++channel, place += sampleBytes)
                writeSample(format_, signal_(position + frame, counter_ + frame, channel), place);
        counter_ += frames;
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<std::int32_t>(stride);
        data.chunk->size = frames * stride;
        pw_stream_queue_buffer(stream_, buffer);
    }

    static const pw_stream_events events;

    Signal signal_;
    int channels_;
    bool isEncoded_;
    SampleFormat format_;
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
    const spa_io_position* position_ = nullptr;
    std::uint64_t counter_ = 0;
};

const pw_stream_events PlayerStream::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void*, pw_stream_state, pw_stream_state state, const char* error) {
        if (state == PW_STREAM_STATE_ERROR)
            std::fprintf(stderr, "stream failed: %s\n", error);
    };
    table.io_changed = [](void* data, std::uint32_t id, void* area, std::uint32_t) {
        if (id == SPA_IO_Position)
            static_cast<PlayerStream*>(data)->position_ = static_cast<const spa_io_position*>(area);
    };
    table.process = [](void* data) { static_cast<PlayerStream*>(data)->process(); };
    return table;
}();

/// One or more clients in one process, each with its streams. With several clients, a number is appended to
/// the names.
class Player {
public:
    explicit Player(PlayerOptions options) : options_(std::move(options)), loop_(pw_main_loop_new(nullptr)) {
        context_ = pw_context_new(pw_main_loop_get_loop(loop_),
                                  pw_properties_new(PW_KEY_CONFIG_NAME, kClientConfiguration, nullptr), 0);
        for (int i = 0; i < options_.clients; ++i)
            cores_.push_back(connect(i));
        for (int i = 0; i < options_.clients; ++i)
            open(i);
        pw_loop_add_signal(pw_main_loop_get_loop(loop_), SIGTERM, quit, loop_);
        pw_loop_add_signal(pw_main_loop_get_loop(loop_), SIGINT, quit, loop_);
        pw_loop_add_io(pw_main_loop_get_loop(loop_), STDIN_FILENO, SPA_IO_IN | SPA_IO_HUP, false, readInput,
                       this);
    }
    ~Player() {
        streams_.clear();
        for (auto* core : cores_)
            pw_core_disconnect(core);
        pw_context_destroy(context_);
        pw_main_loop_destroy(loop_);
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void run() { pw_main_loop_run(loop_); }

private:
    std::string numbered(const std::string& text, int client) const {
        return options_.clients == 1 || text.empty() ? text : text + "." + std::to_string(client);
    }

    pw_core* connect(int client) {
        auto* properties =
            pw_properties_new(PW_KEY_APP_NAME, numbered(options_.applicationName, client).c_str(), nullptr);
        if (!options_.applicationID.empty())
            pw_properties_set(properties, PW_KEY_APP_ID, numbered(options_.applicationID, client).c_str());
        setAll(properties, options_.clientProperties);
        auto* core = pw_context_connect(context_, properties, 0);
        if (core == nullptr)
            throw std::runtime_error("no PipeWire server");
        return core;
    }

    void open(int client, const std::vector<std::string>& properties = {}) {
        openAs(options_, client, properties);
    }
    void openStereo() {
        auto options = options_;
        options.channels = 2;
        openAs(options, 0, {});
    }
    void openAs(PlayerOptions options, int client, const std::vector<std::string>& properties) {
        options.properties.insert(options.properties.end(), properties.begin(), properties.end());
        options.nodeName = numbered(options.nodeName, client);
        if (++opened_ > options_.clients)
            options.nodeName += "-" + std::to_string(opened_);
        const auto rate = static_cast<double>(options.sampleRate);
        streams_.push_back(std::make_unique<PlayerStream>(cores_[static_cast<std::size_t>(client)], options,
                                                          makeSignal(options.signal, rate)));
    }

    void obey(const std::string& line) {
        std::istringstream text(line);
        std::string command;
        text >> command;
        const std::vector<std::string> values{std::istream_iterator<std::string>(text), {}};
        if (command == "open")
            open(0, values);
        else if (command == "open-stereo")
            openStereo();
        else if (command == "close" && !streams_.empty())
            streams_.pop_back();
        else if (command == "close-first" && !streams_.empty())
            streams_.erase(streams_.begin());
        else if (command == "set")
            for (const auto& stream : streams_)
                stream->setProperties(values);
        else if (command == "pause" || command == "resume")
            for (const auto& stream : streams_)
                stream->setActive(command == "resume");
    }

    static void quit(void* loop, int) { pw_main_loop_quit(static_cast<pw_main_loop*>(loop)); }

    static void readInput(void* data, int descriptor, std::uint32_t) {
        auto* self = static_cast<Player*>(data);
        char text[256];
        const auto size = ::read(descriptor, text, sizeof text);
        if (size <= 0)
            return quit(self->loop_, 0);
        std::istringstream lines(std::string(text, static_cast<std::size_t>(size)));
        for (std::string line; std::getline(lines, line);)
            self->obey(line);
    }

    PlayerOptions options_;
    pw_main_loop* loop_;
    pw_context* context_ = nullptr;
    std::vector<pw_core*> cores_;
    std::vector<std::unique_ptr<PlayerStream>> streams_;
    int opened_ = 0;
};

} // namespace
} // namespace vello::session

int main(int argumentCount, char** arguments) {
    using namespace vello::session;
    CLI::App application("Plays a known signal to PipeWire");
    PlayerOptions options;
    application.add_option("--signal", options.signal,
                           "position, counter, constant=VALUE, silence, sines=F1,F2,...@AMPLITUDE, or "
                           "tones=F1,F2,...@AMPLITUDE (one a channel)");
    application.add_option("--target", options.target, "node name of the output");
    application.add_option("--node-name", options.nodeName);
    application.add_option("--app-name", options.applicationName);
    application.add_option("--app-id", options.applicationID);
    application.add_option("--role", options.role);
    application.add_option("--channels", options.channels)->check(CLI::Range(1, kMostChannels));
    application.add_option("--format", options.format, "f32, s16, s24 or ac3 (encoded)");
    application.add_option("--rate", options.sampleRate);
    application.add_option("--latency", options.latency, "frames");
    application.add_option("--clients", options.clients, "clients of this process, one stream each");
    application.add_option("--property", options.properties, "KEY=VALUE of the streams");
    application.add_option("--client-property", options.clientProperties, "KEY=VALUE of the clients");
    CLI11_PARSE(application, argumentCount, arguments);
    pw_init(nullptr, nullptr);
    try {
        Player(options).run();
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
