// SPDX-License-Identifier: Apache-2.0
#include "Doctor.h"

#include "BusFacts.h"
#include "Control/CommandLine/CommandLine.h"
#include "Control/CommandLine/Version.h"
#include "Control/Diagnosis/DiagnosisPage.h"
#include "Control/Diagnosis/Troubles.h"
#include "Foundation/Product.h"
#include "Platform/Linux/PipeWire/PipeWireSurvey.h"
#include "Platform/Linux/System/MachineFacts.h"
#include "Platform/Linux/System/ProcessFacts.h"
#include "Platform/Linux/System/UserFolders.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>

namespace vello {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatienceForTheServer = 2s;
constexpr auto kPatienceForTheBus = 3s; // from the start, like the other

bool isSet(const Environment& environment, const char* name) {
    const char* const value = environment(name);
    return value != nullptr && *value != '\0';
}

/// The socket of the user's PulseAudio server.
std::filesystem::path pulseSocket(const Environment& environment) {
    constexpr std::string_view prefix = "unix:";
    const char* const chosen = environment("PULSE_SERVER");
    if (chosen != nullptr && std::string_view(chosen).starts_with(prefix))
        return chosen + prefix.size();
    const auto folder = runtimeFolder(environment);
    return folder ? *folder / "pulse" / "native" : std::filesystem::path();
}

/// From 0.5 on, the library of WirePlumber 0.5.8 is 0.508.0.
std::string wirePlumberVersion(const std::string& ofLibrary) {
    int major = 0;
    int joined = 0;
    if (std::sscanf(ofLibrary.c_str(), "%d.%d", &major, &joined) != 2 || joined < 100)
        return ofLibrary;
    return std::to_string(major) + "." + std::to_string(joined / 100) + "." + std::to_string(joined % 100);
}

SessionManagerFacts sessionManager(const AudioServerFacts& server) {
    for (const AudioClientFacts& client : server.clients) {
        if (client.name == "WirePlumber" || client.binary == "wireplumber")
            return {
                "WirePlumber",
                wirePlumberVersion(client.pid ? loadedLibraryVersion(*client.pid, "libwireplumber-") : "")};
        if (client.binary == "pipewire-media-session")
            return {client.binary, ""};
    }
    return {};
}

/// That of the running instance. An instance without a tap has no thread that needs it.
RealtimePriority realtime(const BusFacts& bus) {
    const auto& sources = bus.instance.state.sources;
    const bool hasTap = std::ranges::any_of(
        sources, [](const SourceState& source) { return source.tapState == TapState::running; });
    if (hasTap && bus.instance.pid)
        return realtimePriority(*bus.instance.pid);
    return bus.hasRealtimeService ? RealtimePriority::granted : ownRealtimePriority();
}

/// A report does not need the name of the user.
std::string withoutHome(const std::string& text, const Environment& environment) {
    const char* const home = environment("HOME");
    const std::string_view folder = home != nullptr ? home : "";
    if (folder.size() < 2)
        return text;
    std::string shown = text;
    for (auto at = shown.find(folder); at != std::string::npos; at = shown.find(folder, at + 1))
        shown.replace(at, folder.size(), 1, '~');
    return shown;
}

FolderFacts dataFolder(const Environment& environment) {
    FolderFacts facts = folderFacts(userDataFolder(environment) / kApplicationFolder);
    facts.folder = withoutHome(facts.folder, environment);
    return facts;
}

DiagnosisFacts collectFacts() {
    const Environment environment = processEnvironment();
    const auto deadline = std::chrono::steady_clock::now() + kPatienceForTheBus;
    const BusInquiry inquiry;
    DiagnosisFacts facts{.version = kVersion,
                         .toolkit = qVersion(),
                         .kernel = kernelName(),
                         .distribution = distributionName()};
    facts.server = surveyAudioServer(kPatienceForTheServer);
    facts.sessionManager = sessionManager(facts.server);
    facts.isPulseAudioRunning = isPulseAudioRunning(pulseSocket(environment));
    facts.isSandboxed = isInFlatpak();
    const BusFacts bus = inquiry.facts(deadline);
    facts.consent = bus.consent;
    facts.instance = bus.instance;
    facts.realtime = realtime(bus);
    facts.hasScreen = isSet(environment, "DISPLAY") || isSet(environment, "WAYLAND_DISPLAY");
    facts.hasTrayHost = bus.hasTrayHost;
    facts.folders = {dataFolder(environment)};
    for (const std::string& line : bus.lastErrors)
        facts.lastErrors.push_back(withoutHome(line, environment));
    return facts;
}

int printPage(bool showsNames) {
    const DiagnosisFacts facts = collectFacts();
    const auto findings = findTroubles(facts);
    const auto names = showsNames ? ApplicationNames::shown : ApplicationNames::hidden;
    std::cout << diagnosisPage(facts, findings, names);
    return finishOutput(std::cout, std::cerr, OutputFormat::text, findings.empty() ? kExitDone : kExitFailed);
}

} // namespace

void runDoctor(bool showsNames, int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    const int exitCode = printPage(showsNames);
    // A thread may still wait for an answer.
    std::quick_exit(exitCode);
}

} // namespace vello
