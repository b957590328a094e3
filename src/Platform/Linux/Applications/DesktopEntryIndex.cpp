// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/DesktopEntryIndex.h"

#include "Foundation/Files.h"
#include "Platform/Linux/System/Command.h"
#include "Platform/Linux/System/KeyFile.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <system_error>
#include <tuple>

namespace vello {
namespace {

namespace fs = std::filesystem;
constexpr std::size_t kLargestEntry = 1 << 20;
constexpr int kDeepestFolder = 8;
/// Resolution of file times: a change this soon after a read may leave the folder's time unchanged.
constexpr auto kTimeStep = std::chrono::milliseconds(20);
constexpr std::size_t kLongestProcessName = 15;

std::string lowerCase(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return result;
}

bool isScript(const fs::path& file) {
    const auto start = readFile(file, 2, Links::follow);
    return start && *start == "#!";
}

/// The identifier of "sub/name.desktop" below a folder is "sub-name".
std::string identifierOf(const fs::path& folder, const fs::path& file) {
    std::string identifier = file.lexically_relative(folder).replace_extension().string();
    std::ranges::replace(identifier, '/', '-');
    return identifier;
}

/// The folder and its subfolders; empty when it does not exist.
std::vector<fs::path> foldersBelow(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> folders;
    if (!fs::is_directory(folder, error))
        return folders;
    folders.push_back(folder);
    const auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator each(folder, options, error), end; !error && each != end;
         each.increment(error)) {
        if (each.depth() >= kDeepestFolder)
            each.disable_recursion_pending();
        if (each->is_directory(error) && !each->is_symlink(error))
            folders.push_back(each->path());
    }
    return folders;
}

std::vector<const DesktopEntry*> valuesOf(const auto& entriesByKey, const std::string& key) {
    std::vector<const DesktopEntry*> values;
    const auto [first, last] = entriesByKey.equal_range(key);
    for (auto each = first; each != last; ++each)
        values.push_back(each->second);
    return values;
}

/// How many of the entry's fixed arguments the process has; -1 when one is missing.
std::ptrdiff_t commonArguments(const DesktopEntry& entry, const std::vector<std::string>& arguments) {
    const auto command = effectiveCommand(entry.command);
    if (!command)
        return -1;
    const bool hasAll = std::ranges::all_of(command->arguments, [&](const std::string& argument) {
        return std::ranges::find(arguments, argument) != arguments.end();
    });
    return hasAll ? std::ssize(command->arguments) : -1;
}

} // namespace

DesktopEntryIndex::DesktopEntryIndex(std::vector<fs::path> applicationFolders,
                                     std::vector<fs::path> executableFolders,
                                     std::vector<std::string> localeSuffixes)
    : applicationFolders_(std::move(applicationFolders)), executableFolders_(std::move(executableFolders)),
      localeSuffixes_(std::move(localeSuffixes)) {}

void DesktopEntryIndex::refresh() {
    if (generation_ == 0 || !isSettled_ || currentTimes() != times_)
        readAll();
}

const DesktopEntry* DesktopEntryIndex::entry(std::string_view id) const {
    const auto entry = entries_.find(id);
    return entry == entries_.end() || entry->second.isDeleted ? nullptr : &entry->second;
}

std::vector<const DesktopEntry*> DesktopEntryIndex::entriesOf(const RunningProgram& program) const {
    // What a process reports about itself is only compared, and never used to look up files.
    std::vector<const DesktopEntry*> entries = valuesOf(byProgram_, program.program);
    if (entries.empty() && program.program == program.executable && !program.arguments.empty())
        entries = valuesOf(byProgram_, fs::path(program.arguments[0]).lexically_normal());
    if (entries.empty())
        entries = valuesOf(byScriptFolder_, program.executable.parent_path());
    if (entries.empty())
        entries = valuesOf(byScriptName_, program.program.filename());
    return entries;
}

