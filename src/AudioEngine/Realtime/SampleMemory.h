// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <utility>

namespace vello {

/// The memory of a sample ring, mapped outside the heap: rings live as long as a tap, and the heap would keep
/// the memory of those that have gone. Every page is resident from the start, so that the data thread never
/// waits for one. The memory of a few rings that have gone is kept for the next ones.
///
/// Any thread except the data thread, which may write to the samples meanwhile.
class SampleMemory {
public:
    /// Room for `count` samples, at least one, of any value. Throws std::bad_alloc when there is no memory.
    explicit SampleMemory(std::size_t count);
    /// Leaves no samples behind.
    SampleMemory(SampleMemory&& other) noexcept : samples_(std::exchange(other.samples_, {})) {}
    ~SampleMemory();
    SampleMemory& operator=(SampleMemory&&) = delete;

    float* get() const noexcept { return samples_.data(); }
    std::size_t count() const noexcept { return samples_.size(); }

    /// Gives the whole pages within these samples back to the system. They read as zeros until something is
    /// written.
    void release(std::size_t first, std::size_t count) const noexcept;
    /// Makes every page resident again. Kernels before 5.14 leave that to the first write.
    void populate() const noexcept;

private:
    std::span<float> samples_;
};

} // namespace vello
