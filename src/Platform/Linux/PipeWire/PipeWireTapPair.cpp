// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapPair.h"

#include "Foundation/Product.h"
#include "PipeWireGraph.h"
#include "PipeWireQuirks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <thread>

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/buffers.h>

namespace vello {

namespace {

pw_properties* commonProperties(const PipeWireTapPair::Description& description, const std::string& name) {
    pw_properties* properties = pw_properties_new(nullptr, nullptr);
    const std::pair<const char*, const char*> values[] = {
        {PW_KEY_NODE_NAME, name.c_str()},
        {PW_KEY_NODE_DESCRIPTION, name.c_str()},
        // The same for every tap, because the session manager keeps an entry for each media name that it
        // sees.
        {PW_KEY_MEDIA_NAME, kApplicationName},
        {PW_KEY_MEDIA_TYPE, "Audio"},
        {PW_KEY_NODE_GROUP, description.group.c_str()},
        {PW_KEY_NODE_LINK_GROUP, description.group.c_str()},
        {PW_KEY_NODE_VIRTUAL, "true"},
        // Prevents the session manager from restoring a volume or a target; every tap starts with defaults.
        {"state.restore-props", "false"},
        {"state.restore-target", "false"},
    };
    for (const auto& [key, value] : values)
        pw_properties_set(properties, key, value);
    return properties;
}

std::string text(const GraphLatency& latency) {
    return std::to_string(latency.frames) + "/" + std::to_string(latency.rate);
}

void setProperty(pw_stream* stream, const char* key, const std::string& value) {
    const spa_dict_item item{key, value.c_str()};
    const spa_dict properties{0, 1, &item};
    pw_stream_update_properties(stream, &properties);
}

/// Interleaved 32-bit float, mono or front left and right, at the graph's rate, with enough buffers.
std::array<const spa_pod*, 2> streamParameters(spa_pod_builder& builder, std::uint32_t channels) {
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.channels = channels;
    format.position[0] = channels == 1 ? SPA_AUDIO_CHANNEL_MONO : SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    const spa_pod* offered = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);

    spa_pod_frame frame;
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_frame choice;
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    for (const int count : {quirks::kStreamBuffers, quirks::kStreamBuffers, 16})
        spa_pod_builder_int(&builder, count);
    spa_pod_builder_pop(&builder, &choice);
    const auto* buffers = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
    return {offered, buffers};
}

constexpr pw_stream_flags operator|(pw_stream_flags left, pw_stream_flags right) {
    return static_cast<pw_stream_flags>(static_cast<unsigned>(left) | static_cast<unsigned>(right));
}

pw_stream* connected(pw_stream* stream, pw_direction direction, std::uint32_t channels,
                     pw_stream_flags flags) {
    std::array<std::uint8_t, 1024> memory;
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    auto parameters = streamParameters(builder, channels);
    const auto result = pw_stream_connect(stream, direction, PW_ID_ANY,
                                          flags | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS,
                                          parameters.data(), parameters.size());
    if (result >= 0)
        return stream;
    pw_stream_destroy(stream);
    return nullptr;
}

/// The newest samples of the capture side. A late cycle leaves its samples in the queue; processing them in
/// order would delay the sound permanently.
pw_buffer* newestBuffer(pw_stream* capture) noexcept {
    pw_buffer* newest = pw_stream_dequeue_buffer(capture);
    if (newest == nullptr)
        return nullptr;
    while (pw_buffer* newer = pw_stream_dequeue_buffer(capture)) {
        pw_stream_queue_buffer(capture, newest);
        newest = newer;
    }
    return newest;
}

} // namespace

struct PipeWireTapPair::Callbacks {
    static void captured(void* data) { static_cast<PipeWireTapPair*>(data)->captured(); }
    static void process(void* data) { static_cast<PipeWireTapPair*>(data)->process(); }
    static void parameterChanged(void* data, std::uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format && parameter != nullptr)
            static_cast<PipeWireTapPair*>(data)->formatKnown(parameter);
    }
    static void stateChanged(void* data, pw_stream_state, pw_stream_state state, const char*) {
        if (state != PW_STREAM_STATE_STREAMING)
            static_cast<PipeWireTapPair*>(data)->missedCycles_.restart();
    }
};