const DesktopEntry* DesktopEntryIndex::best(const std::vector<const DesktopEntry*>& entries,
                                            const std::vector<std::string>& arguments) {
    const auto rank = [&](const DesktopEntry* entry) {
        const auto common = commonArguments(*entry, arguments);
        // Among entries that do not fit, prefers the one that requires the fewest arguments.
        const auto missing = common < 0 ? std::ssize(entry->command) : 0;
        return std::tuple(-common, missing, !entry->isShown, std::string_view(entry->id));
    };
    const auto best = std::ranges::min_element(entries, {}, rank);
    return best == entries.end() ? nullptr : *best;
}

const DesktopEntry* DesktopEntryIndex::entryOfWindowClass(std::string_view processName) const {
    return best(valuesOf(byWindowClass_, lowerCase(processName)), {});
}

/// Times of the folders found at the last read, and of those that may appear.
DesktopEntryIndex::FolderTimes DesktopEntryIndex::currentTimes() const {
    FolderTimes times = times_;
    for (auto& [folder, time] : times) {
        std::error_code error;
        const auto now = fs::last_write_time(folder, error);
        time = error ? fs::file_time_type::min() : now;
    }
    return times;
}

void DesktopEntryIndex::readAll() {
    const auto start = fs::file_time_type::clock::now();
    ++generation_;
    for (EntriesByKey* index : {&byProgram_, &byScriptName_, &byScriptFolder_, &byWindowClass_})
        index->clear();
    entries_.clear();
    times_.clear();
    for (const fs::path& folder : applicationFolders_) {
        times_[folder] = {};
        for (const fs::path& each : foldersBelow(folder))
            times_[each] = {};
    }
    times_ = currentTimes();
    std::ranges::for_each(applicationFolders_, [this](const fs::path& folder) { readFolder(folder); });
    for (const auto& [id, entry] : entries_)
        indexEntry(entry);
    isSettled_ =
        std::ranges::all_of(times_, [&](const auto& each) { return each.second < start - kTimeStep; });
}

void DesktopEntryIndex::readFolder(const fs::path& folder) {
    std::error_code error;
    for (const fs::path& each : foldersBelow(folder))
        for (fs::directory_iterator file(each, error), end; !error && file != end; file.increment(error))
            if (file->path().extension() == ".desktop")
                readEntry(folder, file->path());
}

/// The first folder with an entry of an identifier takes precedence.
void DesktopEntryIndex::readEntry(const fs::path& folder, const fs::path& file) {
    std::string identifier = identifierOf(folder, file);
    if (entries_.contains(identifier))
        return;
    const auto text = readFile(file, kLargestEntry, Links::follow);
    if (!text)
        return;
    if (auto entry = parseDesktopEntry(identifier, *text, localeSuffixes_))
        entries_.emplace(std::move(identifier), std::move(*entry));
}

void DesktopEntryIndex::indexEntry(const DesktopEntry& entry) {
    if (entry.isDeleted)
        return;
    if (!entry.startupWMClass.empty())
        byWindowClass_.emplace(lowerCase(entry.startupWMClass).substr(0, kLongestProcessName), &entry);
    if (const auto command = effectiveCommand(entry.command))
        indexProgram(entry, command->program);
}

/// A script may exec a program of its own name elsewhere, or of another name in its own folder.
void DesktopEntryIndex::indexProgram(const DesktopEntry& entry, const std::string& program) {
    std::error_code error;
    const fs::path found = findProgram(program, executableFolders_).lexically_normal();
    const fs::path file = found.empty() ? fs::path() : fs::canonical(found, error);
    for (const fs::path& name : std::set{found, file})
        if (!name.empty())
            byProgram_.emplace(name, &entry);
    if (!file.empty() && !isScript(file))
        return;
    byScriptName_.emplace(fs::path(program).filename(), &entry);
    if (!file.empty() && !isExecutableFolder(file.parent_path()))
        byScriptFolder_.emplace(file.parent_path(), &entry);
}

bool DesktopEntryIndex::isExecutableFolder(const fs::path& folder) const {
    return std::ranges::any_of(executableFolders_, [&](const fs::path& each) {
        std::error_code error;
        return fs::equivalent(each, folder, error);
    });
}

} // namespace vello
