// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

/// Key-value storage shared by the user's machines. Main thread only.
///
/// Writes are stored on this machine immediately. They reach the other machines later; failures of that
/// transfer are not reported here.
class KeyValueStore {
public:
    using Action = std::function<void()>;

    virtual ~KeyValueStore() = default;

    /// The bytes last stored here or received from another machine; nullopt when the key is missing or its
    /// data cannot be read. The bytes are untrusted.
    virtual std::optional<std::string> data(std::string_view key) = 0;
    /// Replaces the value of `key` atomically: readers never see a partial value.
    virtual void setData(std::string_view key, std::string_view data) = 0;
    /// Checks for changes from other machines. They are reported through the action below.
    virtual void synchronize() = 0;
    /// `action` runs on the main thread, never inside another call, after another machine or process has
    /// changed the store. Setting an action replaces the previous one.
    virtual void onDidChangeExternally(Action action) = 0;
};

} // namespace vello
