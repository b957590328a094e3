// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/RedirectGuardProcess.h"

#include "Platform/Linux/PipeWire/FreezeJudge.h"
#include "RedirectCleanup.h"
#include "RedirectGuardBoard.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <vector>

#include <sys/prctl.h>

namespace vello {

namespace {

using Care = RedirectGuardBoard::Care;

/// The streams directed to the guarded process. Empty after the streams were restored, because the user may
/// have moved them since.
std::vector<std::uint32_t> directedStreams(const RedirectGuardBoard& board) {
    return board.care == Care::givenUp ? std::vector<std::uint32_t>{} : board.directed.all();
}

/// Watches a guarded process that is alive.
class Watch {
public:
    Watch(RedirectGuardBoard& board, RedirectCleanup& cleanup) : board_(board), cleanup_(cleanup) {}

    /// Returns when the guarded process is dying.
    void run() {
        // A previous guard may have ended while it was restoring the streams.
        if (board_.care == Care::beingGivenUp)
            giveUp();
        for (;;) {
            const auto seen = board_.calls.get();
            if (board_.isDying)
                return finish();
            const bool isWatched = board_.isWatched;
            look(isWatched);
            board_.calls.awaitChange(seen, isWatched ? std::optional(FreezeJudge::period) : std::nullopt);
        }
    }

private:
    void look(bool isWatched) {
        if (!isWatched || board_.care != Care::guarded)
            judge_.reset();
        else if (judge_.isFrozen(FreezeJudge::Instant::clock::now(), {board_.mainBeats, board_.dataBeats}))
            giveUp();
    }
    void finish() {
        cleanup_.giveBack(directedStreams(board_));
        board_.haveStreamsMoved.set(1);
    }
    void giveUp() {
        board_.care = Care::beingGivenUp;
        cleanup_.giveBack(board_.directed.all());
        board_.care = Care::givenUp;
    }

    RedirectGuardBoard& board_;
    RedirectCleanup& cleanup_;
    FreezeJudge judge_;
};

/// Renames the guard, so that a kill by the guarded process's name does not hit the guard, which must then
/// clean up. Ignores termination signals, which are meant for the guarded process.
void becomeGuard() {
    prctl(PR_SET_NAME, "redirect-guard");
    for (const int ending : {SIGTERM, SIGINT, SIGHUP, SIGPIPE})
        std::signal(ending, SIG_IGN);
}

} // namespace

int runRedirectGuard(int descriptor, const std::string& remoteName) {
    becomeGuard();
    const auto shared = SharedGuardBoard::open(descriptor);
    if (shared.get() == nullptr)
        return EXIT_FAILURE;
    RedirectGuardBoard& board = *shared.get();
    RedirectCleanup cleanup(remoteName);
    cleanup.awaitMirror();
    board.isGuardReady.set(1);
    Watch watch(board, cleanup);
    std::thread([&watch] { watch.run(); }).detach();
    if (pthread_mutex_lock(&board.lifeline) == EOWNERDEAD)
        cleanup.giveBack(directedStreams(board));
    // Exits without joining the other thread, which waits for a call that will never come.
    std::_Exit(EXIT_SUCCESS);
}

} // namespace vello
