// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/System/KeyFile.h"
#include "Platform/Linux/System/UserFolders.h"
#include "Ports/LoginItem.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// The inputs that decide whether the desktop starts an entry.
struct AutostartPlaces {
    std::filesystem::path userFolder;                 ///< folder of the user's entries
    std::vector<std::filesystem::path> systemFolders; ///< the most important first
    std::vector<std::filesystem::path> programFolders;
    std::vector<std::string> desktops; ///< names of the current desktop

    static AutostartPlaces fromEnvironment(const Environment& environment);
};

/// The desktop's autostart entry com.quorvin.Vello.desktop. The user's entry hides a system entry of the same
/// name.
class AutostartLoginItem final : public LoginItem {
public:
    /// `command`: the absolute path of the program to start, and its arguments.
    AutostartLoginItem(AutostartPlaces places, std::vector<std::string> command)
        : places_(std::move(places)), command_(std::move(command)) {}

    /// Entries that are not for the current desktop also count as switched off.
    Status status() override;
    /// Writes the user's entry, replacing any existing one.
    void registerItem() override;
    /// Also hides a system entry.
    void unregisterItem() override;

private:
    using Path = std::filesystem::path;

    Path userEntry() const;
    std::optional<std::string> effectiveEntry() const;
    bool isSwitchedOff(const KeyFileGroup& entry) const;
    bool canStart(const std::string& program) const;
    void write(const std::string& entry) const;

    const AutostartPlaces places_;
    const std::vector<std::string> command_;
};

} // namespace vello
