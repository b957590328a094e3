// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemLog.h"

#include <mutex>
#include <string>
#include <vector>

namespace vello {

/// Records all lines. Any thread.
class RecordingSystemLog final : public SystemLog {
public:
    struct Line {
        LogLevel level;
        std::string subsystem;
        std::string category;
        std::string message;

        friend bool operator==(const Line&, const Line&) = default;
    };

    void write(LogLevel level, std::string_view subsystem, std::string_view category,
               std::string_view message) override;

    std::vector<Line> lines() const;
    /// The messages of all lines, in order.
    std::vector<std::string> messages() const;
    /// The messages of one level, in order.
    std::vector<std::string> messages(LogLevel level) const;
    /// The messages with this prefix, in order.
    std::vector<std::string> messagesStartingWith(std::string_view prefix) const;
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
};

} // namespace vello
