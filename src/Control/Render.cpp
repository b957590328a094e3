// SPDX-License-Identifier: Apache-2.0
#include "Control/Render.h"

#include "AudioEngine/EQDSP.h"
#include "AudioEngine/TapRealtimeContext.h"
#include "Control/CommandLine.h"
#include "Control/SoundFile.h"
#include "Control/Terminal.h"
#include "Persistence/ReplacingFile.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace vello {

namespace {

/// The callback with a device that has all the time in the world.
class OfflineTap {
public:
    OfflineTap(const RenderOptions& options, const SoundFormat& format)
        : snapshot_(options.settings, format.sampleRate),
          context_(true, format.channels,
                   static_cast<float>(options.initialVolume.value_or(options.settings.volume))),
          captured_(options.bufferFrames * static_cast<std::size_t>(format.channels)),
          rendered_(captured_.size()) {
        context_.setVolumeTarget(static_cast<float>(options.settings.volume));
        context_.snapshotPointer.store(&snapshot_, std::memory_order_release);
    }

    float* captured() noexcept { return captured_.data(); }

    /// Runs the callback on what was captured.
    const float* render(std::size_t frames) noexcept {
        const auto channels = static_cast<std::uint32_t>(context_.channelCount);
        const auto bytes = static_cast<std::uint32_t>(frames * channels * sizeof(float));
        AudioBufferListStorage<1> input{{1}, {{channels, bytes, captured_.data()}}};
        AudioBufferListStorage<1> output{{1}, {{channels, bytes, rendered_.data()}}};
        eqByQUORVINProcessIOProc(kAudioObjectUnknown, &input.list, &output.list, &context_);
        return rendered_.data();
    }

private:
    EQChainSnapshot snapshot_;
    TapRealtimeContext context_;
    std::vector<float> captured_;
    std::vector<float> rendered_;
};

/// A failure with the name of the file that it is about.
[[noreturn]] void failAt(const char* action, const std::filesystem::path& path, const std::string& reason) {
    throw std::runtime_error(std::string("cannot ") + action + " '" + path.string() + "': " + reason);
}

/// Runs `action`; what it throws becomes a failure at `path`.
template <typename Action>
decltype(auto) at(const char* verb, const std::filesystem::path& path, Action action) {
    try {
        return action();
    } catch (const std::system_error& problem) {
        failAt(verb, path, problem.code().message());
    } catch (const std::runtime_error& problem) {
        failAt(verb, path, problem.what());
    }
}

SoundFile openInput(const std::filesystem::path& path) {
    return at("read", path, [&] {
        SoundFile file = SoundFile::read(path);
        if (file.format().channels > 2)
            throw std::runtime_error("it has " + std::to_string(file.format().channels) +
                                     " channels; mix it down to 1 or 2");
        return file;
    });
}

void copyThrough(const RenderOptions& options, SoundFile& input, SoundFile& output) {
    OfflineTap tap(options, input.format());
    auto remaining = static_cast<std::uint64_t>(input.format().frames);
    while (remaining > 0) {
        const auto frames =
            static_cast<std::size_t>(std::min<std::uint64_t>(remaining, options.bufferFrames));
        at("read", options.input, [&] { input.readFrames(tap.captured(), frames); });
        const float* rendered = tap.render(frames);
        at("write", options.output, [&] { output.writeFrames(rendered, frames); });
        remaining -= frames;
    }
}

void render(const RenderOptions& options) {
    SoundFile input = openInput(options.input);
    std::error_code ignored;
    if (std::filesystem::equivalent(options.input, options.output, ignored))
        failAt("write", options.output, "it is the input; choose another name");
    ReplacingFile file = at("write", options.output,
                            [&] { return ReplacingFile(options.output, ReplacingFile::Permissions::usual); });
    SoundFile output =
        at("write", options.output, [&] { return SoundFile::write(file.descriptor(), input.format()); });
    copyThrough(options, input, output);
    at("write", options.output, [&] {
        output.finish();
        file.commit();
    });
}

} // namespace

int runRender(const RenderOptions& options, std::ostream& error) {
    try {
        render(options);
        return kExitDone;
    } catch (const std::exception& problem) {
        error << "vello: " << oneLine(problem.what()) << '\n';
        return kExitFailed;
    }
}

} // namespace vello
