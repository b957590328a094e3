// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/UserFolders.h"

#include <algorithm>
#include <pwd.h>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;

std::optional<fs::path> absolutePath(const char* value) {
    const fs::path path = value == nullptr ? "" : value;
    return path.is_absolute() ? std::optional(path) : std::nullopt;
}

/// The value of `variable` when that is an absolute path, else the folder of that name in the home folder.
fs::path userFolder(const Environment& environment, const char* variable, const char* name) {
    const auto folder = absolutePath(environment(variable));
    return folder ? *folder : homeFolder(environment) / name;
}

/// The absolute paths of the list in `variable`; of `otherwise` when it is not set.
std::vector<fs::path> systemFolders(const Environment& environment, const char* variable,
                                    const char* otherwise) {
    const char* list = environment(variable);
    const bool isSet = list != nullptr && *list != '\0';
    return absolutePaths(isSet ? list : otherwise);
}

} // namespace

std::string accountHomeFolder() {
    const passwd* account = ::getpwuid(::getuid());
    return account == nullptr || account->pw_dir == nullptr ? "" : account->pw_dir;
}

fs::path homeFolder(const Environment& environment, const std::string& ofAccount) {
    if (const auto home = absolutePath(environment("HOME")))
        return *home;
    if (const auto home = absolutePath(ofAccount.c_str()))
        return *home;
    throw std::runtime_error("your account has no home folder to keep the settings in; set HOME to a folder "
                             "of your own");
}

fs::path userDataFolder(const Environment& environment) {
    return userFolder(environment, "XDG_DATA_HOME", ".local/share");
}

std::vector<fs::path> systemDataFolders(const Environment& environment) {
    return systemFolders(environment, "XDG_DATA_DIRS", "/usr/local/share:/usr/share");
}

std::vector<fs::path> applicationDataFolders(const Environment& environment) {
    const fs::path user = userDataFolder(environment);
    std::vector<fs::path> folders{user};
    const auto add = [&folders](const fs::path& folder) {
        if (std::ranges::find(folders, folder) == folders.end())
            folders.push_back(folder);
    };
    std::ranges::for_each(systemDataFolders(environment), add);
    add(user / "flatpak/exports/share");
    add("/var/lib/flatpak/exports/share");
    add("/var/lib/snapd/desktop");
    return folders;
}

fs::path userConfigurationFolder(const Environment& environment) {
    return userFolder(environment, "XDG_CONFIG_HOME", ".config");
}

fs::path userStateFolder(const Environment& environment) {
    return userFolder(environment, "XDG_STATE_HOME", ".local/state");
}

std::vector<fs::path> systemConfigurationFolders(const Environment& environment) {
    return systemFolders(environment, "XDG_CONFIG_DIRS", "/etc/xdg");
}

std::optional<fs::path> runtimeFolder(const Environment& environment) {
    return absolutePath(environment("XDG_RUNTIME_DIR"));
}

std::vector<fs::path> absolutePaths(const std::string& list) {
    std::vector<fs::path> paths;
    std::istringstream stream(list);
    for (std::string each; std::getline(stream, each, ':');) {
        const auto path = absolutePath(each.c_str());
        if (path && std::ranges::find(paths, *path) == paths.end())
            paths.push_back(*path);
    }
    return paths;
}

} // namespace vello
