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

/// Where the desktop keeps what it knows of applications.
struct DesktopFolders {
    std::filesystem::path processes;                 ///< /proc
    std::vector<std::filesystem::path> applications; ///< of desktop entries, the most important first
    std::vector<std::filesystem::path> executables;  ///< of programs without a path, in their order
    std::vector<std::filesystem::path> libraries; ///< below them are programs that only other programs start
    std::string locale;                           ///< of messages, such as "de_DE.UTF-8"

    static DesktopFolders fromEnvironment(const Environment& environment);
};

/// Applications by their desktop entries; the bundle identifier is the desktop file id without ".desktop".
///
/// An application is told by its Flatpak sandbox; by the systemd or Snap unit that the desktop started it in,
/// unless the process came from a terminal in that unit or is an application of its own; by the program that
/// it runs; by the name of its windows' class. A program from a library folder, or from the folder of the
/// application that started it, is that application's helper.
class DesktopRunningApplications final : public RunningApplications {
public:
    explicit DesktopRunningApplications(DesktopFolders folders);

    std::optional<RunningApplication> runningApplication(std::int32_t pid) override;
    std::optional<RunningApplication> installedApplication(std::string_view bundleIdentifier) override;
    /// The outermost ancestor that belongs to the same application, or without one runs the same program.
    std::int32_t responsibleProcess(std::int32_t pid) override;
    std::int32_t ownProcess() const override;

private:
    /// What is known of a process, valid while it has this status and executable.
    struct Process {
        ProcessStatus status;
        std::filesystem::path executable;
        std::uint64_t generation = 0; ///< of the entries that it was identified by
        std::string program;          ///< empty when it tells nothing: a shell, an interpreter
        std::string application;      ///< identifier; empty: unknown
        std::int32_t responsible = 0; ///< 0: not asked for so far
    };

    /// The process that the others of a unit descend from.
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
