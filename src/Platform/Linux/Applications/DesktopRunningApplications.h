// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/Applications/DesktopEntryIndex.h"
#include "Platform/Linux/Applications/ProcessFiles.h"
#include "Platform/Linux/System/UserFolders.h"
#include "Ports/RunningApplications.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vello {

/// The places of the desktop's information about applications.
struct DesktopFolders {
    std::filesystem::path processes;                 ///< /proc
    std::vector<std::filesystem::path> applications; ///< folders of desktop entries, the most important first
    std::vector<std::filesystem::path> executables;  ///< folders of programs without a path, in search order
    std::vector<std::filesystem::path> libraries;    ///< they contain programs that only other programs start
    std::string locale;                              ///< locale of messages, such as "de_DE.UTF-8"

    static DesktopFolders fromEnvironment(const Environment& environment);
};

/// Applications by their desktop entries; the bundle identifier is the desktop file ID without ".desktop".
///
/// An application is identified by its Flatpak sandbox; by the systemd or Snap unit that the desktop started
/// it in, unless the process came from a terminal in that unit or is another application; by its program; or
/// by its window class. A program from a library folder, or from the folder of the application that started
/// it, is that application's helper.
class DesktopRunningApplications final : public RunningApplications {
public:
    explicit DesktopRunningApplications(DesktopFolders folders);

    std::optional<RunningApplication> runningApplication(std::int32_t pid) override;
    std::optional<RunningApplication> installedApplication(std::string_view bundleIdentifier) override;
    /// The outermost ancestor of the same application. Without an application, the outermost ancestor that
    /// runs the same program.
    std::int32_t responsibleProcess(std::int32_t pid) override;
    std::int32_t ownProcess() const override;

private:
    /// Cached information about a process, valid while status and executable stay the same.
    struct Process {
        ProcessStatus status;
        std::filesystem::path executable;
        std::uint64_t generation = 0; ///< of the entries used for the identification
        std::string program; ///< empty when it does not identify an application: a shell or an interpreter
        std::string application;      ///< identifier; empty: unknown
        std::int32_t responsible = 0; ///< 0: not determined yet
    };

    /// The process from which the others of a unit descend.
    struct FirstOfUnit {
        std::int32_t pid;
        ProcessStatus status;
        std::int32_t outsideTerminal; ///< controlling terminal of its parent, which is outside the unit
    };

    const Process* process(std::int32_t pid, int depth = 0);
    void identify(std::int32_t pid, Process& process, int depth);
    RunningProgram runningProgram(std::int32_t pid, const std::filesystem::path& executable) const;
    std::string applicationOfUnit(std::int32_t pid, const ProcessStatus& status,
                                  const RunningProgram& program,
                                  const std::vector<const DesktopEntry*>& own) const;
    FirstOfUnit firstOfUnit(std::int32_t pid, const ProcessStatus& status, const std::string& group) const;
    std::string applicationOfStarter(const Process& helper, int depth);
    std::string knownOf(const std::vector<std::string>& identifiers) const;
    std::int32_t outermostOfSameApplication(std::int32_t pid, const Process& own);
    static bool isSameApplication(const Process& left, const Process& right);
    bool isHelperOf(const Process& helper, const Process& application) const;

    const DesktopFolders folders_;
    const ProcessFiles files_;
    DesktopEntryIndex entries_;
    std::unordered_map<std::int32_t, Process> processes_;
};

} // namespace vello
