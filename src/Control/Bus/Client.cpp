// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/Client.h"

#include "Control/Bus/RunningInstance.h"
#include "Control/Bus/StateMaps.h"
#include "Control/CommandLine/CommandLine.h"
#include "Control/State/Lookup.h"
#include "Control/State/StateJSON.h"
#include "Control/State/StateText.h"
#include "PresetFileCommands.h"
#include "StatusWatch.h"

#include <ostream>
#include <stdexcept>

namespace vello {
namespace {

using namespace std::chrono_literals;

/// The meters normally arrive within 50 ms; a busy machine may take longer.
constexpr auto kMeterPatience = 500ms;

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

void print(const ClientOutput& output, const std::string& printed) {
    if (!(output.out << printed << std::flush))
        throw std::runtime_error("cannot write to standard output");
}

/// Overwrites the previous output on a terminal; appends otherwise.
void repaint(const ClientOutput& output, const std::string& printed) {
    if (!output.isTerminal)
        return print(output, printed + "\n");
    std::string painted = "\x1b[H";
    for (const char c : printed)
        painted.append(c == '\n' ? "\x1b[K\n" : std::string(1, c));
    print(output, painted + "\x1b[J");
}

RunningState withoutMeters(RunningState state) {
    for (SourceState& source : state.sources)
        source.meters.reset();
    return state;
}

void watchStatus(StatusWatch& watch, const ClientRequest& request, const ClientOutput& output) {
    // In a log of tables, only changes of the state are useful, not every meter reading.
    const bool showsMeters = request.isJSON || output.isTerminal;
    std::optional<RunningState> printed;
    watch.run([&](const RunningState& state) {
        const RunningState shown = showsMeters ? state : withoutMeters(state);
        if (shown == printed)
            return;
        printed = shown;
        if (request.isJSON)
            print(output, statusJSON(shown) + "\n");
        else
            repaint(output, statusText(shown));
    });
}

void showStatus(RunningInstance& instance, const ClientRequest& request, const ClientOutput& output) {
    StatusWatch watch(instance);
    if (request.keepsWatching)
        return watchStatus(watch, request, output);
    RunningState state = watch.once(kMeterPatience);
    if (request.showsAll) {
        state.exemptStreams = instance.exemptStreams();
        state.readyApplications = instance.readyApplications();
    }
    print(output, request.isJSON ? statusJSON(state) + "\n" : statusText(state));
}

void changeSource(const RunningInstance& instance, const ClientRequest& request) {
    RunningState state = instance.state();
    state.exemptStreams = instance.exemptStreams();
    SettingsChange change = request.change;
    if (change.presetID)
        change.presetID = findPresetID(state, *change.presetID);
    if (change.outputDeviceUID)
        change.outputDeviceUID = findOutputUID(state, *change.outputDeviceUID);
    instance.call("SetSettings", {text(findSourceID(state, request.source)), encodeChange(change)});
    instance.call("Save", {});
}

/// Saves the curve in effect: the system-wide one while the source's own settings are neutral.
void savePreset(const RunningInstance& instance, const ClientRequest& request) {
    const RunningState state = instance.state();
    const EQSettings settings = effectiveSettings(state, findSource(state, request.source));
    const QList<double> gains(settings.bandGains.begin(), settings.bandGains.end());
    instance.call("SavePreset", {text(request.presetName), QVariant::fromValue(gains)});
    instance.call("Save", {});
}

void listPresets(const RunningInstance& instance, const ClientRequest& request, const ClientOutput& output) {
    const RunningState state = instance.state();
    print(output, request.isJSON ? presetsJSON(state) + "\n" : presetsText(state));
}

void perform(const ClientRequest& request, const ClientOutput& output) {
    // What an import would save can be told without an instance.
    if (request.action == ClientRequest::Action::importPresets)
        return importPresets(request.presetFile, output);
    RunningInstance instance;
    switch (request.action) {
    case ClientRequest::Action::status:
        return showStatus(instance, request, output);
    case ClientRequest::Action::set:
        return changeSource(instance, request);
    case ClientRequest::Action::turnOn:
    case ClientRequest::Action::turnOff:
        return instance.call("SetProcessingEnabled", {request.action == ClientRequest::Action::turnOn});
    case ClientRequest::Action::listPresets:
        return listPresets(instance, request, output);
    case ClientRequest::Action::savePreset:
        return savePreset(instance, request);
    case ClientRequest::Action::importPresets:
        break;
    case ClientRequest::Action::exportPresets:
        return exportPresets(request.presetFile, output);
    case ClientRequest::Action::showPanel:
        return instance.call("ShowPanel", {qEnvironmentVariable("XDG_ACTIVATION_TOKEN")});
    }
}

} // namespace

int runClient(const ClientRequest& request, const ClientOutput& output) {
    try {
        perform(request, output);
        return kExitDone;
    } catch (const std::exception& error) {
        output.error << "vello: " << error.what() << '\n';
        return kExitFailed;
    }
}

} // namespace vello
