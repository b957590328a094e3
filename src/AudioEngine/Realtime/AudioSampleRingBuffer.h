// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>

namespace vello {

/// The latest samples of one tap, handed from the data thread (the only writer) to any number of readers
/// without locks. The samples are interleaved as the writer has them.
///
/// Nobody waits: a reader that copies so much that the writer overtakes it meanwhile gets newer samples at
/// the far end.
class AudioSampleRingBuffer {
public:
    /// Samples where they lie, in order: first those of `older`, then those of `newer`, which is empty unless
    /// the ring's end is between them.
    struct Samples {
        std::span<const float> older, newer;

        float operator[](std::size_t index) const noexcept {
            return index < older.size() ? older[index] : newer[index - older.size()];
        }
    };

    /// `capacity` samples, all zero; a power of two, else the process ends.
    explicit AudioSampleRingBuffer(std::size_t capacityPowerOfTwo);

    std::size_t capacity() const noexcept { return capacity_; }
    /// Number of samples ever written.
    std::size_t writeCursor() const noexcept { return writeCursor_.load(std::memory_order_acquire); }

    /// Appends. A block larger than the ring is dropped whole. Data thread only.
    void write(const float* samples, std::size_t count) noexcept VELLO_REALTIME;
    /// Has the cache fetch the place of the next `count` samples: the ring is larger than the caches, so a
    /// write that comes without notice waits for memory. Data thread only.
    void prefetch(std::size_t count) const noexcept VELLO_REALTIME;

    /// The newest `count` samples, without a copy: for a reader that passes over them once. The writer goes
    /// on meanwhile and overwrites the oldest samples of the ring first. Nothing when the ring never held so
    /// many or `count` is 0. Any thread, for as long as the ring lives.
    std::optional<Samples> latest(std::size_t count) const noexcept;
    /// Copies the newest `count` samples, oldest first. False, and nothing copied, when the ring never held
    /// so many, `count` is 0 or `destination` is null. Any thread.
    bool copyLatest(float* destination, std::size_t count) const noexcept;

private:
    std::size_t capacity_;
    std::size_t mask_;
    std::unique_ptr<float[]> storage_;
    /// Stored with release after the samples, loaded with acquire by readers: every sample before it is
    /// visible.
    std::atomic<std::size_t> writeCursor_{0};
};

} // namespace vello
