// SPDX-License-Identifier: Apache-2.0
#include "PipeWireConnection.h"

#include "Foundation/Product.h"
#include "PipeWireCalls.h"
#include "PipeWireQuirks.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kFirstRetryPause = 50ms;
constexpr auto kLongestRetryPause = 500ms;

/// Open descriptors of UNIX sockets that are connected to a named socket.
std::vector<int> connectedSockets() {
    std::vector<int> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        const std::string name = entry.path().filename().string();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        sockaddr_un address{};
        socklen_t length = sizeof address;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            address.sun_family == AF_UNIX && length > offsetof(sockaddr_un, sun_path))
            found.push_back(descriptor);
    }
    return found;
}

} // namespace

struct PipeWireConnection::CoreListener {
    spa_hook hook{};
};

PipeWireConnection::PipeWireConnection(PipeWireConnectionHandler& handler, SystemLog& log,
                                       std::string remoteName, Purpose purpose)
    : handler_(handler), logger_(log, kBundleIdentifier, "PipeWire"), remoteName_(std::move(remoteName)),
      purpose_(purpose), coreListener_(std::make_unique<CoreListener>()),
      nodeCoreListener_(std::make_unique<CoreListener>()) {
    for (auto& socket : sockets_)
        socket.store(-1);
    pw_init(nullptr, nullptr);
    // The library would print an error at every attempt while there is no server. We log its absence once
    // instead.
    if (std::getenv("PIPEWIRE_DEBUG") == nullptr)
        pw_log_set_level(SPA_LOG_LEVEL_NONE);
    threadLoop_ = pw_thread_loop_new("vello-control", nullptr);
    context_ = pw_context_new(
        loop(),
        pw_properties_new(PW_KEY_CONFIG_NAME, quirks::clientConfigurationName(),
                          // On the data thread, where the callback would switch in every cycle.
                          "cpu.zero.denormals", "true", nullptr),
        0);
    if (context_ == nullptr)
        throw std::runtime_error(
            "PipeWire's client configuration cannot be loaded; is the package pipewire installed?");
    retryTimer_ = std::make_unique<PipeWireTimer>(loop(), [this] { retry(); });
    lostEvent_ = pw_loop_add_event(loop(), onLost, this);
}

PipeWireConnection::~PipeWireConnection() {
    stop();
    pw_loop_destroy_source(loop(), lostEvent_);
    retryTimer_.reset();
    pw_context_destroy(context_);
    pw_thread_loop_destroy(threadLoop_);
    pw_deinit();
}

pw_loop* PipeWireConnection::loop() const {
    return pw_thread_loop_get_loop(threadLoop_);
}

pw_data_loop* PipeWireConnection::dataLoop() const {
    return pw_context_get_data_loop(context_);
}

void PipeWireConnection::start() {
    {
        PipeWireLock lock(*this);
        if (!connectCores())
            scheduleRetry();
    }
    pw_thread_loop_start(threadLoop_);
}

void PipeWireConnection::stop() {
    pw_thread_loop_stop(threadLoop_);
    disconnectCores();
}

void PipeWireConnection::reconnect(const char* reason) {
    reconnectReason_ = reason;
    // Deferred, because a core cannot be destroyed inside its own event.
    pw_loop_signal_event(loop(), lostEvent_);
}

void PipeWireConnection::sync() {
    if (core_ != nullptr)
        pendingSync_ = vello_core_sync(core_, pendingSync_);
}

pw_core* PipeWireConnection::connect(CoreListener& listener, const pw_core_events& events) {
    pw_properties* properties = pw_properties_new(PW_KEY_MEDIA_CATEGORY, quirks::kMediaCategory, nullptr);
    if (!remoteName_.empty())
        pw_properties_set(properties, PW_KEY_REMOTE_NAME, remoteName_.c_str());
    pw_core* core = pw_context_connect(context_, properties, 0);
    if (core != nullptr)
        vello_core_add_listener(core, &listener.hook, &events, this);
    return core;
}

void PipeWireConnection::disconnect(pw_core*& core, CoreListener& listener) {
    if (core == nullptr)
        return;
    spa_hook_remove(&listener.hook);
    listener.hook = {};
    pw_core_disconnect(std::exchange(core, nullptr));
}

