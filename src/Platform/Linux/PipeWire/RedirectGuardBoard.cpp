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

/// The robust mutex that the calling thread holds.
void initializeLifeline(pthread_mutex_t& lifeline) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&lifeline, &attributes);
    pthread_mutexattr_destroy(&attributes);
    pthread_mutex_lock(&lifeline);
}

/// Null when it cannot be mapped.
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
    const int descriptor = memfd_create("vello-guard", MFD_CLOEXEC);
    void* memory =
        descriptor >= 0 && ftruncate(descriptor, sizeof(RedirectGuardBoard)) == 0 ? map(descriptor) : nullptr;
    if (memory == nullptr)
        return {descriptor, nullptr};
    auto* board = new (memory) RedirectGuardBoard;
    initializeLifeline(board->lifeline);
    return {descriptor, board};
}

SharedGuardBoard SharedGuardBoard::open(int descriptor) {
    // Made by the guarded process, and used as it stands.
    return {descriptor, static_cast<RedirectGuardBoard*>(map(descriptor))};
}

SharedGuardBoard::SharedGuardBoard(SharedGuardBoard&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), board_(std::exchange(other.board_, nullptr)) {}

SharedGuardBoard::~SharedGuardBoard() {
    if (board_ != nullptr)
        munmap(board_, sizeof(RedirectGuardBoard));
    if (descriptor_ >= 0)
        close(descriptor_);
}

} // namespace vello
