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

/// The program of a process, used to find its desktop entry.
struct RunningProgram {
    std::filesystem::path executable;   ///< the file that the kernel runs
    std::filesystem::path program;      ///< the script when `executable` is an interpreter, else `executable`
    std::vector<std::string> arguments; ///< argv, starting with the program's name
};

/// The desktop entries of some folders, cached in memory and read again when a folder has changed. Main
/// thread only.
class DesktopEntryIndex {
public:
    /// The most important folder comes first. Programs without a path are searched in `executableFolders`.
    DesktopEntryIndex(std::vector<std::filesystem::path> applicationFolders,
                      std::vector<std::filesystem::path> executableFolders,
                      std::vector<std::string> localeSuffixes);

    /// Reads the entries again when a folder has changed. Cheap otherwise: only reads the time of each
    /// folder.
    void refresh();
    /// Increases with each read.
    std::uint64_t generation() const { return generation_; }

    /// Null for an unknown ID. Entries are valid until the next read.
    const DesktopEntry* entry(std::string_view id) const;
    /// The entries that start this program: by its file, by the name it was started with, or by a script that
    /// starts it.
    std::vector<const DesktopEntry*> entriesOf(const RunningProgram& program) const;
    /// The best match among entries that start the same program: the one with the most fixed arguments among
    /// the process's own, then one shown in menus, then the first by ID. Null for an empty list.
    static const DesktopEntry* best(const std::vector<const DesktopEntry*>& entries,
                                    const std::vector<std::string>& arguments);
    /// The entry whose window class is the process's name; null when there is no such entry.
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
    bool isSettled_ = false; ///< the folders' times are clearly older than the read
    FolderTimes times_;
    std::map<std::string, DesktopEntry, std::less<>> entries_;
    EntriesByKey byProgram_;
    EntriesByKey byScriptName_;   ///< scripts, and programs that do not exist, by file name
    EntriesByKey byScriptFolder_; ///< scripts in their own folder
    EntriesByKey byWindowClass_;  ///< in lower case
};

} // namespace vello
