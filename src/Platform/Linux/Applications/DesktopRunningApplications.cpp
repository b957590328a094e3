// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/DesktopRunningApplications.h"

#include "Foundation/Localization.h"
#include "Platform/Linux/Applications/ApplicationUnit.h"
#include "Platform/Linux/System/Command.h"

#include <algorithm>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;
constexpr int kMostAncestors = 64;
constexpr std::size_t kMostProcesses = 4096;

bool isBelow(const fs::path& file, const fs::path& folder) {
    return !folder.empty() && std::ranges::mismatch(folder, file).in1 == folder.end();
}

std::optional<std::string> ifNotEmpty(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

void describe(RunningApplication& application, const DesktopEntry& entry) {
    application.localizedName = ifNotEmpty(entry.name);
    application.iconName = ifNotEmpty(entry.icon);
}

} // namespace

DesktopFolders DesktopFolders::fromEnvironment(const Environment& environment) {
    DesktopFolders folders{.processes = "/proc",
                           .applications = {},
                           .executables = {},
                           .libraries = {"/usr/lib", "/usr/lib32", "/usr/lib64", "/usr/libexec",
                                         "/usr/local/lib", "/usr/local/libexec", "/lib", "/lib64"},
                           .locale = messagesLocale(environment)};
    for (const fs::path& folder : applicationDataFolders(environment))
        folders.applications.push_back(folder / "applications");
    const char* path = environment("PATH");
    folders.executables = absolutePaths(std::string(path == nullptr ? "" : path) +
                                        ":/usr/local/bin:/usr/bin:/bin:/usr/local/games:/usr/games");
    return folders;
}

DesktopRunningApplications::DesktopRunningApplications(DesktopFolders folders)
    : folders_(std::move(folders)), files_(folders_.processes),
      entries_(folders_.applications, folders_.executables, localeSuffixes(folders_.locale)) {}

std::optional<RunningApplication> DesktopRunningApplications::runningApplication(std::int32_t pid) {
    entries_.refresh();
    const Process* known = process(pid);
    if (known == nullptr || known->application.empty())
        return std::nullopt;
    RunningApplication application{known->application, std::nullopt, std::nullopt};
    if (const DesktopEntry* entry = entries_.entry(known->application))
        describe(application, *entry);
    return application;
}

std::optional<RunningApplication>
DesktopRunningApplications::installedApplication(std::string_view bundleIdentifier) {
    entries_.refresh();
    const DesktopEntry* entry = entries_.entry(bundleIdentifier);
    if (entry == nullptr)
        return std::nullopt;
    RunningApplication application{entry->id, std::nullopt, std::nullopt};
    describe(application, *entry);
    return application;
}

/// The result is kept while both processes stay the same; processes in between may come and go. Only
/// runningApplication() checks for changed entries, because both functions are called once a second for every
/// playing process.
std::int32_t DesktopRunningApplications::responsibleProcess(std::int32_t pid) {
    if (entries_.generation() == 0)
        entries_.refresh();
    const Process* known = process(pid);
    if (known == nullptr)
        return 0;
    const Process own = *known;
    if (own.responsible == pid)
        return pid;
    const Process* responsible = own.responsible == 0 ? nullptr : process(own.responsible);
    if (responsible != nullptr && isSameApplication(own, *responsible))
        return own.responsible;
    return processes_[pid].responsible = outermostOfSameApplication(pid, own);
}

std::int32_t DesktopRunningApplications::outermostOfSameApplication(std::int32_t pid, const Process& own) {
    std::int32_t outermost = pid;
    std::int32_t ancestor = own.status.parent;
    for (int i = 0; i < kMostAncestors && ancestor > 1; ++i) {
        const Process* each = process(ancestor);
        if (each == nullptr)
            break;
        outermost = isSameApplication(own, *each) ? ancestor : outermost;
        ancestor = each->status.parent;
    }
    return outermost;
}

/// Without an application the programs are compared; a shell has no program.
bool DesktopRunningApplications::isSameApplication(const Process& left, const Process& right) {
    return left.application == right.application &&
           (!left.application.empty() || (!left.program.empty() && left.program == right.program));
}

std::int32_t DesktopRunningApplications::ownProcess() const {
    return ::getpid();
}

/// Null when the process does not exist. Its files are only read again after it has executed another program.
/// The result is valid until the next call.
const DesktopRunningApplications::Process* DesktopRunningApplications::process(std::int32_t pid, int depth) {
    const auto status = files_.status(pid);
    if (!status) {
        processes_.erase(pid);
        return nullptr;
    }
    fs::path executable = files_.executable(pid);
    const auto known = processes_.find(pid);
    if (known != processes_.end() && known->second.status == *status &&
        known->second.executable == executable && known->second.generation == entries_.generation())
        return &known->second;
    Process fresh{*status, std::move(executable), entries_.generation(), "", "", 0};
    identify(pid, fresh, depth);
    if (processes_.size() >= kMostProcesses)
        processes_.clear();
    return &(processes_[pid] = std::move(fresh));
}

