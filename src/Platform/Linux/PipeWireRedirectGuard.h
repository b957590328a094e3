// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <sys/types.h>

namespace vello {

/// A small process that outlives a killed one. When this process dies without a word, the session manager
/// still holds the redirects that led the applications' streams to it: an application whose output the user
/// had chosen would be heard on the default output instead. The guard takes the redirects away at once, and
/// ends.
class PipeWireRedirectGuard {
public:
    /// Forks; to be called on the main thread, while it is the only one, and destroyed there. Without a
    /// guard, when the system refuses one, a killed process's redirects stay until the next start.
    explicit PipeWireRedirectGuard(const std::string& remoteName = {});
    /// Sends the guard away: this process gives the streams back itself.
    ~PipeWireRedirectGuard();
    PipeWireRedirectGuard(const PipeWireRedirectGuard&) = delete;
    PipeWireRedirectGuard& operator=(const PipeWireRedirectGuard&) = delete;

private:
    struct Lifeline;
    Lifeline* lifeline_ = nullptr;
    pid_t guard_ = -1;
};

} // namespace vello
