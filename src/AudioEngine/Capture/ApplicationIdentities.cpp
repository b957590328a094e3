// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/ApplicationIdentities.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/DisplayText.h"
#include "Foundation/Localization.h"
#include "Models/EQSettings.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace vello {
namespace {

/// The last non-empty component of a dotted name.
std::string_view lastComponent(std::string_view dotted) {
    const auto end = dotted.find_last_not_of('.');
    if (end == std::string_view::npos)
        return {};
    const auto dot = dotted.find_last_of('.', end);
    const auto begin = dot == std::string_view::npos ? 0 : dot + 1;
    return dotted.substr(begin, end + 1 - begin);
}

/// Bundle identifiers are untrusted: they may be empty, and must not impersonate the system-wide entry.
std::optional<std::string> ifUsable(std::optional<std::string> bundleID) {
    const bool isUsable = bundleID && !bundleID->empty() && *bundleID != kSystemSourceID;
    return isUsable ? std::move(bundleID) : std::nullopt;
}

/// Uses the localized name, else the identifier's last component, else the process number.
std::string displayName(const std::optional<std::string>& localizedName,
                        const std::optional<std::string>& bundleID, std::int32_t pid) {
    if (localizedName && hasVisibleText(*localizedName))
        return boundedName(*localizedName);
    const auto component = lastComponent(bundleID ? *bundleID : std::string_view{});
    if (hasVisibleText(component))
        return boundedName(component);
    // TRANSLATORS: The name of an application that has none; %1 is its number.
    return localized("Process %1", pid > 0 ? std::to_string(pid) : "?");
}

} // namespace

std::int32_t ApplicationIdentities::processOf(AudioObjectID object) const {
    return std::max(0, readProperty<std::int32_t>(hardware_, object, kAudioProcessPropertyPID));
}

std::optional<ApplicationIdentity> ApplicationIdentities::identify(AudioObjectID object,
                                                                   std::int32_t pid) const {
    if (pid <= 0)
        return identifyByBundleID(object);
    const std::int32_t responsible = responsibleProcess(pid);
    if (isOwn(pid) || isOwn(responsible))
        return std::nullopt;
    return identifyProcess(object, responsible);
}

/// The desktop's record takes precedence over what the process claims about itself.
ApplicationIdentity ApplicationIdentities::identifyProcess(AudioObjectID object, std::int32_t pid) const {
    auto application = applications_.runningApplication(pid).value_or(RunningApplication{});
    auto bundleID = ifUsable(std::move(application.bundleIdentifier));
    if (!bundleID)
        bundleID = claimedBundleID(object);
    std::string key = bundleID.value_or("pid." + std::to_string(pid));
    std::string name = displayName(application.localizedName, bundleID, pid);
    return {std::move(key), std::move(bundleID), std::move(name), pid};
}

/// For an object whose identifier is trusted, but whose process is unknown.
std::optional<ApplicationIdentity> ApplicationIdentities::identifyByBundleID(AudioObjectID object) const {
    auto bundleID = claimedBundleID(object);
    if (!bundleID)
        return std::nullopt;
    const auto application = applications_.installedApplication(*bundleID).value_or(RunningApplication{});
    std::string name = displayName(application.localizedName, bundleID, 0);
    return ApplicationIdentity{*bundleID, bundleID, std::move(name), 0};
}

std::int32_t ApplicationIdentities::responsibleProcess(std::int32_t pid) const {
    const std::int32_t responsible = applications_.responsibleProcess(pid);
    return responsible > 1 ? responsible : pid;
}

std::optional<std::string> ApplicationIdentities::claimedBundleID(AudioObjectID object) const {
    return ifUsable(attempt([&] { return readString(hardware_, object, kAudioProcessPropertyBundleID); }));
}

} // namespace vello
