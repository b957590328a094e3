// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/SampleMemory.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace vello {

namespace {

/// A tap that is rebuilt has two rings for a moment.
constexpr std::size_t kMostSpares = 2;

std::span<float> mapSamples(std::size_t count) {
    void* pages =
        ::mmap(nullptr, count * sizeof(float), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        throw std::bad_alloc();
    const std::span samples(static_cast<float*>(pages), count);
    std::ranges::fill(samples, 0.0F);
    return samples;
}

void unmapSamples(std::span<float> samples) {
    ::munmap(samples.data(), samples.size_bytes());
}

class Spares {
public:
    Spares() { spares_.reserve(kMostSpares); } // so that keep(), which a destructor calls, never throws
    ~Spares() { std::ranges::for_each(spares_, unmapSamples); }

    /// An empty span when no spare has this size.
    std::span<float> take(std::size_t count) {
        const std::scoped_lock lock(mutex_);
        const auto spare = std::ranges::find(spares_, count, &std::span<float>::size);
        if (spare == spares_.end())
            return {};
        const std::span<float> samples = *spare;
        spares_.erase(spare);
        return samples;
    }
    /// False when there are enough.
    bool keep(std::span<float> samples) {
        const std::scoped_lock lock(mutex_);
        if (spares_.size() >= kMostSpares)
            return false;
        spares_.push_back(samples);
        return true;
    }

private:
    std::mutex mutex_;
    std::vector<std::span<float>> spares_;
};

Spares& spares() {
    static Spares instance;
    return instance;
}

} // namespace

SampleMemory::SampleMemory(std::size_t count) : samples_(spares().take(count)) {
    if (samples_.empty())
        samples_ = mapSamples(count);
    else
        populate(); // the former ring has released them
}

void SampleMemory::release(std::size_t first, std::size_t count) const noexcept {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) / sizeof(float);
    const std::size_t begin = (first + page - 1) / page * page;
    const std::size_t end = (first + count) / page * page;
    if (begin < end)
        ::madvise(get() + begin, (end - begin) * sizeof(float), MADV_DONTNEED);
}

void SampleMemory::populate() const noexcept {
#ifdef MADV_POPULATE_WRITE
    ::madvise(get(), samples_.size_bytes(), MADV_POPULATE_WRITE);
#endif
}

SampleMemory::~SampleMemory() {
    release(0, samples_.size()); // a spare costs no memory while it waits
    if (!spares().keep(samples_))
        unmapSamples(samples_);
}

} // namespace vello
