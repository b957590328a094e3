// SPDX-License-Identifier: Apache-2.0
#include "ClientOutput.h"
#include "Control/State/StateJSON.h"
#include "Control/State/StateText.h"
#include "StatusWatch.h"

namespace vello {
namespace {

using namespace std::chrono_literals;

/// The meters normally arrive within 50 ms; a busy machine may take longer.
constexpr auto kMeterPatience = 500ms;

} // namespace

void showStatus(RunningInstance& instance, const ClientRequest& request, const ClientOutput& output) {
    StatusWatch watch(instance, StatusWatch::Levels::told);
    RunningState state = watch.once(kMeterPatience);
    if (request.showsAll) {
        state.exemptStreams = instance.exemptStreams();
        state.readyApplications = instance.readyApplications();
        state.storedSources = instance.storedSources();
    }
    if (request.format == OutputFormat::json)
        return print(output, statusJSON(state) + "\n");
    state.presets = instance.presets(); // they name the curves
    print(output, statusText(state));
}

void listOutputs(const RunningInstance& instance, const ClientRequest& request, const ClientOutput& output) {
    const RunningState state = instance.state();
    print(output, request.format == OutputFormat::json ? outputsJSON(state) + "\n" : outputsText(state));
}

void listPresets(const RunningInstance& instance, const ClientRequest& request, const ClientOutput& output) {
    RunningState state;
    state.presets = instance.presets();
    print(output, request.format == OutputFormat::json ? presetsJSON(state) + "\n" : presetsText(state));
}

} // namespace vello
