// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireTimer.h"
#include "Ports/SystemLog.h"

#include <algorithm>
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

/// Callbacks of the connection, on the control loop's thread with its lock held.
class PipeWireConnectionHandler {
public:
    virtual ~PipeWireConnectionHandler() = default;
    virtual void connected(pw_core* core) = 0;
    /// Everything made from the cores must be destroyed before this returns.
    virtual void disconnected() = 0;
    /// The server has answered all requests sent before PipeWireConnection::sync.
    virtual void synchronized() = 0;
};

/// The connection to the audio server: a control loop on its own thread, and two cores. When a core is lost,
/// both are connected again, with a growing pause between attempts.
///
/// One core observes the server and sends requests; the other one owns our nodes. One core for both would
/// deadlock: while the server sends metadata to a client it does not read from that client until the session
/// manager has answered, and it does not read from the session manager until a node that the session manager
/// has configured has answered.
///
/// The loop's lock guards every call to the server. Hold it (PipeWireLock) to call PipeWire from another
/// thread; the loop holds it while it dispatches.
class PipeWireConnection {
public:
    enum class Purpose { watching, watchingAndNodes };

    /// `remoteName` is the server's socket name, empty for the user's own server. Does not start the loop.
    PipeWireConnection(PipeWireConnectionHandler& handler, SystemLog& log, std::string remoteName,
                       Purpose purpose);
    /// Disconnects and joins the loop's thread. The lock must not be held.
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    /// Starts the loop. Makes the first attempt to connect before it returns, so that the server's objects
    /// are known soon.
    void start();
    /// Ends the loop's thread and disconnects. The lock must not be held. Call at most once; the destructor
    /// calls it too.
    void stop();

    pw_thread_loop* threadLoop() const { return threadLoop_; }
    pw_loop* loop() const;
    /// The loop of the data thread. Calls into it require the lock.
    pw_data_loop* dataLoop() const;
    /// For the registry and the objects bound through it. Null while there is no server.
    pw_core* core() const { return core_; }
    /// For our nodes; null while there is no server, or when the purpose does not include nodes.
    pw_core* nodeCore() const { return nodeCore_; }
    /// Requests PipeWireConnectionHandler::synchronized. Lock held.
    void sync();
    /// Disconnects and connects again in a later iteration of the loop, as when the server is lost. `reason`
    /// is logged. Lock held.
    void reconnect(const char* reason);

    /// Descriptors of the connection's own sockets; empty while disconnected. Lock held.
    std::vector<int> sockets() const;
    /// Waits until the condition holds or the deadline has passed. The condition is evaluated whenever the
    /// loop is signalled. Lock held on entry and return, released while waiting. Not on the loop's thread.
    template <class Condition>
    void waitUntil(std::chrono::steady_clock::time_point deadline, Condition condition) const {
        deadline = std::min(deadline, latestWait_);
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            awaitSignal(deadline);
    }
    /// No later wait lasts longer than until `latest`. Lock held.
    void limitWaits(std::chrono::steady_clock::time_point latest) { latestWait_ = latest; }

    /// Ends the connection permanently without a lock or an allocation: the server removes all our objects
    /// within milliseconds. For a signal handler of a dying process.
    void shutDownInSignalHandler() noexcept;

private:
    struct CoreListener;

    static void onCoreError(void* data, std::uint32_t id, int sequence, int result, const char* message);
    static void onCoreDone(void* data, std::uint32_t id, int sequence);
    static void onLost(void* data, std::uint64_t count);

    void awaitSignal(std::chrono::steady_clock::time_point deadline) const;
    bool connectCores();
    bool connectEachCore();
    void disconnectCores();
    /// Null when the connection fails; `errno` says why.
    pw_core* connect(CoreListener& listener, const pw_core_events& events);
    static void disconnect(pw_core*& core, CoreListener& listener);
    void scheduleRetry();
    void retry();
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
    std::unique_ptr<PipeWireTimer> retryTimer_;
    spa_source* lostEvent_ = nullptr;
    std::chrono::milliseconds retryPause_{};
    std::string reconnectReason_;
    int pendingSync_ = -1;
    std::chrono::steady_clock::time_point latestWait_ = std::chrono::steady_clock::time_point::max();
    bool isAbsenceLogged_ = false;
    /// Descriptors of the connection's own sockets, -1 for a free entry. Written with the lock held, read by
    /// the signal handler.
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
