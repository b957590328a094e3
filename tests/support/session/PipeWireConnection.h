// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

struct pw_context;
struct pw_core;
struct pw_properties;
struct pw_thread_loop;

namespace vello::session {

/// A connection to a PipeWire server with its own thread. Hold a Guard to access objects of the server.
class PipeWireConnection {
public:
    /// Throws std::runtime_error when the connection to the socket (an absolute file name) fails.
    PipeWireConnection(const std::string& socket, const std::string& applicationName);
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    pw_thread_loop* loop() const { return loop_; }
    pw_core* core() const { return core_; }
    /// Ends the thread; no callback of the connection runs afterwards.
    void stop();

    class Guard {
    public:
        explicit Guard(const PipeWireConnection& connection);
        ~Guard();
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        pw_thread_loop* loop_;
    };

private:
    void close();

    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
};

/// Properties for a call that takes ownership of them.
pw_properties* makeProperties(std::initializer_list<std::pair<const char*, std::string>> entries);

} // namespace vello::session
