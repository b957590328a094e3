// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/KeyValueStore.h"

#include <map>
#include <utility>
#include <vector>

namespace vello {

/// An in-memory map that records the calls that write or synchronize.
class FakeKeyValueStore final : public KeyValueStore {
public:
    std::map<std::string, std::string, std::less<>> values;
    std::vector<std::string> calls; ///< "setData KEY" and "synchronize"

    std::optional<std::string> data(std::string_view key) override {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    void setData(std::string_view key, std::string_view data) override {
        calls.push_back(std::string("setData ").append(key));
        values.insert_or_assign(std::string(key), std::string(data));
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
