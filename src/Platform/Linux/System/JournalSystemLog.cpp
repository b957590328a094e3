// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/JournalSystemLog.h"

#include "Foundation/Files.h"
#include "Foundation/Text.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

namespace vello {
namespace {

constexpr std::size_t kLongestText = 16'384;

struct Level {
    const char* name;
    int priority;
};
/// Indexed by LogLevel.
constexpr std::array<Level, 5> kLevels{{{"debug", LOG_DEBUG},
                                        {"info", LOG_INFO},
                                        {"notice", LOG_NOTICE},
                                        {"error", LOG_ERR},
                                        {"fault", LOG_CRIT}}};

const Level& levelOf(LogLevel level) {
    return kLevels[static_cast<std::size_t>(level)];
}

/// The journal's stream is named by device and inode, "8:1234".
bool isJournalStream(const struct stat& status) {
    const char* stream = std::getenv("JOURNAL_STREAM");
    unsigned long device = 0;
    unsigned long inode = 0;
    return stream != nullptr && std::sscanf(stream, "%lu:%lu", &device, &inode) == 2 &&
           device == status.st_dev && inode == status.st_ino;
}

bool isNullDevice(const struct stat& status) {
    return S_ISCHR(status.st_mode) && status.st_rdev == ::makedev(1, 3);
}

} // namespace

JournalSystemLog::Target JournalSystemLog::Target::fromEnvironment() {
    struct stat status = {};
    const bool isOpen = ::fstat(STDERR_FILENO, &status) == 0;
    const char* wanted = std::getenv("VELLO_LOG");
    return {STDERR_FILENO, !isOpen || isNullDevice(status) || isJournalStream(status),
            wanted != nullptr && std::string_view(wanted) == "debug"};
}

JournalSystemLog::JournalSystemLog(Target target, SendEntry sendEntry)
    : target_(target), sendEntry_(std::move(sendEntry)) {}

void JournalSystemLog::write(LogLevel level, std::string_view subsystem, std::string_view category,
                             std::string_view message) {
    if (target_.isJournal &&
        sendEntry_({"MESSAGE=" + std::string(message), "PRIORITY=" + std::to_string(levelOf(level).priority),
                    "SUBSYSTEM=" + std::string(subsystem), "CATEGORY=" + std::string(category),
                    "SYSLOG_IDENTIFIER=vello"}))
        return;
    if (level > LogLevel::info || target_.showsDetails)
        writeLine(level, category, message);
}

bool JournalSystemLog::sendToJournal(const std::vector<std::string>& fields) {
    std::vector<iovec> parts;
    for (const std::string& field : fields)
        parts.push_back({const_cast<char*>(field.data()), field.size()});
    return ::sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0;
}

/// One call per line, so that the lines of several threads do not mix. What cannot be written is lost.
void JournalSystemLog::writeLine(LogLevel level, std::string_view category, std::string_view message) const {
    const std::string line = std::string(levelOf(level).name) + " " +
                             escapedForOneLine(category, kLongestText) + ": " +
                             escapedForOneLine(message, kLongestText) + "\n";
    writeAll(target_.descriptor, line);
}

} // namespace vello
