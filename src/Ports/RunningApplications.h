// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

/// The desktop's record of an application. The texts are untrusted: they may be huge or full of control
/// characters, and must never be used as a path.
struct RunningApplication {
    std::optional<std::string> bundleIdentifier; ///< never empty
    std::optional<std::string> localizedName;    ///< never empty; in the user's language
    std::optional<std::string> iconName;         ///< name in the icon theme, or an absolute file name
};

/// Main thread only. An exited process has no record.
class RunningApplications {
public:
    virtual ~RunningApplications() = default;

    /// The application that the process belongs to; nullopt when it belongs to no known application.
    virtual std::optional<RunningApplication> runningApplication(std::int32_t pid) = 0;
    /// The application with this identifier, whether it is running or not, for use when its process is
    /// unknown. nullopt when no such application is installed.
    virtual std::optional<RunningApplication> installedApplication(std::string_view bundleIdentifier) = 0;
    /// The main process of the application that a helper process belongs to; `pid` itself when it is not a
    /// helper; 0 when that cannot be determined.
    virtual std::int32_t responsibleProcess(std::int32_t pid) = 0;
    /// This program's own process.
    virtual std::int32_t ownProcess() const = 0;
};

} // namespace vello
