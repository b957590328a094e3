// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vello {

/// Handle of a subscription. Dropping it ends the subscription immediately, even from inside the observer. It
/// may outlive the observed object.
using Observation = std::shared_ptr<void>;

/// A value with observers, which are notified after every change. Use it on one thread only. An observer may
/// end any subscription but must not destroy this object.
template <class T> class Published {
public:
    using Observer = std::function<void(const T& value)>;

    explicit Published(T initial = T{}) : value_(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    const T& value() const { return value_; }

    /// Assigns `value` and notifies the observers in the order of subscription. Does nothing if `value`
    /// equals the current one.
    void set(T value) {
        if (value == value_)
            return;
        value_ = std::move(value);
        // Iterate over a copy: an observer may add or remove subscriptions.
        const std::vector<std::weak_ptr<const Observer>> told = observers_;
        for (const auto& entry : told) {
            if (const auto observer = entry.lock())
                (*observer)(value_);
        }
        std::erase_if(observers_, [](const auto& entry) { return entry.expired(); });
    }

    /// `observer` runs after every change until the returned handle is dropped. It does not run for the
    /// current value.
    [[nodiscard]] Observation observe(Observer observer) const {
        auto entry = std::make_shared<const Observer>(std::move(observer));
        observers_.push_back(entry);
        return std::const_pointer_cast<Observer>(entry);
    }

private:
    T value_;
    mutable std::vector<std::weak_ptr<const Observer>> observers_;
};

} // namespace vello
