// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vello {

/// An observer's subscription. Dropping it ends the subscription at once, also from inside the observer; it
/// may outlive what it observes.
using Observation = std::shared_ptr<void>;

/// A value that others watch. It is assigned only when it changes, and every change tells the observers of
/// this one value. One thread only; an observer may end any subscription, but not destroy this object.
template <class T> class Published {
public:
    using Observer = std::function<void(const T& value)>;

    explicit Published(T initial = T{}) : value_(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    const T& value() const { return value_; }

    /// Assigns `value` and tells the observers, in the order in which they came, unless it equals the present
    /// one.
    void set(T value) {
        if (value == value_)
            return;
        value_ = std::move(value);
        // A copy, since observers come and go while they are told.
        const std::vector<std::weak_ptr<const Observer>> told = observers_;
        for (const auto& entry : told) {
            if (const auto observer = entry.lock())
                (*observer)(value_);
        }
        std::erase_if(observers_, [](const auto& entry) { return entry.expired(); });
    }

    /// `observer` runs after every change until the returned handle is dropped; not for the present value.
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
