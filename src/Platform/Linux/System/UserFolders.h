// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// Looks a variable of the environment up; null when it is not set.
using Environment = std::function<const char*(const char* name)>;

/// The environment of this process.
Environment processEnvironment();

/// The user's folder for the data of applications: $XDG_DATA_HOME when that is an absolute path, else
/// .local/share in the home folder ($HOME, else the account's). The process ends when there is no home folder
/// at all.
std::filesystem::path userDataFolder(const Environment& environment);

/// The system's folders for the data of applications, the most important first: the absolute paths of
/// $XDG_DATA_DIRS, else /usr/local/share and /usr/share.
std::vector<std::filesystem::path> systemDataFolders(const Environment& environment);

/// Every folder in which applications leave their desktop entries and icons, the most important first: the
/// two above, and those of Flatpak and Snap, which not every session names.
std::vector<std::filesystem::path> applicationDataFolders(const Environment& environment);

/// The user's folder for the configuration of applications: $XDG_CONFIG_HOME when that is an absolute path,
/// else .config in the home folder, as above.
std::filesystem::path userConfigurationFolder(const Environment& environment);

/// The system's folders for it, the most important first: the absolute paths of $XDG_CONFIG_DIRS, else
/// /etc/xdg.
std::vector<std::filesystem::path> systemConfigurationFolders(const Environment& environment);

/// The session's folder for sockets and locks: $XDG_RUNTIME_DIR when that is an absolute path.
std::optional<std::filesystem::path> runtimeFolder(const Environment& environment);

/// The absolute paths of a list that is separated by colons, without those that occur before.
std::vector<std::filesystem::path> absolutePaths(const std::string& list);

} // namespace vello
