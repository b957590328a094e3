// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Environment.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// The home folder that the user database has for this process's account; empty when it has none.
std::string accountHomeFolder();

/// $HOME when that is an absolute path, else the account's. Throws std::runtime_error with a sentence when
/// neither is.
std::filesystem::path homeFolder(const Environment& environment,
                                 const std::string& ofAccount = accountHomeFolder());

/// The user's folder for the data of applications: $XDG_DATA_HOME when that is an absolute path, else
/// .local/share in the home folder. Throws as homeFolder() does.
std::filesystem::path userDataFolder(const Environment& environment);

/// The system's folders for the data of applications, the most important first: the absolute paths of
/// $XDG_DATA_DIRS, else /usr/local/share and /usr/share.
std::vector<std::filesystem::path> systemDataFolders(const Environment& environment);

/// Every folder in which applications leave their desktop entries and icons, the most important first: the
/// two above, and those of Flatpak and Snap, which not every session names.
std::vector<std::filesystem::path> applicationDataFolders(const Environment& environment);

/// The user's folder for the configuration of applications: $XDG_CONFIG_HOME when that is an absolute path,
/// else .config in the home folder. Throws as homeFolder() does.
std::filesystem::path userConfigurationFolder(const Environment& environment);

/// The user's folder for what applications keep on this machine only: $XDG_STATE_HOME when that is an
/// absolute path, else .local/state in the home folder. Throws as homeFolder() does.
std::filesystem::path userStateFolder(const Environment& environment);

/// The system's folders for configuration, the most important first: the absolute paths of $XDG_CONFIG_DIRS,
/// else /etc/xdg.
std::vector<std::filesystem::path> systemConfigurationFolders(const Environment& environment);

/// The session's folder for sockets and locks: $XDG_RUNTIME_DIR when that is an absolute path.
std::optional<std::filesystem::path> runtimeFolder(const Environment& environment);

/// The absolute paths of a list that is separated by colons, without those that occur before.
std::vector<std::filesystem::path> absolutePaths(const std::string& list);

} // namespace vello
