// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/PipeWireRedirectGuard.h"

#include "RedirectGuardBoard.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vello {

using namespace std::chrono_literals;
using Care = RedirectGuardBoard::Care;

namespace {

/// How long a dying process waits for its streams to be moved. They remain audible meanwhile, unless it is
/// the data thread that dies. Longer than the guard waits for the session manager.
constexpr auto kDyingPatience = 400ms;
/// How long the start waits for the guard. The guard starts before this process has loaded its libraries.
constexpr auto kStartingPatience = 500ms;
/// How long a guard may take to exit.
constexpr auto kLeavingPatience = 1s;
/// The pause before replacing a guard grows when guards keep ending early.
constexpr auto kFirstPause = 50ms;
constexpr auto kLongestPause = 60s;
constexpr auto kUsualLife = 10s;
/// Descriptor of the board in the guard, and of the channel that the guard holds without using it.
constexpr int kBoardDescriptor = STDERR_FILENO + 1;
constexpr int kChannelDescriptor = kBoardDescriptor + 1;

/// Starts the guard in its own session. It inherits only the board and the held connection from its parent:
/// not the terminal, and not a pipe whose reader waits for the parent's end.
class GuardSpawn {
public:
    GuardSpawn(int board, int channelEnd) {
        posix_spawn_file_actions_init(&files_);
        posix_spawn_file_actions_adddup2(&files_, board, kBoardDescriptor);
        if (channelEnd >= 0)
            posix_spawn_file_actions_adddup2(&files_, channelEnd, kChannelDescriptor);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&files_, stream, "/dev/null", O_RDWR, 0);
        posix_spawn_file_actions_addclosefrom_np(&files_, kChannelDescriptor + 1);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setflags(
            &attributes_,
            static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID));
    }
    ~GuardSpawn() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&files_);
    }
    GuardSpawn(const GuardSpawn&) = delete;
    GuardSpawn& operator=(const GuardSpawn&) = delete;

    /// Starts the program in the open file `program`. The process ID, or -1.
    pid_t start(int program) const {
        // Named through this process, because the new one has closed its copy of the descriptor by then.
        const std::string file = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(program);
        std::string name = kRedirectGuardProgram;
        const std::array<char*, 2> arguments{name.data(), nullptr};
        pid_t process = -1;
        const int error =
            posix_spawn(&process, file.c_str(), &files_, &attributes_, arguments.data(), environ);
        return error == 0 ? process : -1;
    }

private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

std::int64_t monotonicNanoseconds() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

} // namespace

PipeWireRedirectGuard::PipeWireRedirectGuard(const std::filesystem::path& program)
    : program_(open(program.c_str(), O_PATH | O_CLOEXEC)),
      shared_(std::make_unique<SharedGuardBoard>(SharedGuardBoard::make())), board_(shared_->get()) {
    if (board_ == nullptr)
        return;
    {
        const Lock lock(mutex_);
        startGuard(lock);
    }
    startThread();
}

PipeWireRedirectGuard::~PipeWireRedirectGuard() {
    if (board_ == nullptr)
        return;
    pthread_mutex_unlock(&board_->lifeline);
    {
        Lock lock(mutex_);
        isEnding_ = true;
        changed_.notify_all();
        if (!changed_.wait_for(lock, kLeavingPatience, [this] { return guard_ < 0; }))
            kill(guard_, SIGKILL);
    }
    thread_.join();
}

