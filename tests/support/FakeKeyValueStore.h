// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/KeyValueStore.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace vello {

/// An in-memory map that records the calls that write shared data or synchronize.
class FakeKeyValueStore final : public KeyValueStore {
public:
    std::map<std::string, std::string, std::less<>> values;
    std::map<std::string, std::vector<std::string>, std::less<>> copies; ///< the oldest first
    std::map<std::string, std::string, std::less<>> local;
    bool isLocalCopied = false;
    std::vector<std::string> calls;     ///< "setData KEY" and "synchronize"
    std::optional<std::string> failure; ///< what every write answers, without storing anything

    std::vector<std::string> keys(std::string_view prefix) override {
        std::vector<std::string> found;
        for (const auto& [key, value] : values)
            if (key.starts_with(prefix))
                found.push_back(key);
        return found;
    }
    std::vector<Version> versions(std::string_view key) override {
        std::vector<Version> found;
        if (const auto known = copies.find(key); known != copies.end())
            for (const std::string& copy : known->second)
                found.push_back({copy, true});
        if (const auto known = values.find(key); known != values.end())
            found.push_back({known->second, false});
        return found;
    }
    std::optional<std::string> setData(std::string_view key, std::string_view data,
                                       std::span<const Version> merged) override {
        calls.push_back(std::string("setData ").append(key));
        if (failure)
            return failure;
        std::vector<std::string> kept;
        for (Version& version : versions(key))
            if (std::ranges::find(merged, version.data, &Version::data) == merged.end() &&
                version.data != data)
                kept.push_back(std::move(version.data));
        copies.insert_or_assign(std::string(key), std::move(kept));
        values.insert_or_assign(std::string(key), std::string(data));
        return std::nullopt;
    }
    std::optional<LocalData> localData(std::string_view key) override {
        const auto found = local.find(key);
        return found == local.end() ? std::nullopt : std::optional(LocalData{found->second, isLocalCopied});
    }
    std::optional<std::string> setLocalData(std::string_view key, std::string_view data) override {
        local.insert_or_assign(std::string(key), std::string(data));
        return std::nullopt;
    }
    void synchronize() override { calls.emplace_back("synchronize"); }
    void onDidChangeExternally(Action action) override { didChange_ = std::move(action); }

    /// Another machine stores `data`, or removes the key when `data` is absent; then the notice arrives.
    void changeExternally(std::string_view key, std::optional<std::string> data) {
        if (data)
            values.insert_or_assign(std::string(key), std::move(*data));
        else if (const auto found = values.find(key); found != values.end())
            values.erase(found);
        if (didChange_)
            didChange_();
    }
    bool isObserved() const { return didChange_ != nullptr; }

private:
    Action didChange_;
};

} // namespace vello
