// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemLog.h"

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace vello {

/// Passes every line on to another log, and remembers the last ones of level error and above, for a report.
class RecentErrors final : public SystemLog {
public:
    static constexpr std::size_t mostLines = 10;

    /// `log` must outlive the object.
    explicit RecentErrors(SystemLog& log) : log_(log) {}

    void write(LogLevel level, std::string_view subsystem, std::string_view category,
               std::string_view message) override;
    /// "14:03:59 CATEGORY: message", oldest first. Any thread.
    std::vector<std::string> lines() const;

private:
    SystemLog& log_;
    mutable std::mutex mutex_;
    std::deque<std::string> lines_;
};

/// The same lines of earlier starts, from the system's journal; empty without a journal. Blocks on disk I/O.
std::vector<std::string> errorsInJournal();

} // namespace vello
