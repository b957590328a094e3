// SPDX-License-Identifier: Apache-2.0
#include "RecordingSystemLog.h"

namespace vello {

namespace {

template <class Predicate>
std::vector<std::string> messagesWhere(const std::vector<RecordingSystemLog::Line>& lines,
                                       Predicate matches) {
    std::vector<std::string> messages;
    for (const auto& line : lines)
        if (matches(line))
            messages.push_back(line.message);
    return messages;
}

} // namespace

void RecordingSystemLog::write(LogLevel level, std::string_view subsystem, std::string_view category,
                               std::string_view message) {
    const std::lock_guard lock(mutex_);
    lines_.push_back({level, std::string(subsystem), std::string(category), std::string(message)});
}

std::vector<RecordingSystemLog::Line> RecordingSystemLog::lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

std::vector<std::string> RecordingSystemLog::messages() const {
    return messagesWhere(lines(), [](const Line&) { return true; });
}

std::vector<std::string> RecordingSystemLog::messages(LogLevel level) const {
    return messagesWhere(lines(), [level](const Line& line) { return line.level == level; });
}

std::vector<std::string> RecordingSystemLog::messagesStartingWith(std::string_view prefix) const {
    return messagesWhere(lines(), [prefix](const Line& line) { return line.message.starts_with(prefix); });
}

void RecordingSystemLog::clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
}

} // namespace vello
