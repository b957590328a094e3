// SPDX-License-Identifier: Apache-2.0
#include "Control/Diagnosis/Troubles.h"

#include "Control/Diagnosis/SoundPath.h"
#include "Foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

namespace vello {
namespace {

/// A sentence when the trouble is there.
using Check = std::optional<std::string> (*)(const DiagnosisFacts& facts);

constexpr std::uint64_t kLeastFreeBytes = std::uint64_t{1} << 20;
/// The oldest WirePlumber that VELLO is tested with: that of Debian 12.
constexpr std::array kOldestWirePlumber{0, 4, 13};
constexpr std::size_t kWidestQuote = 60; ///< columns

bool answers(const DiagnosisFacts& facts) {
    return facts.server.answer == AudioServerFacts::Answer::complete;
}

bool hasDevice(const AudioServerFacts& server) {
    return std::ranges::any_of(server.nodes, isDevice);
}

/// PulseAudio has the devices, whether or not a PipeWire runs beside it for pictures.
bool isPulseAudioInCharge(const DiagnosisFacts& facts) {
    return facts.isPulseAudioRunning && !(answers(facts) && hasDevice(facts.server));
}

std::optional<std::string> pulseAudio(const DiagnosisFacts& facts) {
    if (!isPulseAudioInCharge(facts))
        return std::nullopt;
    return "PulseAudio plays the sound here instead of PipeWire, and VELLO works with PipeWire only; install "
           "pipewire-pulse and wireplumber, and log out and in";
}

std::optional<std::string> noAudioServer(const DiagnosisFacts& facts) {
    if (isPulseAudioInCharge(facts))
        return std::nullopt;
    if (facts.server.answer == AudioServerFacts::Answer::absent)
        return facts.isSandboxed
                   ? "PipeWire is not running, or the sandbox lacks the permission for its socket; allow it "
                     "with: flatpak override --user --filesystem=xdg-run/pipewire-0 com.quorvin.Vello"
                   : "PipeWire is not running in this session; start it with: systemctl --user start "
                     "pipewire";
    if (facts.server.answer == AudioServerFacts::Answer::silent)
        return "PipeWire does not answer; restart it with: systemctl --user restart pipewire";
    return std::nullopt;
}

bool isOlder(const std::string& version) {
    std::array<int, 3> parts{};
    if (std::sscanf(version.c_str(), "%d.%d.%d", &parts[0], &parts[1], &parts[2]) < 2)
        return false;
    return parts < kOldestWirePlumber;
}

std::optional<std::string> sessionManager(const DiagnosisFacts& facts) {
    const SessionManagerFacts& manager = facts.sessionManager;
    if (!answers(facts))
        return std::nullopt;
    if (facts.server.isMetadataSilent)
        return "the session manager of PipeWire does not answer; restart it with: systemctl --user restart "
               "wireplumber";
    if (manager.name.empty())
        return facts.server.hasMetadata
                   ? std::nullopt
                   : std::optional<std::string>("PipeWire has no session manager; start it with: "
                                                "systemctl --user start wireplumber");
    if (manager.name == "WirePlumber" && !isOlder(manager.version))
        return std::nullopt;
    const std::string shown = fittedText(manager.name + " " + manager.version, kWidestQuote);
    return "the session manager " + shown + " is too old; VELLO needs WirePlumber 0.4.13 or newer";
}

std::optional<std::string> noRights(const DiagnosisFacts& facts) {
    if (facts.server.answer == AudioServerFacts::Answer::refused)
        return "VELLO has no right to connect to PipeWire; start it as the user of this session";
    if (answers(facts) && facts.server.hasMetadata && !facts.server.mayRedirect)
        return "VELLO has no right to redirect streams: PipeWire withholds the permissions w and m from it, "
               "and "
               "the session manager grants them to programs that are not restricted";
    return std::nullopt;
}

std::optional<std::string> twoInstances(const DiagnosisFacts& facts) {
    const auto found = instances(facts.server);
    if (found.size() < 2)
        return std::nullopt;
    std::string processes;
    for (const AudioClientFacts* client : found)
        processes.append(processes.empty() ? "" : " and ").append(std::to_string(*client->pid));
    return "two instances of VELLO equalize the same sound (processes " + processes + "); end one of them";
}

std::optional<std::string> standsStill(const DiagnosisFacts& facts) {
    if (facts.instance.answer != InstanceFacts::Answer::silent)
        return std::nullopt;
    return "VELLO is running, but it does not answer; end it and start it again";
}

std::optional<std::string> noConsent(const DiagnosisFacts& facts) {
    if (!facts.consent || *facts.consent == Consent::allowed)
        return std::nullopt;
    return std::string("the consent to capture what applications play is ") +
           (*facts.consent == Consent::denied ? "denied" : "missing") +
           "; give it with: vello permission allow";
}

std::optional<std::string> cannotSave(const DiagnosisFacts& facts) {
    for (const FolderFacts& folder : facts.folders) {
        const std::string place = terminalText(folder.folder);
        if (folder.freeBytes && *folder.freeBytes < kLeastFreeBytes)
            return "the disk is full, so settings cannot be saved; make room in " + place;
        if (!folder.isWritable)
            return "settings cannot be saved, because the folder is read-only: " + place;
    }
    if (facts.instance.state.saveProblem.empty())
        return std::nullopt;
    return "a change is not saved: " + terminalText(facts.instance.state.saveProblem);
}

std::optional<std::string> otherFilter(const DiagnosisFacts& facts) {
    const auto filters = filtersInUse(facts.server);
    if (filters.empty())
        return std::nullopt;
    const AudioNodeFacts& filter = *filters.front();
    return "another equalizer or filter is in the chain, so sound is changed twice: \"" +
           fittedText(filter.description.empty() ? filter.name : filter.description, kWidestQuote) +
           "\"; choose another output, or end its program";
}

std::optional<std::string> noRealtime(const DiagnosisFacts& facts) {
    if (facts.realtime != RealtimePriority::refused)
        return std::nullopt;
    return "VELLO gets no realtime priority, so sound may crackle while the machine is busy; install rtkit, "
           "or "
           "raise the limit rtprio of your account";
}

std::optional<std::string> noTrayHost(const DiagnosisFacts& facts) {
    if (!facts.hasScreen || facts.hasTrayHost.value_or(true))
        return std::nullopt;
    return "the desktop shows no tray items, so VELLO's cannot be seen; enable them (on GNOME with the "
           "extension "
           "AppIndicator), or open the panel with: vello";
}

struct Row {
    Trouble trouble;
    Check check;
};
constexpr std::array kChecks{
    Row{Trouble::pulseAudio, pulseAudio},     Row{Trouble::noAudioServer, noAudioServer},
    Row{Trouble::noRights, noRights},         Row{Trouble::sessionManager, sessionManager},
    Row{Trouble::twoInstances, twoInstances}, Row{Trouble::standsStill, standsStill},
    Row{Trouble::noConsent, noConsent},       Row{Trouble::cannotSave, cannotSave},
    Row{Trouble::otherFilter, otherFilter},   Row{Trouble::noTrayHost, noTrayHost},
    Row{Trouble::noRealtime, noRealtime},
};

} // namespace

std::vector<Finding> findTroubles(const DiagnosisFacts& facts) {
    std::vector<Finding> findings;
    for (const Row& row : kChecks)
        if (const auto sentence = row.check(facts))
            findings.push_back({row.trouble, *sentence});
    return findings;
}

} // namespace vello
