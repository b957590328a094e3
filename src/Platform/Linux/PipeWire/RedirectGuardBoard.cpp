// SPDX-License-Identifier: Apache-2.0
#include "RedirectGuardBoard.h"

#include <algorithm>
#include <climits>
#include <ctime>
#include <new>
#include <utility>

#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vello {

namespace {

/// Initializes the robust mutex, held by the calling thread.
void initializeLifeline(pthread_mutex_t& lifeline) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&lifeline, &attributes);
    pthread_mutexattr_destroy(&attributes);
    pthread_mutex_lock(&lifeline);
}

/// Null when mapping fails.
void* map(int descriptor) {
    void* memory =
        mmap(nullptr, sizeof(RedirectGuardBoard), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return memory != MAP_FAILED ? memory : nullptr;
}

} // namespace

void SharedNumber::set(std::uint32_t number) noexcept {
    number_.store(number);
    wake();
}

void SharedNumber::increase() noexcept {
    number_.fetch_add(1);
    wake();
}

void SharedNumber::wake() noexcept {
    syscall(SYS_futex, &number_, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

void SharedNumber::awaitChange(std::uint32_t seen, std::optional<std::chrono::nanoseconds> longest) noexcept {
    timespec limit{};
    if (longest) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(*longest);
        limit = {.tv_sec = seconds.count(), .tv_nsec = (*longest - seconds).count()};
    }
    syscall(SYS_futex, &number_, FUTEX_WAIT, seen, longest ? &limit : nullptr, nullptr, 0);
}

void SharedNodes::add(std::uint32_t nodeID) noexcept {
    const auto isThis = [nodeID](const auto& node) { return node == nodeID; };
    if (std::ranges::none_of(nodes_, isThis))
        replace(0, nodeID);
}

void SharedNodes::remove(std::uint32_t nodeID) noexcept {
    replace(nodeID, 0);
}

void SharedNodes::replace(std::uint32_t nodeID, std::uint32_t by) noexcept {
    const auto place = std::ranges::find_if(nodes_, [nodeID](const auto& node) { return node == nodeID; });
    if (place != nodes_.end())
        *place = by;
}

std::vector<std::uint32_t> SharedNodes::all() const {
    std::vector<std::uint32_t> known;
    for (const std::uint32_t node : nodes_)
        if (node != 0)
            known.push_back(node);
    return known;
}

SharedGuardBoard SharedGuardBoard::make() {
    Descriptor memory(memfd_create("vello-guard", MFD_CLOEXEC));
    const bool isMade = memory.isOpen() && ftruncate(memory.number(), sizeof(RedirectGuardBoard)) == 0;
    void* const mapped = isMade ? map(memory.number()) : nullptr;
    if (mapped == nullptr)
        return {std::move(memory), nullptr};
    auto* board = new (mapped) RedirectGuardBoard;
    initializeLifeline(board->lifeline);
    return {std::move(memory), board};
}

SharedGuardBoard SharedGuardBoard::open(int descriptor) {
    // Created by the guarded process, and used without initialization here.
    return {Descriptor(descriptor), static_cast<RedirectGuardBoard*>(map(descriptor))};
}

SharedGuardBoard::SharedGuardBoard(SharedGuardBoard&& other) noexcept
    : memory_(std::move(other.memory_)), board_(std::exchange(other.board_, nullptr)) {}

SharedGuardBoard::~SharedGuardBoard() {
    if (board_ != nullptr)
        munmap(board_, sizeof(RedirectGuardBoard));
}

} // namespace vello
