// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Render.h"

#include "AudioEngine/Realtime/EQDSP.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"
#include "Control/CommandLine/CommandLine.h"
#include "Control/State/Lookup.h"
#include "FileFailure.h"
#include "Foundation/ReplacingFile.h"
#include "SoundFile.h"
#include "Spool.h"

#include <algorithm>
#include <ostream>
#include <system_error>
#include <vector>

namespace vello {

namespace {

/// Runs the I/O callback offline, without a device.
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

    /// Runs the callback on the captured samples.
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

void copyThrough(const RenderOptions& options, SoundFile& input, SoundFile& output) {
    OfflineTap tap(options, input.format());
    auto remaining = static_cast<std::uint64_t>(input.format().frames);
    while (remaining > 0) {
        const auto frames =
            static_cast<std::size_t>(std::min<std::uint64_t>(remaining, options.bufferFrames));
        onFile("read", options.input, [&] { input.readFrames(tap.captured(), frames); });
        const float* rendered = tap.render(frames);
        onFile("write", options.output, [&] { output.writeFrames(rendered, frames); });
        remaining -= frames;
    }
}

/// The file that is written: a regular one that appears when it is complete, or standard output.
class RenderedFile {
public:
    explicit RenderedFile(const std::filesystem::path& path) {
        if (isStandardStream(path))
            nameless_ = namelessFile();
        else
            file_.emplace(path, ReplacingFile::Permissions::usual);
    }

    int descriptor() const { return file_ ? file_->descriptor() : nameless_.number(); }
    void commit() {
        if (file_)
            file_->commit();
        else
            copyToStandardOutput(nameless_.number());
    }

private:
    std::optional<ReplacingFile> file_;
    Descriptor nameless_;
};

void checkIsNotInput(const RenderOptions& options) {
    std::error_code ignored;
    if (!isStandardStream(options.output) &&
        std::filesystem::equivalent(options.input, options.output, ignored))
        failAt("write", options.output, "it is the input; choose another name");
}

void render(const RenderOptions& options) {
    SoundFile input = onFile("read", options.input, [&] { return SoundFile::read(options.input); });
    checkIsNotInput(options);
    RenderedFile file = onFile("write", options.output, [&] { return RenderedFile(options.output); });
    SoundFile output =
        onFile("write", options.output, [&] { return SoundFile::write(file.descriptor(), input.format()); });
    copyThrough(options, input, output);
    onFile("write", options.output, [&] {
        output.finish();
        file.commit();
    });
}

/// With the curve of the preset that the options name.
RenderOptions withPreset(RenderOptions options, const SavedPresets& savedPresets, std::ostream& error) {
    if (options.preset.empty())
        return options;
    const auto presets = presetStates(savedPresets());
    const std::string id = findPresetID(presets, options.preset, [&](const std::string& sentence) {
        reportHint(error, options.format, sentence);
    });
    options.settings.bandGains = std::ranges::find(presets, id, &PresetState::id)->bandGains;
    return options;
}

} // namespace

int runRender(const RenderOptions& options, const SavedPresets& savedPresets, std::ostream& error) {
    try {
        render(withPreset(options, savedPresets, error));
        return kExitDone;
    } catch (const std::exception& problem) {
        return reportFailure(error, options.format, "failed", problem.what(), kExitFailed);
    }
}

} // namespace vello
