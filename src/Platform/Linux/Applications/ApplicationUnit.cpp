// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/ApplicationUnit.h"

#include <algorithm>
#include <optional>

namespace vello {
namespace {

constexpr std::size_t kLongestIdentifier = 255;
constexpr std::size_t kUUIDLength = 36;

bool isHexadecimal(char character) {
    return std::string_view("0123456789abcdefABCDEF").find(character) != std::string_view::npos;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Undoes systemd's escapes such as \x2d.
std::string unescapedUnit(std::string_view name) {
    std::string result;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool isEscape = name.substr(i, 2) == "\\x" && i + 3 < name.size() &&
                              isHexadecimal(name[i + 2]) && isHexadecimal(name[i + 3]);
        result += isEscape ? static_cast<char>(std::stoi(std::string(name.substr(i + 2, 2)), nullptr, 16))
                           : name[i];
        i += isEscape ? 3 : 0;
    }
    return result;
}

bool dropSuffix(std::string_view& name, std::string_view suffix) {
    if (!name.ends_with(suffix))
        return false;
    name.remove_suffix(suffix.size());
    return true;
}

bool dropPrefix(std::string_view& name, std::string_view prefix) {
    if (!name.starts_with(prefix))
        return false;
    name.remove_prefix(prefix.size());
    return true;
}

/// Extracts the application from "dbus-:1.2-org.example.App", the name of an application that D-Bus started.
std::string withoutBusName(std::string identifier) {
    if (!identifier.starts_with("dbus-:"))
        return identifier;
    const auto hyphen = identifier.find('-', 5);
    return hyphen == std::string::npos ? identifier : identifier.substr(hyphen + 1);
}

/// The parts of "a-b-c" after each hyphen, the shortest first. Identifiers should be escaped, but not all
/// launchers do it.
std::vector<std::string> identifiersAtEndOf(std::string_view name) {
    std::vector<std::string> identifiers;
    for (auto hyphen = name.rfind('-'); hyphen != name.npos && hyphen > 0;
         hyphen = name.rfind('-', hyphen - 1))
        identifiers.push_back(withoutBusName(unescapedUnit(name.substr(hyphen + 1))));
    identifiers.push_back(withoutBusName(unescapedUnit(name)));
    return identifiers;
}

std::vector<std::string> scopeIdentifiers(std::string_view name) {
    const auto random = name.rfind('-');
    return identifiersAtEndOf(random == name.npos ? name : name.substr(0, random));
}

/// The random part of a slice is optional, so both readings are possible.
std::vector<std::string> sliceIdentifiers(std::string_view name) {
    std::vector<std::string> identifiers = identifiersAtEndOf(name);
    if (const auto random = name.rfind('-'); random != name.npos)
        std::ranges::copy(identifiersAtEndOf(name.substr(0, random)), std::back_inserter(identifiers));
    return identifiers;
}

std::vector<std::string> systemdIdentifiers(std::string_view unit) {
    if (!dropPrefix(unit, "app-"))
        return {};
    if (dropSuffix(unit, ".scope"))
        return scopeIdentifiers(unit);
    if (dropSuffix(unit, ".service"))
        return identifiersAtEndOf(unit.substr(0, unit.find('@')));
    return dropSuffix(unit, ".slice") ? sliceIdentifiers(unit) : std::vector<std::string>();
}

/// Extracts the application from "spotify-UUID", "spotify.UUID", "spotify.1234" or "spotify".
std::string_view withoutSnapInstance(std::string_view application) {
    if (application.size() > kUUIDLength + 1) {
        const std::string_view end = application.substr(application.size() - kUUIDLength);
        const bool isUUID = std::ranges::all_of(
            end, [](char character) { return isHexadecimal(character) || character == '-'; });
        if (isUUID && std::ranges::count(end, '-') == 4)
            return application.substr(0, application.size() - kUUIDLength - 1);
    }
    const auto dot = application.rfind('.');
    const bool isNumber =
        dot != application.npos && std::ranges::all_of(application.substr(dot + 1), isDigit);
    return isNumber ? application.substr(0, dot) : application;
}

std::vector<std::string> snapIdentifiers(std::string_view unit) {
    const bool isUnit =
        dropPrefix(unit, "snap.") && (dropSuffix(unit, ".scope") || dropSuffix(unit, ".service"));
    const auto dot = unit.find('.');
    if (!isUnit || dot == unit.npos)
        return {};
    const std::string name(unit.substr(0, dot));
    return {name + "_" + std::string(withoutSnapInstance(unit.substr(dot + 1))), name + "_" + name};
}

} // namespace

bool isApplicationIdentifier(std::string_view text) {
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
    return !text.empty() && text.size() <= kLongestIdentifier &&
           text.find_first_not_of(allowed) == text.npos && text.find_first_not_of('.') != text.npos;
}

std::vector<std::string> applicationsOfControlGroup(std::string_view controlGroup) {
    while (!controlGroup.empty()) {
        const auto slash = controlGroup.rfind('/');
        const std::string_view unit = controlGroup.substr(slash == controlGroup.npos ? 0 : slash + 1);
        for (const auto& identifiersOf : {snapIdentifiers, systemdIdentifiers}) {
            std::vector<std::string> identifiers = identifiersOf(unit);
            std::erase_if(identifiers,
                          [](const std::string& each) { return !isApplicationIdentifier(each); });
            if (!identifiers.empty())
                return identifiers;
        }
        controlGroup = controlGroup.substr(0, slash == controlGroup.npos ? 0 : slash);
    }
    return {};
}

} // namespace vello
