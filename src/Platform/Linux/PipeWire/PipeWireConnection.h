// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemLog.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct pw_context;
struct pw_core;
struct pw_core_events;
struct pw_data_loop;
struct pw_loop;
struct pw_thread_loop;
struct spa_source;

namespace vello {

/// Told of the connection's life, on the control loop's thread with its lock held.
class PipeWireConnectionHandler {
public:
    virtual ~PipeWireConnectionHandler() = default;
    virtual void connected(pw_core* core) = 0;
    /// Everything made from the cores must be gone when this returns.
    virtual void disconnected() = 0;
    /// All requests sent before PipeWireConnection::sync have been answered.
    virtual void synchronized() = 0;
};

/// The connection to the audio server: a control loop on a thread of its own, and two cores that are
/// connected again, with a growing pause, whenever one is lost.
///
/// One core watches and asks, the other one has our nodes. For the server does not listen to a client whom it
/// is telling the metadata until the session manager has answered, and not to the session manager until a
/// node that it has configured has answered: with one core for both, each would wait for the other for ever.
///
/// The loop's lock guards everything that talks to the server. Hold it (PipeWireLock) to call into PipeWire
/// from another thread; the loop holds it while it dispatches.
class PipeWireConnection {
public:
    enum class Purpose { watching, watchingAndNodes };

    /// `remoteName` is the server's socket name, empty for the user's own server. Starts nothing yet.
    PipeWireConnection(PipeWireConnectionHandler& handler, SystemLog& log, std::string remoteName,
                       Purpose purpose);
    /// Disconnects and joins the loop's thread. The lock must not be held.
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    /// Starts the loop; the first connection is tried before this returns, so a reader finds the server's
    /// objects soon.
    void start();
    /// Ends the loop's thread and disconnects. The lock must not be held. Called at most once, and at the
    /// latest by the destructor.
    void stop();

    pw_thread_loop* threadLoop() const { return threadLoop_; }
    pw_loop* loop() const;
    /// The loop of the data thread. Its functions that call into it need the lock.
    pw_data_loop* dataLoop() const;
    /// For the registry and what is bound from it. Null while there is no server.
    pw_core* core() const { return core_; }
    /// For nodes, when they are a purpose. Null while there is no server.
    pw_core* nodeCore() const { return nodeCore_; }
    /// Asks for PipeWireConnectionHandler::synchronized. Lock held.
    void sync();
    /// Disconnects and connects again in a turn of the loop's own, as when the server goes. `reason` is for
    /// the log. Lock held.
    void reconnect(const char* reason);

    /// Descriptors of the connection's own sockets, as long as it stands. Lock held.
    std::vector<int> sockets() const;
    /// Waits until the condition holds, which is looked at whenever the loop is signalled, or until that
    /// time. Lock held, not on the loop's thread; the loop has the lock meanwhile.
    template <class Condition>
    void waitUntil(std::chrono::steady_clock::time_point deadline, Condition condition) const {
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            awaitSignal(deadline);
    }

    /// Ends the connection for good, as the server sees it, without a lock or an allocation: the server drops
    /// everything of ours within milliseconds. For a signal handler of a dying process.
    void shutDownInSignalHandler() noexcept;

private:
    struct CoreListener;

    static void onCoreError(void* data, std::uint32_t id, int sequence, int result, const char* message);
    static void onCoreDone(void* data, std::uint32_t id, int sequence);
    static void onRetry(void* data, std::uint64_t expirations);
    static void onLost(void* data, std::uint64_t count);

    void awaitSignal(std::chrono::steady_clock::time_point deadline) const;
    bool connectCores();
    bool connectEachCore();
    void disconnectCores();
    /// Null when nobody answers; `errno` says why.
    pw_core* connect(CoreListener& listener, const pw_core_events& events);
    static void disconnect(pw_core*& core, CoreListener& listener);
    void scheduleRetry();
    void rememberSocketsSince(const std::vector<int>& before);
    void forgetSockets();

    PipeWireConnectionHandler& handler_;
    Logger logger_;
    std::string remoteName_;
    Purpose purpose_;
    pw_thread_loop* threadLoop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_core* nodeCore_ = nullptr;
    std::unique_ptr<CoreListener> coreListener_;
    std::unique_ptr<CoreListener> nodeCoreListener_;
    spa_source* retryTimer_ = nullptr;
    spa_source* lostEvent_ = nullptr;
    std::chrono::milliseconds retryPause_{};
    std::string reconnectReason_;
    int pendingSync_ = -1;
    bool isAbsenceLogged_ = false;
    /// Descriptors of the connection's own sockets, -1 where free. Written with the lock held, read by the
    /// signal handler.
    std::array<std::atomic<int>, 4> sockets_;
};

/// Holds the control loop's lock.
class PipeWireLock {
public:
    explicit PipeWireLock(const PipeWireConnection& connection);
    ~PipeWireLock();
    PipeWireLock(const PipeWireLock&) = delete;
    PipeWireLock& operator=(const PipeWireLock&) = delete;

private:
    pw_thread_loop* threadLoop_;
};

} // namespace vello
