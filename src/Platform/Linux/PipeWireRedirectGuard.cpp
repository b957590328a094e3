// SPDX-License-Identifier: Apache-2.0
#include "PipeWireRedirectGuard.h"

#include "PipeWireConnection.h"
#include "PipeWireGraph.h"
#include "PipeWireStreamDirector.h"

#include <cerrno>
#include <csignal>
#include <new>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <pipewire/thread-loop.h>

namespace vello {

namespace {

constexpr int serverPatienceSeconds = 2;

/// A guard has nobody to tell.
class SilentLog final : public SystemLog {
public:
    void write(LogLevel, std::string_view, std::string_view, std::string_view) override {}
};

/// Follows what the streams are directed to, so that it can take the redirects away without asking first: the
/// session manager then moves the streams before it has heard of the captures' end, and moves them once.
class RedirectCleanup final : private PipeWireConnectionHandler, private PipeWireGraphObserver {
public:
    explicit RedirectCleanup(std::string remoteName)
        : connection_(*this, log_, std::move(remoteName), PipeWireConnection::Purpose::watching),
          graph_(
              *this, [] { return kAudioObjectSystemObject; }, connection_.loop()),
          director_(graph_, [](AudioObjectID, FourCharCode) {}) {
        connection_.start();
    }
    ~RedirectCleanup() override { connection_.stop(); }

    /// Returns when the server has heard of it.
    void run() {
        PipeWireLock lock(connection_);
        // What the mirror knows is quick. A redirect that the mirror has missed is found by asking again.
        director_.takeBackStale();
        stage_ = Stage::asking;
        graph_.readMetadata();
        connection_.sync();
        while (stage_ != Stage::done)
            if (pw_thread_loop_timed_wait(connection_.threadLoop(), serverPatienceSeconds) != 0)
                return;
    }

private:
    enum class Stage { following, asking, clearing, done };

    void connected(pw_core* core) override { graph_.attach(core); }
    void disconnected() override { graph_.detach(); }
    void metadataRequested() override { connection_.sync(); }
    void synchronized() override {
        graph_.metadataAnswered();
        if (stage_ == Stage::following)
            return;
        director_.takeBackStale();
        if (graph_.isMetadataBeingTold())
            return;
        director_.rewriteChoices();
        stage_ = stage_ == Stage::asking ? Stage::clearing : Stage::done;
        connection_.sync();
        pw_thread_loop_signal(connection_.threadLoop(), false);
    }
    void propertyChanged(AudioObjectID, FourCharCode) override {}
    void streamDescribed(const GraphStream&) override {}
    void streamRunningChanged(const GraphStream&) override {}
    void streamVanished(std::uint32_t) override {}
    void linksChanged() override {}
    void sessionManagerGone() override {}
    void targetChanged(std::uint32_t, const std::string&, const std::optional<MetadataValue>&) override {}

    SilentLog log_;
    PipeWireConnection connection_;
    PipeWireGraph graph_;
    PipeWireStreamDirector director_;
    Stage stage_ = Stage::following;
};

/// The guard holds nothing of its parent's: neither its terminal nor a pipe whose reader waits for the
/// parent's end.
void letGoOfStandardStreams() {
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nowhere, stream);
}

} // namespace

/// A mutex that the guarded process holds for its life, in memory that both processes share. It is robust:
/// the kernel passes it on as one of the first things when its owner dies, some milliseconds before it closes
/// the connection to the audio server; so the guard is ahead of the server.
struct PipeWireRedirectGuard::Lifeline {
    pthread_mutex_t mutex;
};

namespace {

[[noreturn]] void runGuard(pthread_mutex_t& lifeline, const std::string& remoteName) {
    prctl(PR_SET_NAME, "vello-guard");
    for (const int ending : {SIGTERM, SIGINT, SIGHUP, SIGPIPE})
        std::signal(ending, SIG_IGN);
    letGoOfStandardStreams();
    RedirectCleanup cleanup(remoteName);
    if (pthread_mutex_lock(&lifeline) == EOWNERDEAD)
        cleanup.run();
    _exit(0);
}

} // namespace

PipeWireRedirectGuard::PipeWireRedirectGuard(const std::string& remoteName) {
    void* shared = mmap(nullptr, sizeof(Lifeline), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        return;
    lifeline_ = new (shared) Lifeline;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&lifeline_->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    pthread_mutex_lock(&lifeline_->mutex);
    guard_ = fork();
    if (guard_ == 0)
        runGuard(lifeline_->mutex, remoteName);
}

PipeWireRedirectGuard::~PipeWireRedirectGuard() {
    if (lifeline_ == nullptr)
        return;
    pthread_mutex_unlock(&lifeline_->mutex);
    if (guard_ > 0)
        waitpid(guard_, nullptr, 0);
    munmap(lifeline_, sizeof(Lifeline));
}

} // namespace vello
