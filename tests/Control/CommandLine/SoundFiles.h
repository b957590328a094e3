// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>
#include <vector>

namespace vello::test {

/// The content of a sound file.
struct Sound {
    int sampleRate = 48000;
    int channels = 2;
    std::vector<float> samples;
    int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
};

inline void writeSound(const std::filesystem::path& file, const Sound& sound) {
    SF_INFO info{};
    info.samplerate = sound.sampleRate;
    info.channels = sound.channels;
    info.format = sound.format;
    SNDFILE* handle = sf_open(file.c_str(), SFM_WRITE, &info);
    ASSERT_NE(handle, nullptr) << file;
    const auto count = static_cast<sf_count_t>(sound.samples.size());
    EXPECT_EQ(sf_write_float(handle, sound.samples.data(), count), count);
    sf_close(handle);
}

} // namespace vello::test
