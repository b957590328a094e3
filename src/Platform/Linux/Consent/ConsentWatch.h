// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/Consent/LinuxConsentStore.h"
#include "Platform/Linux/Consent/PermissionStore.h"
#include "Platform/Linux/System/WatchThread.h"

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <optional>

namespace vello {

/// Keeps up with the user's answer on a thread of its own. When the permission store goes away, its last
/// answer holds until it is back.
class ConsentWatch {
public:
    /// Returns when the answer is known, at the latest after two seconds. `onChange` runs on the thread when
    /// another answer is in force. Throws std::system_error.
    ConsentWatch(ConsentPlaces places, std::function<void()> onChange);

    /// Any thread.
    Consent consent() const { return consent_.load(); }

private:
    using Instant = PermissionStore::Clock::time_point;

    void watch(int end);
    void connect();
    void connectionLost();
    void storeAnswered(PermissionStore::Answer answer);
    void publish();
    int pollTimeout() const;

    const ConsentPlaces places_;
    const std::function<void()> onChange_;
    std::atomic<Consent> consent_{Consent::undecided};
    std::promise<void> firstAnswer_;

    // What follows is the thread's alone.
    bool isSettled_ = false; ///< there was a first answer
    std::unique_ptr<PermissionStore> store_;
    std::optional<Consent> stored_; ///< the permission store's last answer
    bool isStoreMissing_ = false;   ///< and so the file is in force
    std::optional<Instant> nextTry_;
    std::chrono::seconds pause_{1}; ///< before the next try

    WatchThread thread_; ///< last: it uses all of the above
};

} // namespace vello
