// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/SampleMemory.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace vello {

namespace {

/// A tap that is rebuilt has two rings for a moment.
constexpr std::size_t kMostSpares = 2;

/// Where the system has huge pages, they have this size on most processors.
constexpr std::size_t kHugePage = std::size_t{2} << 20;

std::size_t pageSize() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// During its lifetime, samples that become resident do so in huge pages where they can. Usual pages lie
/// anywhere in memory; where many have the same place in the cache, a callback takes up to a fifth longer.
/// Not later, because the system would move samples into huge pages while the data thread waits for them.
class InHugePages {
public:
    explicit InHugePages(std::span<float> samples) : samples_(samples) {
#ifdef MADV_HUGEPAGE
        ::madvise(samples_.data(), samples_.size_bytes(), MADV_HUGEPAGE);
#endif
    }
    ~InHugePages() {
#ifdef MADV_NOHUGEPAGE
        ::madvise(samples_.data(), samples_.size_bytes(), MADV_NOHUGEPAGE);
#endif
    }
    InHugePages(const InHugePages&) = delete;
    InHugePages& operator=(const InHugePages&) = delete;

private:
    std::span<float> samples_;
};

/// Aligned to huge pages if it fills one.
void* mapPages(std::size_t bytes) {
    const std::size_t wanted = (bytes + pageSize() - 1) / pageSize() * pageSize();
    const std::size_t alignment = std::max(wanted >= kHugePage ? kHugePage : 0, pageSize());
    std::size_t space = wanted + alignment - pageSize();
    void* const mapped = ::mmap(nullptr, space, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    const std::size_t before = space;
    void* pages = mapped;
    std::align(alignment, wanted, pages, space);
    if (space < before)
        ::munmap(mapped, before - space);
    if (wanted < space)
        ::munmap(static_cast<std::byte*>(pages) + wanted, space - wanted);
    return pages;
}

/// False if the system cannot: a kernel before 5.14.
bool makeResident([[maybe_unused]] std::span<float> samples) noexcept {
#ifdef MADV_POPULATE_WRITE
    const InHugePages inHugePages(samples);
    return ::madvise(samples.data(), samples.size_bytes(), MADV_POPULATE_WRITE) == 0;
#else
    return false;
#endif
}

std::span<float> mapSamples(std::size_t count) {
    const std::span samples(static_cast<float*>(mapPages(count * sizeof(float))), count);
    if (!makeResident(samples))
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
    const std::size_t page = pageSize() / sizeof(float);
    const std::size_t begin = (first + page - 1) / page * page;
    const std::size_t end = (first + count) / page * page;
    if (begin < end)
        ::madvise(get() + begin, (end - begin) * sizeof(float), MADV_DONTNEED);
}

void SampleMemory::populate() const noexcept {
    makeResident(samples_);
}

SampleMemory::~SampleMemory() {
    if (samples_.empty())
        return;
    release(0, samples_.size()); // a spare costs no memory while it waits
    if (!spares().keep(samples_))
        unmapSamples(samples_);
}

} // namespace vello
