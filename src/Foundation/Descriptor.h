// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>
#include <utility>

namespace vello {

/// Owns a file descriptor. Empty while the number is negative.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (isOpen())
            ::close(number_);
    }

    /// Returns false with `errno` set when closing fails. Some file systems report a failed write only here.
    bool close() noexcept { return ::close(std::exchange(number_, -1)) == 0; }

    int number() const noexcept { return number_; }
    bool isOpen() const noexcept { return number_ >= 0; }

private:
    int number_ = -1;
};

} // namespace vello