bool PipeWireConnection::connectEachCore() {
    static const pw_core_events nodeEvents = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.error = onCoreError;
        return table;
    }();
    static const pw_core_events watchEvents = [] {
        pw_core_events table = nodeEvents;
        table.done = onCoreDone;
        return table;
    }();
    core_ = connect(*coreListener_, watchEvents);
    if (core_ == nullptr || purpose_ == Purpose::watching)
        return core_ != nullptr;
    nodeCore_ = connect(*nodeCoreListener_, nodeEvents);
    return nodeCore_ != nullptr;
}

bool PipeWireConnection::connectCores() {
    const auto socketsBefore = connectedSockets();
    if (!connectEachCore()) {
        if (!isAbsenceLogged_)
            logger_.notice(std::string("No audio server answers (") + std::strerror(errno) +
                           "); waiting for PipeWire to start");
        isAbsenceLogged_ = true;
        disconnect(core_, *coreListener_);
        return false;
    }
    rememberSocketsSince(socketsBefore);
    retryPause_ = {};
    if (isAbsenceLogged_)
        logger_.notice("Connected to the audio server");
    isAbsenceLogged_ = false;
    handler_.connected(core_);
    return true;
}

void PipeWireConnection::disconnectCores() {
    if (core_ == nullptr)
        return;
    handler_.disconnected();
    forgetSockets();
    disconnect(nodeCore_, *nodeCoreListener_);
    disconnect(core_, *coreListener_);
    pendingSync_ = -1;
}

void PipeWireConnection::scheduleRetry() {
    retryPause_ =
        std::clamp<std::chrono::milliseconds>(retryPause_ * 2, kFirstRetryPause, kLongestRetryPause);
    retryTimer_->start(retryPause_);
}

void PipeWireConnection::rememberSocketsSince(const std::vector<int>& before) {
    auto free = sockets_.begin();
    for (const int descriptor : connectedSockets())
        if (std::ranges::find(before, descriptor) == before.end() && free != sockets_.end())
            (free++)->store(descriptor);
}

void PipeWireConnection::awaitSignal(std::chrono::steady_clock::time_point deadline) const {
    const std::chrono::nanoseconds left = deadline - std::chrono::steady_clock::now();
    timespec end{};
    pw_thread_loop_get_time(threadLoop_, &end, std::max<std::int64_t>(left.count(), 0));
    pw_thread_loop_timed_wait_full(threadLoop_, &end);
}

std::vector<int> PipeWireConnection::sockets() const {
    std::vector<int> known(sockets_.begin(), sockets_.end());
    std::erase(known, -1);
    return known;
}

void PipeWireConnection::forgetSockets() {
    for (auto& socket : sockets_)
        socket.store(-1);
}

void PipeWireConnection::shutDownInSignalHandler() noexcept {
    for (auto& socket : sockets_)
        if (const int descriptor = socket.load(); descriptor >= 0)
            ::shutdown(descriptor, SHUT_RDWR);
}

void PipeWireConnection::onCoreError(void* data, std::uint32_t id, int, int result, const char* message) {
    auto& self = *static_cast<PipeWireConnection*>(data);
    // Only EPIPE on the core itself ends the connection. Newer servers also report late requests here.
    if (id != PW_ID_CORE || result != -EPIPE) {
        self.logger_.debug(std::string("Server reports ") + (message != nullptr ? message : "an error"));
        return;
    }
    self.reconnect("The connection to the audio server is lost");
}

void PipeWireConnection::onCoreDone(void* data, std::uint32_t id, int sequence) {
    auto& self = *static_cast<PipeWireConnection*>(data);
    if (id == PW_ID_CORE && sequence == self.pendingSync_)
        self.handler_.synchronized();
}

void PipeWireConnection::onLost(void* data, std::uint64_t) {
    auto& self = *static_cast<PipeWireConnection*>(data);
    if (self.core_ == nullptr)
        return;
    self.logger_.notice(self.reconnectReason_ + "; connecting again");
    self.isAbsenceLogged_ = true;
    self.disconnectCores();
    self.scheduleRetry();
}

void PipeWireConnection::retry() {
    if (core_ == nullptr && !connectCores())
        scheduleRetry();
}

PipeWireLock::PipeWireLock(const PipeWireConnection& connection) : threadLoop_(connection.threadLoop()) {
    pw_thread_loop_lock(threadLoop_);
}

PipeWireLock::~PipeWireLock() {
    pw_thread_loop_unlock(threadLoop_);
}

} // namespace vello
