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

/// A connection to a PipeWire server with a thread of its own. Objects of the server are touched under a
/// Guard.
class PipeWireConnection {
public:
    /// Throws std::runtime_error when nobody answers at the socket (an absolute file name).
    PipeWireConnection(const std::string& socket, const std::string& applicationName);
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    pw_thread_loop* loop() const { return loop_; }
    pw_core* core() const { return core_; }
    /// Ends the thread, so that nothing of the connection runs any more.
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

/// Properties for a call that takes them over.
pw_properties* makeProperties(std::initializer_list<std::pair<const char*, std::string>> entries);

} // namespace vello::session
