// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemLog.h"

#include <functional>
#include <string>
#include <vector>

namespace vello {

/// Writes to the systemd journal when standard error is the journal's (or is closed or /dev/null), with the
/// fields SUBSYSTEM and CATEGORY; otherwise lines "level category: message" to standard error, where debug
/// and info lines are left out unless asked for. Any thread; blocks for the descriptor.
class JournalSystemLog final : public SystemLog {
public:
    /// Sends one entry of "FIELD=value" strings. False: there is no journal.
    using SendEntry = std::function<bool(const std::vector<std::string>& fields)>;

    struct Target {
        int descriptor;    ///< of the lines
        bool isJournal;    ///< entries instead of lines
        bool showsDetails; ///< lines of level debug and info too

        /// What standard error, JOURNAL_STREAM and VELLO_LOG (value "debug") say.
        static Target fromEnvironment();
    };

    explicit JournalSystemLog(Target target = Target::fromEnvironment(), SendEntry sendEntry = sendToJournal);

    void write(LogLevel level, std::string_view subsystem, std::string_view category,
               std::string_view message) override;

    static bool sendToJournal(const std::vector<std::string>& fields);

private:
    void writeLine(LogLevel level, std::string_view category, std::string_view message) const;

    const Target target_;
    const SendEntry sendEntry_;
};

} // namespace vello
