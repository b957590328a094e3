// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>

struct sf_private_tag;

namespace vello {

struct SoundFormat {
    int sampleRate = 0; ///< Hz
    int channels = 0;
    std::int64_t frames = 0;
};

/// A sound file with 1 or 2 channels as interleaved 32-bit floats, full scale at 1. Errors are
/// std::runtime_error with one line of text.
class SoundFile {
public:
    static constexpr int mostChannels = 2;

    /// Opens a file for reading; "-" is standard input. Throws if the file is shorter than its header says.
    static SoundFile read(const std::filesystem::path& path);
    /// Starts a WAV file of 32-bit floats in an open, empty file. The caller keeps ownership of the
    /// descriptor.
    static SoundFile write(int descriptor, const SoundFormat& format);

    const SoundFormat& format() const noexcept { return format_; }
    void readFrames(float* samples, std::size_t frames);
    void writeFrames(const float* samples, std::size_t frames);
    /// Completes a written file. Without this call the file is not valid.
    void finish();

private:
    struct Close {
        void operator()(sf_private_tag* file) const noexcept;
    };

    explicit SoundFile(sf_private_tag* file, const SoundFormat& format) : file_(file), format_(format) {}

    Descriptor descriptor_; ///< of a file that is read; must outlive file_
    std::unique_ptr<sf_private_tag, Close> file_;
    SoundFormat format_;
};

} // namespace vello
