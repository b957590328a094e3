// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

/// Data under keys, shared by the user's machines. Main thread only.
///
/// Writes land on this machine at once; whatever carries them to the other machines does so in its own time,
/// and its failures are not reported here.
class KeyValueStore {
public:
    using Action = std::function<void()>;

    virtual ~KeyValueStore() = default;

    /// The bytes last stored here or received from another machine; nothing when the key is absent or its
    /// data cannot be read. A stranger may have written them.
    virtual std::optional<std::string> data(std::string_view key) = 0;
    /// Replaces what is stored under `key`, as a whole: no reader ever sees a part of it.
    virtual void setData(std::string_view key, std::string_view data) = 0;
    /// Looks for what other machines have written; a change is reported by the action below, not by this
    /// call.
    virtual void synchronize() = 0;
    /// Runs on the main thread, never inside another call, after another machine or process changed the
    /// store. Setting an action replaces the last.
    virtual void onDidChangeExternally(Action action) = 0;
};

} // namespace vello
