// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace vello {

enum class LogLevel {
    debug,
    info,
    notice, ///< the default level: kept, of interest to users who read the log
    error,
    fault,
};

/// The system's log. Any thread except the data thread.
class SystemLog {
public:
    virtual ~SystemLog() = default;

    /// Writes one line. `message` may hold any bytes; the adapter escapes control characters, so that it
    /// stays one line and cannot disturb a terminal.
    virtual void write(LogLevel level, std::string_view subsystem, std::string_view category,
                       std::string_view message) = 0;
};

/// Writes one component's lines to the log, with a fixed subsystem and category.
class Logger {
public:
    Logger(SystemLog& log, std::string subsystem, std::string category)
        : log_(&log), subsystem_(std::move(subsystem)), category_(std::move(category)) {}

    void debug(std::string_view message) const {
        log_->write(LogLevel::debug, subsystem_, category_, message);
    }
    void info(std::string_view message) const { log_->write(LogLevel::info, subsystem_, category_, message); }
    void notice(std::string_view message) const {
        log_->write(LogLevel::notice, subsystem_, category_, message);
    }
    void error(std::string_view message) const {
        log_->write(LogLevel::error, subsystem_, category_, message);
    }

private:
    SystemLog* log_;
    std::string subsystem_;
    std::string category_;
};

} // namespace vello
