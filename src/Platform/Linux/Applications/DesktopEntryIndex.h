// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/Applications/DesktopEntry.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// What a process runs, for finding its desktop entry.
struct RunningProgram {
    std::filesystem::path executable;   ///< the file that the kernel runs
    std::filesystem::path program;      ///< the script when `executable` is an interpreter, else `executable`
    std::vector<std::string> arguments; ///< with the program's own name first
};

/// The desktop entries of some folders, kept in memory and read again when a folder has changed. Main thread
/// only.
class DesktopEntryIndex {
public:
    /// The most important folder first; programs without a path are looked for in `executableFolders`.
    DesktopEntryIndex(std::vector<std::filesystem::path> applicationFolders,
                      std::vector<std::filesystem::path> executableFolders,
                      std::vector<std::string> localeSuffixes);

    /// Reads the entries when a folder has changed since. Asks for the state of each folder, so it is cheap.
    void refresh();
    /// Grows with each reading.
    std::uint64_t generation() const { return generation_; }

    /// Null when there is none. Entries live until the next reading.
    const DesktopEntry* entry(std::string_view id) const;
    /// The entries that start this program, by its file, by the name that it was started with, or by a script
    /// that starts it.
    std::vector<const DesktopEntry*> entriesOf(const RunningProgram& program) const;
    /// Of several entries that start one program the one that fits best: the most of its fixed arguments are
    /// among the process's own, then one that menus show, then the first by id. Null for no entries.
    static const DesktopEntry* best(const std::vector<const DesktopEntry*>& entries,
                                    const std::vector<std::string>& arguments);
    /// The entry whose windows have the process's name as their class; null when there is none.
    const DesktopEntry* entryOfWindowClass(std::string_view processName) const;

private:
    using FolderTimes = std::map<std::filesystem::path, std::filesystem::file_time_type>;
    using EntriesByKey = std::multimap<std::string, const DesktopEntry*, std::less<>>;

    FolderTimes currentTimes() const;
    void readAll();
    void readFolder(const std::filesystem::path& folder);
    void readEntry(const std::filesystem::path& folder, const std::filesystem::path& file);
    void indexEntry(const DesktopEntry& entry);
    void indexProgram(const DesktopEntry& entry, const std::string& program);
    bool isExecutableFolder(const std::filesystem::path& folder) const;

    const std::vector<std::filesystem::path> applicationFolders_;
    const std::vector<std::filesystem::path> executableFolders_;
    const std::vector<std::string> localeSuffixes_;
    std::uint64_t generation_ = 0;
    bool isSettled_ = false; ///< the folders' times are older than the reading
    FolderTimes times_;
    std::map<std::string, DesktopEntry, std::less<>> entries_;
    EntriesByKey byProgram_;
    EntriesByKey byScriptName_;   ///< scripts and programs that are not there, by file name
    EntriesByKey byScriptFolder_; ///< scripts in a folder of their own
    EntriesByKey byWindowClass_;  ///< in lower case
};

} // namespace vello
