// SPDX-License-Identifier: Apache-2.0
#include "ClientOutput.h"
#include "Control/Bus/StateMaps.h"
#include "Control/State/Hints.h"
#include "Control/State/Lookup.h"
#include "Models/EQPreset.h"

#include <algorithm>

namespace vello {
namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

/// The state with all that `set` and its kind can name.
RunningState stateWithEverySource(const RunningInstance& instance) {
    RunningState state = instance.state();
    state.exemptStreams = instance.exemptStreams();
    state.readyApplications = instance.readyApplications();
    state.storedSources = instance.storedSources();
    return state;
}

std::string sourceID(const RunningState& state, const ClientRequest& request) {
    if (request.change.isNew)
        return findKnownSourceID(state, request.source).value_or(request.source);
    return findSourceID(state, request.source);
}

/// The instance says why a built-in preset stays as it is.
std::string savedPreset(const RunningInstance& instance, const ClientRequest& request) {
    const bool isBuiltIn = EQPreset::fromRawValue(request.presetName).has_value();
    return isBuiltIn ? request.presetName : findUserPresetID(instance.presets(), request.presetName);
}

/// Calls a method that changes settings. The change is on disk when this returns. Settings are not shared,
/// so presets that cannot be shared are no failure of it.
void callAndSave(const RunningInstance& instance, const char* method, const QVariantList& arguments) {
    instance.call(method, arguments);
    try {
        instance.call("Save", {});
    } catch (const InstanceError& error) {
        if (!error.isNotShared())
            throw;
    }
}

/// Calls a method that changes presets. The change is on disk and in the shared folder when this returns.
void callAndShare(const RunningInstance& instance, const char* method, const QVariantList& arguments) {
    instance.call(method, arguments);
    instance.call("Save", {});
}

void hintWhatIsNotHeard(const RunningInstance& instance, const ClientRequest& request, const std::string& id,
                        const ClientOutput& output) {
    const RunningState state = instance.state();
    const auto hasID = [&](const SourceState& entry) { return entry.source.id == id; };
    const auto own = std::ranges::find_if(state.sources, hasID);
    const auto stored = instance.storedSources();
    const auto silent = std::ranges::find_if(stored, hasID);
    if (own == state.sources.end() && silent == stored.end())
        return;
    for (const std::string& reason :
         reasonsNotHeard(state, own == state.sources.end() ? *silent : *own, request.change))
        reportHint(output.error, request.format, reason);
}

} // namespace

void changeSource(const RunningInstance& instance, const ClientRequest& request, const ClientOutput& output) {
    const RunningState state = stateWithEverySource(instance);
    SettingsChange change = request.change;
    if (change.presetID)
        change.presetID =
            findPresetID(instance.presets(), *change.presetID, [&](const std::string& sentence) {
                reportHint(output.error, request.format, sentence);
            });
    if (change.outputDeviceUID)
        change.outputDeviceUID = findOutputUID(state, *change.outputDeviceUID);
    const std::string id = sourceID(state, request);
    callAndSave(instance, "SetSettings", {text(id), encodeChange(change)});
    hintWhatIsNotHeard(instance, request, id, output);
}

void callForSource(const RunningInstance& instance, const ClientRequest& request, const char* method) {
    callAndSave(instance, method, {text(findSourceID(stateWithEverySource(instance), request.source))});
}

void followSystem(const RunningInstance& instance, const ClientRequest& request) {
    const std::string id = findSourceID(stateWithEverySource(instance), request.source);
    if (id == kSystemSourceID)
        throw std::runtime_error("System is what the others follow; name an application");
    const SettingsChange neutral{.resetsCurve = true,
                                 .volume = 1.0,
                                 .isBypassed = false,
                                 .outputDeviceUID = "",
                                 .downmixesSurround = false};
    callAndSave(instance, "SetSettings", {text(id), encodeChange(neutral)});
}

/// Saves the given gains, or the curve in effect: the system-wide one while the source's own settings are
/// neutral.
void savePreset(const RunningInstance& instance, const ClientRequest& request) {
    std::vector<double> saved = request.change.bandGains.value_or(std::vector<double>());
    if (!request.change.bandGains) {
        const RunningState state = instance.state();
        saved = effectiveSettings(state, findSource(state, request.source)).bandGains;
    }
    const QList<double> gains(saved.begin(), saved.end());
    callAndShare(instance, "SavePreset", {text(request.presetName), QVariant::fromValue(gains)});
}

void deletePreset(const RunningInstance& instance, const ClientRequest& request) {
    callAndShare(instance, "DeletePreset", {text(savedPreset(instance, request))});
}

void renamePreset(const RunningInstance& instance, const ClientRequest& request) {
    callAndShare(instance, "RenamePreset", {text(savedPreset(instance, request)), text(request.newName)});
}

} // namespace vello
