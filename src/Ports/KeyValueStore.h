// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// Key-value storage shared by the user's machines. Main thread only.
///
/// Writes are stored on this machine immediately. They reach the other machines later, each key on its own
/// and in any order; failures of that transfer are not reported here. When two machines write a key at the
/// same time, one of the values is kept as a copy, or is lost.
class KeyValueStore {
public:
    using Action = std::function<void()>;

    /// A value of a key, or the copy of one that was in conflict with it.
    struct Version {
        std::string data; ///< untrusted bytes
        bool isCopy = false;

        friend bool operator==(const Version&, const Version&) = default;
    };

    virtual ~KeyValueStore() = default;

    /// The keys that begin with `prefix` and have a value or a copy, sorted.
    virtual std::vector<std::string> keys(std::string_view prefix) = 0;
    /// The copies, the oldest first, and then the value. Empty when there is none, or when it cannot be read.
    virtual std::vector<Version> versions(std::string_view key) = 0;
    /// Replaces the value of `key` atomically: readers never see a partial value. `merged` are the versions
    /// that are contained in `data` and no longer needed. Every other version is kept as a copy. Returns
    /// nullopt, or a sentence for the user that says why nothing was stored.
    [[nodiscard]] virtual std::optional<std::string> setData(std::string_view key, std::string_view data,
                                                             std::span<const Version> merged) = 0;

    /// Data of this machine, which is never shared.
    struct LocalData {
        std::string data;
        bool isCopied =
            false; ///< not as this machine has written it here: copied from another one, or restored
    };

    /// Absent when it is missing or cannot be read.
    virtual std::optional<LocalData> localData(std::string_view key) = 0;
    /// As setData(), without copies.
    [[nodiscard]] virtual std::optional<std::string> setLocalData(std::string_view key,
                                                                  std::string_view data) = 0;

    /// Checks for changes from other machines. They are reported through the action below.
    virtual void synchronize() = 0;
    /// `action` runs on the main thread, never inside another call, after another machine or process has
    /// changed the store. Setting an action replaces the previous one.
    virtual void onDidChangeExternally(Action action) = 0;
};

} // namespace vello
