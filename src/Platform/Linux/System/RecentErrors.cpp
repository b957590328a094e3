// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/RecentErrors.h"

#include "Foundation/Product.h"
#include "Foundation/Text.h"

#include <systemd/sd-journal.h>

#include <algorithm>
#include <ctime>
#include <memory>

#include <unistd.h>

namespace vello {
namespace {

constexpr std::size_t kLongestLine = 300; ///< bytes

std::string errorLine(std::time_t time, std::string_view category, std::string_view message) {
    char clock[16] = "";
    std::tm parts{};
    if (::localtime_r(&time, &parts) != nullptr)
        std::strftime(clock, sizeof clock, "%H:%M:%S ", &parts);
    return clock + escapedForOneLine(category, kLongestLine) + ": " +
           escapedForOneLine(message, kLongestLine);
}

/// The value of a field of the current entry.
std::string journalField(sd_journal* journal, const char* name) {
    const void* data = nullptr;
    std::size_t length = 0;
    const std::size_t prefix = std::string_view(name).size() + 1; // "NAME="
    if (::sd_journal_get_data(journal, name, &data, &length) < 0 || length < prefix)
        return "";
    return {static_cast<const char*>(data) + prefix, length - prefix};
}

/// Entries of this user's VELLO, and of the levels fault and error.
void matchErrors(sd_journal* journal) {
    for (const std::string& match :
         {std::string("SUBSYSTEM=") + kBundleIdentifier, "_UID=" + std::to_string(::getuid()),
          std::string("PRIORITY=2"), std::string("PRIORITY=3")})
        ::sd_journal_add_match(journal, match.data(), match.size());
}

} // namespace

void RecentErrors::write(LogLevel level, std::string_view subsystem, std::string_view category,
                         std::string_view message) {
    log_.write(level, subsystem, category, message);
    if (level < LogLevel::error)
        return;
    const std::lock_guard lock(mutex_);
    lines_.push_back(errorLine(std::time(nullptr), category, message));
    if (lines_.size() > mostLines)
        lines_.pop_front();
}

std::vector<std::string> RecentErrors::lines() const {
    const std::lock_guard lock(mutex_);
    return {lines_.begin(), lines_.end()};
}

std::vector<std::string> errorsInJournal() {
    sd_journal* opened = nullptr;
    if (::sd_journal_open(&opened, SD_JOURNAL_LOCAL_ONLY) < 0)
        return {};
    const std::unique_ptr<sd_journal, decltype(&::sd_journal_close)> journal(opened, ::sd_journal_close);
    matchErrors(opened);
    ::sd_journal_seek_tail(opened);
    std::vector<std::string> lines;
    while (lines.size() < RecentErrors::mostLines && ::sd_journal_previous(opened) > 0) {
        std::uint64_t microseconds = 0;
        ::sd_journal_get_realtime_usec(opened, &microseconds);
        lines.push_back(errorLine(static_cast<std::time_t>(microseconds / 1'000'000),
                                  journalField(opened, "CATEGORY"), journalField(opened, "MESSAGE")));
    }
    std::ranges::reverse(lines);
    return lines;
}

} // namespace vello
