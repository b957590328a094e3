// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

/// What the desktop knows of a process that belongs to an application. Every text is data from a stranger: it
/// may be empty, huge or full of control characters, and never becomes a path.
struct RunningApplication {
    std::optional<std::string> bundleIdentifier; ///< never empty
    std::optional<std::string> localizedName;    ///< never empty; in the user's language
    std::optional<std::string> iconName;         ///< name in the icon theme, or an absolute file name
};

/// Main thread only. A process that is gone has no record.
class RunningApplications {
public:
    virtual ~RunningApplications() = default;

    /// The record of the application whose process this is; none when the process belongs to no known
    /// application.
    virtual std::optional<RunningApplication> runningApplication(std::int32_t pid) = 0;
    /// The same of the application with this identifier, whether it runs or not: for one whose process cannot
    /// be told. None when none such is installed.
    virtual std::optional<RunningApplication> installedApplication(std::string_view bundleIdentifier) = 0;
    /// The process of the application that a helper process works for; the process itself when it is nobody's
    /// helper; 0 when nothing can be told.
    virtual std::int32_t responsibleProcess(std::int32_t pid) = 0;
    /// This program's own process.
    virtual std::int32_t ownProcess() const = 0;
};

} // namespace vello
