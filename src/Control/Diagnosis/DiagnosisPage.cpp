// SPDX-License-Identifier: Apache-2.0
#include "Control/Diagnosis/DiagnosisPage.h"

#include "Control/Diagnosis/SoundPath.h"
#include "Control/State/StateWords.h"
#include "Control/State/Table.h"
#include "Foundation/Text.h"
#include "NameCover.h"
#include "StreamReason.h"

#include <algorithm>
#include <cstdio>

namespace vello {
namespace {

constexpr std::size_t kWidestName = 40; ///< columns
constexpr const char* kUnknown = "unknown";

std::string orUnknown(const std::string& text) {
    return text.empty() ? kUnknown : fittedText(text, kWidestName);
}

std::string yesOrNo(bool is) {
    return is ? "yes" : "no";
}

std::string shownName(const AudioNodeFacts& node) {
    return fittedText(node.description.empty() ? node.name : node.description, kWidestName);
}

// What stands beside each word of the page's first part.

std::string serverText(const AudioServerFacts& server) {
    switch (server.answer) {
    case AudioServerFacts::Answer::absent:
        return "does not run";
    case AudioServerFacts::Answer::refused:
        return "refuses the connection";
    case AudioServerFacts::Answer::silent:
        return "does not answer";
    case AudioServerFacts::Answer::complete:
        break;
    }
    return orUnknown(server.version);
}

std::string sessionManagerText(const SessionManagerFacts& manager) {
    if (manager.name.empty())
        return "none seen";
    return fittedText(manager.name, kWidestName) + " " + orUnknown(manager.version);
}

std::string instanceText(const InstanceFacts& instance) {
    switch (instance.answer) {
    case InstanceFacts::Answer::noBus:
        return "cannot be asked: there is no session bus that answers";
    case InstanceFacts::Answer::notRunning:
        return "does not run";
    case InstanceFacts::Answer::silent:
        return "does not answer";
    case InstanceFacts::Answer::complete:
        break;
    }
    return "runs (version " + orUnknown(instance.state.version) + "), switched " +
           (instance.state.isProcessingEnabled ? "on" : "off");
}

std::string rightsText(const AudioServerFacts& server) {
    if (server.answer != AudioServerFacts::Answer::complete || !server.hasMetadata)
        return kUnknown;
    return server.mayRedirect ? "may redirect streams" : "may not redirect streams";
}

std::string realtimeText(RealtimePriority priority) {
    switch (priority) {
    case RealtimePriority::granted:
        return "granted";
    case RealtimePriority::refused:
        return "not granted";
    case RealtimePriority::unknown:
        break;
    }
    return kUnknown;
}

std::string trayText(const DiagnosisFacts& facts) {
    if (!facts.hasScreen)
        return "no screen here";
    return facts.hasTrayHost ? yesOrNo(*facts.hasTrayHost) : kUnknown;
}

std::string freeText(const FolderFacts& folder) {
    char text[40] = "unknown";
    if (folder.freeBytes)
        std::snprintf(text, sizeof text, "%.1f MB free", static_cast<double>(*folder.freeBytes) / 1e6);
    return terminalText(folder.folder) + ": " + text + (folder.isWritable ? "" : ", read-only");
}

std::string consentText(const std::optional<Consent>& consent) {
    if (!consent)
        return "cannot be read";
    return *consent == Consent::undecided ? "not given yet" : std::string(word(*consent));
}

std::string overview(const DiagnosisFacts& facts) {
    Table table({"VELLO", facts.version});
    table.add({"PipeWire", serverText(facts.server) + ", library " + orUnknown(facts.server.library)});
    table.add({"Session manager", sessionManagerText(facts.sessionManager)});
    table.add({"PulseAudio", facts.isPulseAudioRunning ? "runs" : "does not run"});
    table.add({"Qt", facts.toolkit});
    table.add({"Kernel", orUnknown(facts.kernel)});
    table.add({"Distribution", orUnknown(facts.distribution)});
    table.add({"Sandbox", facts.isSandboxed ? "Flatpak" : "none"});
    table.add({"Running VELLO", instanceText(facts.instance)});
    table.add({"Consent", consentText(facts.consent)});
    table.add({"Rights", rightsText(facts.server)});
    table.add({"Realtime priority", realtimeText(facts.realtime)});
    const auto& missed = facts.instance.missedCycles;
    table.add({"Xruns since start", missed ? std::to_string(*missed) : kUnknown});
    table.add({"Tray host", trayText(facts)});
    for (const FolderFacts& folder : facts.folders)
        table.add({"Folder", freeText(folder)});
    return table.text();
}

std::string places(const AudioServerFacts& server, const AudioNodeFacts& node, int depth = 0) {
    std::string text;
    for (const AudioNodeFacts* place : destinations(server, node)) {
        const bool isCapture = isOfVello(*place);
        text.append(text.empty() ? "" : ", ").append(isCapture ? "VELLO" : shownName(*place));
        // The capture's device is found at the other end of the same tap.
        for (const AudioNodeFacts& other : server.nodes)
            if (isCapture && depth == 0 && other.id != place->id && other.linkGroup == place->linkGroup)
                text.append(", then ").append(places(server, other, depth + 1));
    }
    return text.empty() ? "nothing" : text;
}

std::string devices(const AudioServerFacts& server) {
    if (std::ranges::none_of(server.nodes, isDevice))
        return "No device.\n";
    Table table({"DEVICE", "NAME", "DEFAULT", "RUNS"});
    for (const AudioNodeFacts& node : server.nodes)
        if (isDevice(node))
            table.add({fittedText(node.name, kWidestName * 2), shownName(node),
                       yesOrNo(node.name == server.defaultOutput), yesOrNo(node.isRunning)});
    return table.text();
}

std::string streams(const DiagnosisFacts& facts, const NameCover& cover, ApplicationNames names) {
    if (std::ranges::none_of(facts.server.nodes, isApplicationStream))
        return "No application has a stream.\n";
    std::vector<std::string> titles{"STREAM OF", "PLAYS", "LINKED TO", "VELLO"};
    if (names == ApplicationNames::shown)
        titles.emplace_back("STREAM");
    Table table(std::move(titles));
    for (const AudioNodeFacts& node : facts.server.nodes)
        if (isApplicationStream(node)) {
            std::vector<std::string> cells{cover.application(node), yesOrNo(node.isRunning),
                                           places(facts.server, node), streamReason(facts, node)};
            if (names == ApplicationNames::shown)
                cells.push_back(fittedText(node.media, kWidestName));
            table.add(std::move(cells));
        }
    return table.text();
}

std::string errors(const DiagnosisFacts& facts, const NameCover& cover) {
    if (facts.lastErrors.empty())
        return "No error is known.\n";
    std::string text = "Last errors, oldest first:\n";
    for (const std::string& line : facts.lastErrors)
        text.append("  ").append(cover.line(line)).append("\n");
    return text;
}

std::string verdict(const std::vector<Finding>& findings) {
    if (findings.empty())
        return "No trouble found.\n";
    std::string text = "Trouble: " + findings.front().sentence + ".\n";
    for (std::size_t next = 1; next < findings.size(); ++next)
        text.append("Also: ").append(findings[next].sentence).append(".\n");
    return text;
}

} // namespace

std::string diagnosisPage(const DiagnosisFacts& facts, const std::vector<Finding>& findings,
                          ApplicationNames names) {
    const NameCover cover(facts, names);
    return verdict(findings) + "\n" + overview(facts) + "\n" + devices(facts.server) + "\n" +
           streams(facts, cover, names) + "\n" + errors(facts, cover);
}

} // namespace vello
