// SPDX-License-Identifier: Apache-2.0
#include "MonitorRecorder.h"

#include "SoundFormat.h"

#include <algorithm>
#include <stdexcept>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

namespace vello::session {
namespace {

using Clock = std::chrono::steady_clock;

/// The buffer is sized for this rate; at a higher rate it holds less time.
constexpr std::size_t kUsualRate = 48000;
constexpr std::size_t kShortestCycle = 64;

std::int64_t nanoseconds(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

} // namespace

const pw_stream_events MonitorRecorder::streamEvents = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.io_changed = [](void* data, std::uint32_t id, void* area, std::uint32_t) {
        if (id == SPA_IO_Position)
            static_cast<MonitorRecorder*>(data)->position_ = static_cast<const spa_io_position*>(area);
    };
    table.process = [](void* data) { static_cast<MonitorRecorder*>(data)->process(); };
    return table;
}();

MonitorRecorder::MonitorRecorder(const std::string& socket, const std::string& outputName,
                                 std::chrono::seconds capacity, bool isRequired, int channels)
    : connection_(socket, "session-recorder"), channels_(static_cast<std::size_t>(channels)),
      cycleEvent_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)),
      samples_(static_cast<std::size_t>(capacity.count()) * kUsualRate * channels_),
      cycles_(static_cast<std::size_t>(capacity.count()) * 2 * kUsualRate / kShortestCycle) {
    {
        const PipeWireConnection::Guard guard(connection_);
        stream_ = pw_stream_new(connection_.core(), "session-recorder",
                                makeProperties({{PW_KEY_MEDIA_TYPE, "Audio"},
                                                {PW_KEY_MEDIA_CATEGORY, "Capture"},
                                                {PW_KEY_NODE_NAME, "session-recorder." + outputName},
                                                {PW_KEY_STREAM_CAPTURE_SINK, "true"},
                                                {"target.object", outputName},
                                                {"stream.dont-remix", "true"},
                                                {"state.restore-props", "false"},
                                                {"state.restore-target", "false"},
                                                {PW_KEY_NODE_DONT_RECONNECT, "true"}}));
        pw_stream_add_listener(stream_, &listener_, &streamEvents, this);
        std::uint8_t buffer[1024];
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, buffer, sizeof buffer);
        auto format = soundFormat(SampleFormat::f32, channels);
        const spa_pod* parameters[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
        constexpr auto flags = static_cast<pw_stream_flags>(
            PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
        pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY, flags, parameters, 1);
    }
    if (isRequired && !awaitCycle(Clock::now() + std::chrono::seconds(5)))
        throw std::runtime_error("nothing comes from the monitor of " + outputName);
}

MonitorRecorder::~MonitorRecorder() {
    {
        const PipeWireConnection::Guard guard(connection_);
        pw_stream_destroy(stream_);
    }
    connection_.stop();
    ::close(cycleEvent_);
}

void MonitorRecorder::record(std::size_t moreFrames, std::chrono::milliseconds timeout) {
    const auto wanted = frames() + moreFrames;
    const auto deadline = Clock::now() + timeout;
    while (frames() < wanted)
        if (!awaitCycle(deadline))
            throw std::runtime_error("the monitor went quiet");
}

Recording MonitorRecorder::recording(std::size_t first) const {
    if (isFull_)
        throw std::runtime_error("the recorder's memory is full");
    const auto count = cycleCount_.load(std::memory_order_acquire);
    const auto begin = cycles_.begin();
    const auto end = begin + static_cast<std::ptrdiff_t>(count);
    const auto from = std::upper_bound(begin, end, first, [](std::size_t frame, const RecordedCycle& cycle) {
        return frame < cycle.firstFrame + cycle.frames;
    });
    if (from == end)
        return Recording(rate_, {}, {}, static_cast<int>(channels_));
    const auto last = (end - 1)->firstFrame + (end - 1)->frames;
    const auto at = [this](std::size_t frame) {
        return samples_.begin() + static_cast<std::ptrdiff_t>(channels_ * frame);
    };
    return Recording(rate_, std::vector<RecordedCycle>(from, end),
                     std::vector<float>(at(from->firstFrame), at(last)), static_cast<int>(channels_));
}

void MonitorRecorder::process() noexcept {
    auto* buffer = pw_stream_dequeue_buffer(stream_);
    if (buffer == nullptr)
        return;
    const auto& data = buffer->buffer->datas[0];
    if (data.data != nullptr)
        keep(reinterpret_cast<const float*>(static_cast<const std::uint8_t*>(data.data) + data.chunk->offset),
             data.chunk->size / (channels_ * sizeof(float)));
    pw_stream_queue_buffer(stream_, buffer);
}

void MonitorRecorder::keep(const float* samples, std::size_t frames) noexcept {
    const auto* position = position_.load();
    const auto first = frames_.load(std::memory_order_relaxed);
    const auto index = cycleCount_.load(std::memory_order_relaxed);
    if (channels_ * (first + frames) > samples_.size() || index == cycles_.size()) {
        isFull_ = true;
        return;
    }
    RecordedCycle cycle;
    cycle.firstFrame = first;
    cycle.frames = frames;
    cycle.time = nanoseconds(Clock::now());
    if (position != nullptr) {
        cycle.position = position->clock.position;
        cycle.scheduledTime = static_cast<std::int64_t>(position->clock.nsec);
        rate_ = static_cast<int>(position->clock.rate.denom);
    }
    std::copy_n(samples, channels_ * frames,
                samples_.begin() + static_cast<std::ptrdiff_t>(channels_ * first));
    cycles_[index] = cycle;
    frames_.store(first + frames, std::memory_order_release);
    cycleCount_.store(index + 1, std::memory_order_release);
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(cycleEvent_, &one, sizeof one);
}

bool MonitorRecorder::awaitCycle(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd event{cycleEvent_, POLLIN, 0};
    if (left.count() <= 0 || ::poll(&event, 1, static_cast<int>(left.count())) <= 0)
        return false;
    std::uint64_t count = 0;
    return ::read(cycleEvent_, &count, sizeof count) == sizeof count;
}

} // namespace vello::session