void PipeWireRedirectGuard::startThread() {
    // Termination signals must be delivered to threads that handle them.
    sigset_t asking;
    sigset_t before;
    sigemptyset(&asking);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&asking, signal);
    pthread_sigmask(SIG_BLOCK, &asking, &before);
    thread_ = std::thread([this] { keepGuard(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void PipeWireRedirectGuard::startGuard(const Lock&) {
    guard_ = GuardSpawn(shared_->descriptor(), connection_.channelEnd()).start(program_.number());
}

void PipeWireRedirectGuard::awaitGuardsEnd(Lock& lock) {
    if (guard_ < 0)
        return;
    siginfo_t ended{};
    lock.unlock();
    // The guard stays a zombie until the lock is held again, so that its process ID cannot be reused and
    // killed.
    while (waitid(P_PID, static_cast<id_t>(guard_), &ended, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    lock.lock();
    waitpid(guard_, nullptr, 0);
    guard_ = -1;
    board_->isGuardReady.set(0);
    changed_.notify_all();
}

void PipeWireRedirectGuard::keepGuard() {
    Clock::duration pause{};
    Lock lock(mutex_);
    for (;;) {
        const auto started = Clock::now();
        awaitGuardsEnd(lock);
        const bool hasLived = Clock::now() - started > kUsualLife;
        pause = hasLived ? kFirstPause : std::clamp<Clock::duration>(pause * 2, kFirstPause, kLongestPause);
        if (changed_.wait_for(lock, pause, [this] { return isEnding_; }))
            return;
        startGuard(lock);
    }
}

void PipeWireRedirectGuard::giveBackInSignalHandler() noexcept {
    if (board_ == nullptr || board_->isGuardReady.get() == 0)
        return;
    const std::int64_t now = monotonicNanoseconds();
    std::int64_t deadline = 0;
    // Later threads wait no longer than the first one.
    if (handlerDeadline_.compare_exchange_strong(deadline,
                                                 now + std::chrono::nanoseconds(kDyingPatience).count())) {
        board_->isDying = true;
        board_->calls.increase();
        deadline = handlerDeadline_;
    }
    awaitNumber(board_->haveStreamsMoved, deadline);
}

void PipeWireRedirectGuard::awaitNumber(SharedNumber& number, std::int64_t deadline) noexcept {
    for (auto left = deadline - monotonicNanoseconds(); left > 0 && number.get() == 0;
         left = deadline - monotonicNanoseconds())
        number.awaitChange(0, std::chrono::nanoseconds(left));
}

void PipeWireRedirectGuard::awaitGuard() noexcept {
    {
        const Lock lock(mutex_);
        if (board_ == nullptr || guard_ < 0)
            return;
    }
    awaitNumber(board_->isGuardReady,
                monotonicNanoseconds() + std::chrono::nanoseconds(kStartingPatience).count());
}

void PipeWireRedirectGuard::watch(bool isWatched) noexcept {
    if (board_ == nullptr || board_->isWatched.exchange(isWatched) == isWatched)
        return;
    // A guard that already watches notices by itself when it may stop.
    if (isWatched)
        board_->calls.increase();
}

void PipeWireRedirectGuard::beatOnMainThread() noexcept {
    if (board_ != nullptr)
        board_->mainBeats.fetch_add(1, std::memory_order_relaxed);
}

void PipeWireRedirectGuard::beatOnDataThread() noexcept {
    if (board_ != nullptr)
        board_->dataBeats.fetch_add(1, std::memory_order_relaxed);
}

std::uint32_t PipeWireRedirectGuard::beatsOnDataThread() const noexcept {
    return board_ != nullptr ? board_->dataBeats.load() : 0;
}

bool PipeWireRedirectGuard::isGivenUp() const noexcept {
    return board_ != nullptr && (board_->isDying || board_->care != Care::guarded);
}

void PipeWireRedirectGuard::directed(std::uint32_t nodeID) noexcept {
    if (board_ != nullptr)
        board_->directed.add(nodeID);
}

void PipeWireRedirectGuard::released(std::uint32_t nodeID) noexcept {
    if (board_ != nullptr)
        board_->directed.remove(nodeID);
}

bool PipeWireRedirectGuard::mayTakeAgain() const noexcept {
    return board_ != nullptr && board_->care == Care::givenUp;
}

void PipeWireRedirectGuard::takeAgain() noexcept {
    if (board_ != nullptr)
        board_->care = Care::guarded;
}

} // namespace vello