PipeWireTapPair::PipeWireTapPair(pw_core* core, const Description& description,
                                 std::atomic<std::uint64_t>& missedCycles,
                                 std::function<void()> sampleRateChanged)
    : sampleRateChanged_(std::move(sampleRateChanged)), captureName_(description.captureName),
      channels_(description.channels), missedCycles_(missedCycles) {
    // The playback side comes first because the capture side's events use it.
    playback_ = makePlayback(core, description);
    if (playback_ != nullptr)
        capture_ = makeCapture(core, description);
}

PipeWireTapPair::~PipeWireTapPair() {
    stop();
    if (capture_ != nullptr)
        pw_stream_destroy(capture_);
    if (playback_ != nullptr)
        pw_stream_destroy(playback_);
}

pw_stream* PipeWireTapPair::makeCapture(pw_core* core, const Description& description) {
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.state_changed = Callbacks::stateChanged;
        table.process = Callbacks::captured;
        return table;
    }();
    pw_properties* properties = commonProperties(description, description.captureName);
    pw_properties_set(properties, PW_KEY_MEDIA_CLASS, "Audio/Sink/Internal");
    pw_properties_set(properties, PW_KEY_NODE_AUTOCONNECT, "false");
    // The last device that a stream without a target would be linked to. It is not suspended by itself: it
    // runs as long as the playback side does.
    pw_properties_set(properties, PW_KEY_PRIORITY_SESSION, "-1");
    pw_properties_set(properties, "session.suspend-timeout-seconds", "0");
    pw_stream* stream = pw_stream_new(core, description.captureName.c_str(), properties);
    if (stream == nullptr)
        return nullptr;
    pw_stream_add_listener(stream, &captureHook_, &events, this);
    return connected(stream, PW_DIRECTION_INPUT, channels_, PW_STREAM_FLAG_NONE);
}

pw_stream* PipeWireTapPair::makePlayback(pw_core* core, const Description& description) {
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.param_changed = Callbacks::parameterChanged;
        table.process = Callbacks::process;
        return table;
    }();
    pw_properties* properties = commonProperties(description, description.playbackName);
    pw_properties_set(properties, PW_KEY_MEDIA_CLASS, "Stream/Output/Audio/Internal");
    // Only this side is passive, so that the device may suspend while no application plays into the tap.
    pw_properties_set(properties, PW_KEY_NODE_PASSIVE, "true");
    if (description.latency)
        pw_properties_set(properties, PW_KEY_NODE_LATENCY, text(*description.latency).c_str());
    if (!description.targetSink.empty())
        pw_properties_set(properties, PW_KEY_TARGET_OBJECT, description.targetSink.c_str());
    pw_stream* stream = pw_stream_new(core, description.playbackName.c_str(), properties);
    if (stream == nullptr)
        return nullptr;
    pw_stream_add_listener(stream, &playbackHook_, &events, this);
    return connected(stream, PW_DIRECTION_OUTPUT, channels_,
                     PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_TRIGGER);
}

bool PipeWireTapPair::hasNodes() const {
    return isConnected() && captureNodeID() != PW_ID_ANY && playbackNodeID() != PW_ID_ANY;
}

std::uint32_t PipeWireTapPair::captureNodeID() const {
    return pw_stream_get_node_id(capture_);
}

std::uint32_t PipeWireTapPair::playbackNodeID() const {
    return pw_stream_get_node_id(playback_);
}

bool PipeWireTapPair::isLinkedOut(const PipeWireGraph& graph) const {
    return graph.hasLinksOutOf(playbackNodeID(), channels_);
}

bool PipeWireTapPair::isLinkedInto(const PipeWireGraph& graph) const {
    return graph.links().hasLinkInto(captureNodeID());
}

void PipeWireTapPair::setActive(bool isActive) {
    for (pw_stream* stream : {capture_, playback_})
        pw_stream_set_active(stream, isActive);
}

void PipeWireTapPair::setDescription(const std::string& description) {
    for (pw_stream* stream : {capture_, playback_})
        setProperty(stream, PW_KEY_NODE_DESCRIPTION, description);
}

