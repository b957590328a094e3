// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"
#include "AudioEngine/Realtime/SampleMemory.h"

#include <atomic>
#include <cstddef>
#include <optional>
#include <span>

namespace vello {

/// Lock-free ring buffer of one tap's latest interleaved samples. The data thread is the only writer; there
/// may be any number of readers.
///
/// Neither side waits. If the writer overtakes a reader during a long copy, the oldest samples of the copy
/// are replaced by newer ones.
class AudioSampleRingBuffer {
public:
    /// Samples in place, in order: first `older`, then `newer`, which is empty unless the range wraps around.
    struct Samples {
        std::span<const float> older, newer;

        float operator[](std::size_t index) const noexcept {
            return index < older.size() ? older[index] : newer[index - older.size()];
        }
    };

    /// Aborts the process if the capacity, in samples, is not a power of two.
    explicit AudioSampleRingBuffer(std::size_t capacityPowerOfTwo);
    /// The same with memory for that many samples.
    explicit AudioSampleRingBuffer(SampleMemory memory);

    std::size_t capacity() const noexcept { return capacity_; }
    /// Total number of samples written.
    std::size_t writeCursor() const noexcept { return writeCursor_.load(std::memory_order_acquire); }

    /// Appends samples. Ignores a block larger than the ring. Data thread only.
    void write(const float* samples, std::size_t count) noexcept VELLO_REALTIME;
    /// As write(), but while the ring rests it ignores silence; a block with sound ends the rest. Data thread
    /// only.
    void write(const float* samples, std::size_t count, bool isSilent) noexcept VELLO_REALTIME;

    /// The newest `count` samples without a copy, for a reader that reads them once. Meanwhile the writer may
    /// overwrite them, the oldest first. Returns nullopt when fewer samples have been written, or when
    /// `count` is 0 or above the capacity. Any thread; valid for the lifetime of the ring.
    std::optional<Samples> latest(std::size_t count) const noexcept;
    /// `count` samples from number `first` on, counted from the first sample ever written, otherwise as
    /// latest(). Where the writer has overwritten a sample, its newer one stands in its place.
    std::optional<Samples> range(std::size_t first, std::size_t count) const noexcept;
    /// Copies the newest `count` samples, oldest first. Returns false and copies nothing when latest() would
    /// return nullopt or `destination` is null. Any thread.
    bool copyLatest(float* destination, std::size_t count) const noexcept;

    /// For a ring whose source is silent for a while: gives back its memory, apart from room for the writer's
    /// next third of a second of stereo. What it held reads as zeros. Any thread except the data thread.
    void rest() noexcept;
    /// Makes the memory resident again, while there is still room. Any thread except the data thread.
    void endRest() noexcept;

private:
    std::size_t capacity_;
    std::size_t mask_;
    SampleMemory storage_;
    /// Stored with release after the samples and loaded with acquire by readers, so that all samples before
    /// it are visible.
    std::atomic<std::size_t> writeCursor_{0};
    std::atomic<bool> isResting_{false};
};

} // namespace vello
