// SPDX-License-Identifier: Apache-2.0
#include "SoundFile.h"

#include "Spool.h"

#include <sndfile.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace vello {

namespace {

/// The file size according to the RIFF header; 0 if the header does not specify it.
std::uint64_t promisedSize(int descriptor) {
    constexpr std::uint32_t unknown = std::numeric_limits<std::uint32_t>::max();
    std::array<char, 8> header{};
    const bool isRead = ::pread(descriptor, header.data(), header.size(), 0) == ssize_t{header.size()};
    if (!isRead || std::string_view(header.data(), 4) != "RIFF")
        return 0;
    std::uint32_t size = 0;
    for (std::size_t i = 0; i < 4; ++i)
        size |= std::uint32_t{static_cast<unsigned char>(header[4 + i])} << (8 * i);
    return size == unknown ? 0 : std::uint64_t{size} + header.size();
}

/// Of a regular file, which is at its beginning afterwards.
std::uint64_t sizeOf(int descriptor) {
    const auto end = ::lseek(descriptor, 0, SEEK_END);
    ::lseek(descriptor, 0, SEEK_SET);
    return end > 0 ? static_cast<std::uint64_t>(end) : 0;
}

[[noreturn]] void fail(const std::string& reason) {
    throw std::runtime_error(reason);
}

Descriptor openForReading(const std::filesystem::path& path) {
    const auto status = std::filesystem::status(path);
    if (!std::filesystem::exists(status))
        fail("there is no such file");
    if (!std::filesystem::is_regular_file(status))
        fail("it is not a file");
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        fail(std::strerror(errno));
    return file;
}

} // namespace

void SoundFile::Close::operator()(sf_private_tag* file) const noexcept {
    sf_close(file);
}

SoundFile SoundFile::read(const std::filesystem::path& path) {
    Descriptor descriptor = isStandardStream(path) ? spoolStandardInput() : openForReading(path);
    const bool isCutShort = promisedSize(descriptor.number()) > sizeOf(descriptor.number());
    SF_INFO info{};
    SNDFILE* file = sf_open_fd(descriptor.number(), SFM_READ, &info, SF_FALSE);
    if (file == nullptr)
        fail("it is not a sound file that can be read (WAV, FLAC, AIFF, Ogg)");
    SoundFile sound(file, {.sampleRate = info.samplerate, .channels = info.channels, .frames = info.frames});
    sound.descriptor_ = std::move(descriptor);
    if (isCutShort)
        fail("it is cut short: its header promises more than there is");
    if (info.channels > mostChannels)
        fail("it has " + std::to_string(info.channels) + " channels; mix it down to 1 or 2");
    return sound;
}

SoundFile SoundFile::write(int descriptor, const SoundFormat& format) {
    constexpr std::uint64_t largestData = std::numeric_limits<std::uint32_t>::max() - 4096;
    if (static_cast<std::uint64_t>(format.frames) * static_cast<std::uint64_t>(format.channels) >
        largestData / sizeof(float))
        fail("a WAV file cannot hold more than 4 GiB");
    SF_INFO info{};
    info.samplerate = format.sampleRate;
    info.channels = format.channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open_fd(descriptor, SFM_WRITE, &info, SF_FALSE);
    if (file == nullptr)
        fail(sf_strerror(nullptr));
    // The PEAK chunk contains a timestamp; without it, the same input gives the same file.
    sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    return SoundFile(file, format);
}

void SoundFile::readFrames(float* samples, std::size_t frames) {
    const auto wanted = static_cast<sf_count_t>(frames);
    if (sf_readf_float(file_.get(), samples, wanted) != wanted)
        fail("it is cut short or damaged: it cannot be read to its end");
}

void SoundFile::writeFrames(const float* samples, std::size_t frames) {
    const auto wanted = static_cast<sf_count_t>(frames);
    if (sf_writef_float(file_.get(), samples, wanted) != wanted)
        fail(errno != 0 ? std::strerror(errno) : sf_strerror(file_.get()));
}

void SoundFile::finish() {
    if (const int problem = sf_close(file_.release()); problem != 0)
        fail(sf_error_number(problem));
}

} // namespace vello