void DesktopRunningApplications::identify(std::int32_t pid, Process& process, int depth) {
    const RunningProgram program = runningProgram(pid, process.executable);
    process.program = program.program;
    if (std::string sandboxed = files_.flatpakIdentifier(pid); isApplicationIdentifier(sandboxed)) {
        process.application = std::move(sandboxed);
        return;
    }
    const auto own = entries_.entriesOf(program);
    process.application = applicationOfUnit(pid, process.status, program, own);
    if (!process.application.empty())
        return;
    const DesktopEntry* entry = DesktopEntryIndex::best(own, program.arguments);
    if (entry == nullptr)
        entry = entries_.entryOfWindowClass(process.status.name);
    if (entry != nullptr)
        process.application = entry->id;
    else if (depth < kMostAncestors)
        process.application = applicationOfStarter(process, depth);
}

RunningProgram DesktopRunningApplications::runningProgram(std::int32_t pid,
                                                          const fs::path& executable) const {
    RunningProgram program{executable, executable, files_.arguments(pid)};
    if (!isInterpreter(executable.filename().string()))
        return program;
    std::vector<std::string> line = program.arguments;
    if (!line.empty())
        line[0] = executable;
    const auto command = effectiveCommand(line);
    program.program =
        command ? (files_.workingFolder(pid) / command->program).lexically_normal() : fs::path();
    return program;
}

/// The unit identifies the application of the processes that the desktop started in it. A shell in a terminal
/// inherits the terminal's unit, but programs started from it are not the terminal. Such a process has a
/// controlling terminal that differs from that of the unit's first process, or that no process outside the
/// unit has. A process with its own desktop entry keeps its own application.
std::string DesktopRunningApplications::applicationOfUnit(std::int32_t pid, const ProcessStatus& status,
                                                          const RunningProgram& program,
                                                          const std::vector<const DesktopEntry*>& own) const {
    const std::string group = files_.controlGroup(pid);
    const std::string identifier = knownOf(applicationsOfControlGroup(group));
    if (identifier.empty())
        return {};
    const FirstOfUnit first = firstOfUnit(pid, status, group);
    const bool isOnTerminal = status.terminal != 0;
    if (isOnTerminal &&
        (first.status.terminal != status.terminal || first.outsideTerminal != status.terminal))
        return {};
    const DesktopEntry* entry = entries_.entry(identifier);
    const bool isOfUnit =
        first.pid == pid || std::ranges::find(own, entry) != own.end() ||
        (!program.program.empty() &&
         runningProgram(first.pid, files_.executable(first.pid)).program == program.program);
    const bool isStranger = !own.empty() || (entry != nullptr && entry->isTerminalEmulator);
    return isOfUnit || !isStranger ? identifier : "";
}

DesktopRunningApplications::FirstOfUnit
DesktopRunningApplications::firstOfUnit(std::int32_t pid, const ProcessStatus& status,
                                        const std::string& group) const {
    FirstOfUnit first{pid, status, 0};
    for (int i = 0; i < kMostAncestors && first.status.parent > 1; ++i) {
        const std::int32_t parent = first.status.parent;
        const auto parentStatus = files_.status(parent);
        if (!parentStatus)
            break;
        if (files_.controlGroup(parent) != group) {
            first.outsideTerminal = parentStatus->terminal;
            break;
        }
        first = {parent, *parentStatus, 0};
    }
    return first;
}

/// The first identifier with a desktop entry, else the likeliest one.
std::string DesktopRunningApplications::knownOf(const std::vector<std::string>& identifiers) const {
    const auto known = std::ranges::find_if(
        identifiers, [this](const std::string& each) { return entries_.entry(each) != nullptr; });
    if (known != identifiers.end())
        return *known;
    return identifiers.empty() ? "" : identifiers.front();
}

/// The application of the nearest ancestor that has one, if this program is its helper.
std::string DesktopRunningApplications::applicationOfStarter(const Process& helper, int depth) {
    std::int32_t ancestor = helper.status.parent;
    for (int i = 0; i < kMostAncestors && ancestor > 1; ++i) {
        const Process* each = process(ancestor, depth + 1);
        if (each == nullptr)
            return {};
        if (!each->application.empty())
            return isHelperOf(helper, *each) ? each->application : "";
        ancestor = each->status.parent;
    }
    return {};
}

bool DesktopRunningApplications::isHelperOf(const Process& helper, const Process& application) const {
    const DesktopEntry* entry = entries_.entry(application.application);
    if (helper.executable.empty() || isInterpreter(helper.executable.filename().string()) ||
        helper.status.terminal != application.status.terminal || (entry != nullptr && !entry->isShown))
        return false;
    const fs::path folder = application.executable.parent_path();
    const bool isOwnFolder = std::ranges::find(folders_.executables, folder) == folders_.executables.end();
    return (isOwnFolder && isBelow(helper.executable, folder)) ||
           std::ranges::any_of(folders_.libraries,
                               [&](const fs::path& each) { return isBelow(helper.executable, each); });
}

} // namespace vello
