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

/// What decides whether the desktop starts an entry.
struct AutostartPlaces {
    std::filesystem::path userFolder;                 ///< of the user's entries
    std::vector<std::filesystem::path> systemFolders; ///< the most important first
    std::vector<std::filesystem::path> programFolders;
    std::vector<std::string> desktops; ///< names of the current one

    static AutostartPlaces fromEnvironment(const Environment& environment);
};

/// An autostart entry of the desktop's, com.quorvin.Vello.desktop. The user's own hides one of that name that
/// the system brings.
class AutostartLoginItem final : public LoginItem {
public:
    /// The program that this process runs; gone from the disk, a name that does not exist.
    static std::filesystem::path ownExecutable();

    AutostartLoginItem(AutostartPlaces places, std::filesystem::path executable)
        : places_(std::move(places)), executable_(std::move(executable)) {}

    /// Switched off are also entries that are not for the current desktop.
    Status status() override;
    /// Writes the user's entry anew, whatever it was.
    void registerItem() override;
    /// Hides the entry when the system brings one, too.
    void unregisterItem() override;

private:
    using Path = std::filesystem::path;

    Path userEntry() const;
    std::optional<std::string> effectiveEntry() const;
    bool isSwitchedOff(const KeyFileGroup& entry) const;
    bool canStart(const std::string& program) const;
    void write(const std::string& entry) const;

    const AutostartPlaces places_;
    const Path executable_;
};

} // namespace vello