void PipeWireTapPair::setLatency(const GraphLatency& latency) {
    setProperty(playback_, PW_KEY_NODE_LATENCY, text(latency));
}

void PipeWireTapPair::formatKnown(const spa_pod* format) {
    spa_audio_info_raw info{};
    if (spa_format_audio_raw_parse(format, &info) < 0 || info.rate == 0)
        return;
    if (sampleRate_ == static_cast<double>(info.rate))
        return;
    sampleRate_ = info.rate;
    sampleRateChanged_();
}

void PipeWireTapPair::start(AudioObjectID device, AudioDeviceIOProc proc, void* clientData) {
    IOProc& unused = procs_[current_.load() == &procs_[0] ? 1 : 0];
    unused = {device, proc, clientData};
    exchange(&unused);
}

void PipeWireTapPair::stop() noexcept {
    exchange(nullptr);
}

void PipeWireTapPair::exchange(const IOProc* next) noexcept {
    current_.store(next);
    while (isInCallback_.load())
        std::this_thread::yield();
}

void PipeWireTapPair::captured() noexcept {
    ++cyclesWaiting_;
    pw_stream_trigger_process(playback_);
    // A playback side without links has no buffers of its own and processes nothing. Once every buffer of the
    // capture side waited for it, the capture side would never be called again, and the application stay
    // silent for good.
    if (cyclesWaiting_ < quirks::kStreamBuffers - 1)
        return;
    cyclesWaiting_ = 0;
    if (pw_buffer* unwanted = newestBuffer(capture_))
        pw_stream_queue_buffer(capture_, unwanted);
}

void PipeWireTapPair::countMissedCycles(std::uint32_t frames) noexcept {
    pw_time time{};
    if (pw_stream_get_time_n(capture_, &time, sizeof time) == 0)
        missedCycles_.cycle(time.ticks, frames);
}

void PipeWireTapPair::process() noexcept {
    cyclesWaiting_ = 0;
    const auto bytesPerFrame = channels_ * static_cast<std::uint32_t>(sizeof(float));
    pw_buffer* captured = newestBuffer(capture_);
    pw_buffer* played = pw_stream_dequeue_buffer(playback_);
    if (played != nullptr) {
        AudioBufferListStorage<1> input;
        AudioBufferListStorage<1> output;
        input.buffers[0].mNumberChannels = output.buffers[0].mNumberChannels = channels_;
        std::uint32_t capturedFrames = 0;
        if (captured != nullptr) {
            const spa_data& data = captured->buffer->datas[0];
            const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
            input.buffers[0].mDataByteSize = std::min(data.chunk->size, data.maxsize - offset);
            if (data.data != nullptr)
                input.buffers[0].mData = static_cast<std::byte*>(data.data) + offset;
            capturedFrames = input.buffers[0].mDataByteSize / bytesPerFrame;
            countMissedCycles(capturedFrames);
        }
        const spa_data& data = played->buffer->datas[0];
        // Use the number of frames captured in this cycle. The playback side may still request a cycle of the
        // previous quantum. If that is more than the graph accepts, the playback side is never scheduled
        // again.
        const std::uint32_t wanted =
            capturedFrames > 0 ? capturedFrames : static_cast<std::uint32_t>(played->requested);
        const std::uint32_t frames = std::min(wanted, data.maxsize / bytesPerFrame);
        output.buffers[0].mDataByteSize = frames * bytesPerFrame;
        output.buffers[0].mData = data.data;

        isInCallback_.store(true);
        if (const IOProc* proc = current_.load())
            proc->function(proc->device, &input.list, &output.list, proc->clientData);
        else if (data.data != nullptr)
            std::memset(data.data, 0, output.buffers[0].mDataByteSize);
        isInCallback_.store(false);

        data.chunk->offset = 0;
        data.chunk->stride = static_cast<std::int32_t>(bytesPerFrame);
        data.chunk->size = output.buffers[0].mDataByteSize;
        pw_stream_queue_buffer(playback_, played);
    }
    if (captured != nullptr)
        pw_stream_queue_buffer(capture_, captured);
}

} // namespace vello
