// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/AutostartLoginItem.h"

#include "Foundation/Files.h"
#include "Foundation/Localization.h"
#include "Foundation/Product.h"
#include "Platform/Linux/Applications/DesktopEntry.h"
#include "Platform/Linux/System/Command.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostBytes = 1U << 20;
std::string entryName() {
    return std::string(kBundleIdentifier).append(".desktop");
}

std::vector<std::string> split(const std::string& list, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, separator);)
        if (!part.empty())
            parts.push_back(part);
    return parts;
}

std::string valueOf(const KeyFileGroup& entry, std::string_view key) {
    const auto value = entry.find(key);
    return value == entry.end() ? "" : unescapedValue(value->second);
}

/// A program or an argument in an Exec value: quoted, with percent signs doubled, then escaped as any
/// text of the file.
std::string execValue(const std::string& argument) {
    std::string quoted = "\"";
    for (const char character : argument) {
        if (std::string_view("\"`$\\").find(character) != std::string_view::npos)
            quoted += '\\';
        quoted += character;
        if (character == '%')
            quoted += '%';
    }
    quoted += '"';
    std::string value;
    for (const char character : quoted) {
        const auto special = std::string_view("\\\n\t\r").find(character);
        value += special == std::string_view::npos ? std::string(1, character)
                                                   : std::string{'\\', "\\ntr"[special]};
    }
    return value;
}

/// A value in all languages: the desktop's list of programs that start at login is in the language of the
/// desktop, which may change after the entry was written.
std::string linesOf(std::string_view key, std::string_view english) {
    std::string lines = std::string(key).append("=").append(english).append("\n");
    for (const std::string_view language : languages())
        if (const std::string wording = localizedIn(language, english); language != "en")
            lines.append(key).append("[").append(language).append("]=").append(wording).append("\n");
    return lines;
}

/// What that list shows, as the entry of the desktop's menu has it.
std::string description() {
    return linesOf("GenericName", wordingKey("Equalizer")) +
           linesOf("Comment", wordingKey("Equalizes the sound of each application separately"));
}

std::string entryThatStarts(const std::vector<std::string>& command) {
    std::string entry = std::string("[Desktop Entry]\nType=Application\nName=")
                            .append(kApplicationName)
                            .append("\n")
                            .append(description())
                            .append("Icon=")
                            .append(kBundleIdentifier)
                            .append("\nExec=");
    for (const std::string& argument : command)
        entry.append(execValue(argument)).append(" ");
    return entry.append("\nTerminal=false\nX-GNOME-Autostart-enabled=true\n");
}

std::string entryThatHides() {
    return std::string("[Desktop Entry]\nType=Application\nName=")
        .append(kApplicationName)
        .append("\nHidden=true\n");
}

bool isProgram(const fs::path& file) {
    std::error_code error;
    return fs::is_regular_file(file, error) && ::access(file.c_str(), X_OK) == 0;
}

} // namespace

AutostartPlaces AutostartPlaces::fromEnvironment(const Environment& environment) {
    const auto variable = [&](const char* name) {
        const char* value = environment(name);
        return std::string(value == nullptr ? "" : value);
    };
    AutostartPlaces places{.userFolder = userConfigurationFolder(environment) / "autostart",
                           .systemFolders = systemConfigurationFolders(environment),
                           .programFolders = absolutePaths(variable("PATH")),
                           .desktops = split(variable("XDG_CURRENT_DESKTOP"), ':')};
    for (fs::path& folder : places.systemFolders)
        folder /= "autostart";
    return places;
}

fs::path AutostartLoginItem::userEntry() const {
    return places_.userFolder / entryName();
}

std::optional<std::string> AutostartLoginItem::effectiveEntry() const {
    std::vector<fs::path> folders{places_.userFolder};
    folders.insert(folders.end(), places_.systemFolders.begin(), places_.systemFolders.end());
    for (const fs::path& folder : folders)
        if (auto text = readFile(folder / entryName(), kMostBytes))
            return text;
    return std::nullopt;
}

LoginItem::Status AutostartLoginItem::status() {
    const auto text = effectiveEntry();
    const auto entry = text ? parseDesktopEntry(kBundleIdentifier, *text, {}) : std::nullopt;
    if (!entry)
        return Status::notRegistered;
    const KeyFileGroup values = readKeyFileGroup(*text, "Desktop Entry");
    if (entry->isDeleted || isSwitchedOff(values))
        return Status::requiresApproval;
    const std::string tried = valueOf(values, "TryExec");
    if (entry->command.empty() || !canStart(entry->command.front()) || (!tried.empty() && !canStart(tried)))
        return Status::notFound;
    return Status::enabled;
}

bool AutostartLoginItem::isSwitchedOff(const KeyFileGroup& entry) const {
    const auto namesThisDesktop = [&](std::string_view key) {
        const auto names = split(valueOf(entry, key), ';');
        return std::ranges::find_first_of(names, places_.desktops) != names.end();
    };
    return valueOf(entry, "X-GNOME-Autostart-enabled") == "false" || namesThisDesktop("NotShowIn") ||
           (entry.contains("OnlyShowIn") && !namesThisDesktop("OnlyShowIn"));
}

bool AutostartLoginItem::canStart(const std::string& program) const {
    return isProgram(findProgram(program, places_.programFolders));
}

void AutostartLoginItem::registerItem() {
    const fs::path program = command_.front();
    if (!program.is_absolute() || !isProgram(program))
        throw std::runtime_error("the program " + program.string() +
                                 " is not there any more; start VELLO again");
    write(entryThatStarts(command_));
    const auto entry = parseDesktopEntry(kBundleIdentifier, effectiveEntry().value_or(""), {});
    if (status() != Status::enabled || entry->command != command_)
        throw std::runtime_error(userEntry().string() + " does not start VELLO; remove it and try again");
}

void AutostartLoginItem::unregisterItem() {
    fs::remove(userEntry());
    if (status() == Status::notRegistered)
        return;
    write(entryThatHides());
    if (status() == Status::enabled)
        throw std::runtime_error("VELLO is still started at login; remove " + userEntry().string());
}

void AutostartLoginItem::write(const std::string& entry) const {
    createPrivateFolder(places_.userFolder);
    writeFileAtomically(userEntry(), entry);
}

} // namespace vello
