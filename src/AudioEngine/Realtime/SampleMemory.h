// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>

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
    ~SampleMemory();
    SampleMemory(const SampleMemory&) = delete;
    SampleMemory& operator=(const SampleMemory&) = delete;

    float* get() const noexcept { return samples_.data(); }

    /// Gives the whole pages within these samples back to the system. They read as zeros until something is
    /// written.
    void release(std::size_t first, std::size_t count) const noexcept;
    /// Makes every page resident again. Kernels before 5.14 leave that to the first write.
    void populate() const noexcept;

private:
    std::span<float> samples_;
};

} // namespace vello
