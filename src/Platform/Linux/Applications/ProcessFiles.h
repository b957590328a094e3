// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// A snapshot of a process's status in /proc.
struct ProcessStatus {
    std::int32_t parent = 0;
    std::int32_t terminal = 0; ///< device number of its controlling terminal; 0: none
    std::uint64_t startTime = 0;
    std::string name; ///< at most 15 bytes, chosen by the process

    friend bool operator==(const ProcessStatus&, const ProcessStatus&) = default;
};

/// Reads processes in a folder like /proc. Unreadable values are empty.
class ProcessFiles {
public:
    explicit ProcessFiles(std::filesystem::path root) : root_(std::move(root)) {}

    /// Absent when the process does not exist.
    std::optional<ProcessStatus> status(std::int32_t pid) const;
    /// The executable of the process, without the suffix that marks a deleted or replaced file.
    std::filesystem::path executable(std::int32_t pid) const;
    std::vector<std::string> arguments(std::int32_t pid) const;
    std::filesystem::path workingFolder(std::int32_t pid) const;
    /// The path of the process's control group in systemd's hierarchy.
    std::string controlGroup(std::int32_t pid) const;
    /// The application of the process's Flatpak sandbox.
    std::string flatpakIdentifier(std::int32_t pid) const;

private:
    std::filesystem::path folder(std::int32_t pid) const { return root_ / std::to_string(pid); }
    std::filesystem::path linkTarget(std::int32_t pid, const char* link) const;

    const std::filesystem::path root_;
};

} // namespace vello
