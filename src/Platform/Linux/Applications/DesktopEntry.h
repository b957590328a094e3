// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// An application as described by its desktop entry. Texts are plain (UTF-8 without control characters) and
/// may be empty.
struct DesktopEntry {
    std::string id; ///< desktop file ID without ".desktop"
    std::string name;
    std::string icon;                 ///< name in the icon theme, or an absolute file name
    std::string startupWMClass;       ///< window class
    std::vector<std::string> command; ///< program and arguments, without field codes
    bool isDeleted = false; ///< Hidden: not an application, also hides entries in less important folders
    bool isShown = true;    ///< false with NoDisplay: not shown in menus
    bool isTerminalEmulator = false; ///< runs other programs in its windows
};

/// The key suffixes that match a locale such as "sr_RS.UTF-8@latin", the best first: "sr_RS@latin", "sr_RS",
/// "sr@latin", "sr". Empty for "C", "POSIX" and an empty locale.
std::vector<std::string> localeSuffixes(std::string_view locale);

/// Absent when the text is not an application's desktop entry, or `id` is not plain text.
std::optional<DesktopEntry> parseDesktopEntry(std::string id, std::string_view text,
                                              const std::vector<std::string>& localeSuffixes);

/// Program and arguments of an Exec value, unquoted and without field codes.
std::vector<std::string> parseExec(std::string_view exec);

} // namespace vello
