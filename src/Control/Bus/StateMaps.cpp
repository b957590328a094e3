// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/StateMaps.h"

#include "Control/State/StateWords.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace vello {
namespace {

QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

QVariant gains(const std::vector<double>& values) {
    return QVariant::fromValue(QList<double>(values.begin(), values.end()));
}

void insertIfPresent(QVariantMap& map, const char* key, const std::optional<std::string>& value) {
    if (value)
        map.insert(QString::fromLatin1(key), text(*value));
}

QVariantMap encode(const SourceState& state) {
    QVariantMap map{{"id", text(state.source.id)},
                    {"name", text(state.source.name)},
                    {"tap", text(word(state.tapState))},
                    {"bandGains", gains(state.settings.bandGains)},
                    {"isBypassed", state.settings.isBypassed},
                    {"volume", state.settings.volume},
                    {"downmixesSurround", state.settings.downmixesSurround}};
    if (state.source.pid)
        map.insert("pid", int{*state.source.pid});
    insertIfPresent(map, "bundleID", state.source.bundleID);
    insertIfPresent(map, "device", state.deviceUID);
    insertIfPresent(map, "outputDeviceUID", state.settings.outputDeviceUID);
    return map;
}

QVariantMap encode(const ExemptStreamState& stream) {
    QVariantMap map{{"name", text(stream.name)},
                    {"stream", text(stream.streamName)},
                    {"isPlaying", stream.isPlaying},
                    {"reason", text(stream.reason)}};
    if (!stream.sourceID.empty())
        map.insert("id", text(stream.sourceID));
    if (stream.pid)
        map.insert("pid", int{*stream.pid});
    insertIfPresent(map, "bundleID", stream.bundleID);
    insertIfPresent(map, "device", stream.deviceUID);
    return map;
}

QVariantMap encode(const ReadyApplicationState& application) {
    QVariantMap map{{"id", text(application.sourceID)}, {"name", text(application.name)}};
    insertIfPresent(map, "device", application.deviceUID);
    return map;
}

QVariantMap encode(const MeterReading& reading) {
    QVariantMap map{{"id", text(reading.id)}, {"level", reading.level}};
    if (reading.beatsPerMinute) {
        map.insert("beatsPerMinute", *reading.beatsPerMinute);
        map.insert("confidence", reading.confidence);
    }
    return map;
}

template <class State> MapList encodeAll(const std::vector<State>& states) {
    MapList all;
    for (const State& state : states)
        all.append(encode(state));
    return all;
}

void insertBands(QVariantMap& map, const char* key, const std::vector<BandChange>& changes, bool isStep) {
    GainsByFrequency gains;
    for (const BandChange& change : changes)
        if (change.isStep == isStep)
            gains.insert(static_cast<uint>(EQSettings::bandFrequencies[change.band]), change.decibels);
    if (!gains.isEmpty())
        map.insert(QString::fromLatin1(key), QVariant::fromValue(gains));
}

} // namespace

void registerBusTypes() {
    qDBusRegisterMetaType<MapList>();
    qDBusRegisterMetaType<QList<double>>();
    qDBusRegisterMetaType<GainsByFrequency>();
}

MapList encodeSources(const std::vector<SourceState>& sources) {
    return encodeAll(sources);
}

MapList encodeOutputs(const std::vector<AudioOutputRoute>& outputs) {
    MapList all;
    for (const AudioOutputRoute& route : outputs)
        all.append({{"id", text(route.id)}, {"name", text(route.name)}, {"isDefault", route.isDefault}});
    return all;
}

MapList encodePresets(const std::vector<PresetState>& presets) {
    MapList all;
    for (const PresetState& preset : presets)
        all.append({{"id", text(preset.id)},
                    {"name", text(preset.name)},
                    {"isBuiltIn", preset.isBuiltIn},
                    {"bandGains", gains(preset.bandGains)}});
    return all;
}

MapList encodeMeters(const std::vector<SourceState>& sources) {
    MapList all;
    for (const SourceState& state : sources)
        if (state.meters)
            all.append(encode(*state.meters));
    return all;
}

MapList encodeExemptStreams(const std::vector<ExemptStreamState>& streams) {
    return encodeAll(streams);
}

MapList encodeReadyApplications(const std::vector<ReadyApplicationState>& applications) {
    return encodeAll(applications);
}

PresetLists encodePresetLists(const std::vector<PresetState>& presets) {
    PresetLists lists;
    for (const PresetState& preset : presets) {
        lists.ids.append(text(preset.id));
        if (preset.isBuiltIn)
            lists.builtInNames.append(text(preset.name));
        for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
            lists.gains.append(band < preset.bandGains.size() ? preset.bandGains[band] : 0.0);
    }
    return lists;
}

QVariantMap encodeChange(const SettingsChange& change) {
    QVariantMap map;
    const auto insertTrue = [&map](const char* key, bool value) {
        if (value)
            map.insert(QString::fromLatin1(key), true);
    };
    insertTrue("reset", change.resetsCurve);
    insertTrue("togglesBypass", change.togglesBypass);
    insertTrue("isNew", change.isNew);
    insertBands(map, "gainsByBand", change.bands, false);
    insertBands(map, "gainStepsByBand", change.bands, true);
    if (change.volumeStep)
        map.insert("volumeStep", *change.volumeStep);
    if (change.volumeFactor)
        map.insert("volumeFactor", *change.volumeFactor);
    if (change.bandGains)
        map.insert("bandGains", gains(*change.bandGains));
    if (change.volume)
        map.insert("volume", *change.volume);
    if (change.isBypassed)
        map.insert("isBypassed", *change.isBypassed);
    if (change.downmixesSurround)
        map.insert("downmixesSurround", *change.downmixesSurround);
    insertIfPresent(map, "preset", change.presetID);
    insertIfPresent(map, "outputDeviceUID", change.outputDeviceUID);
    return map;
}

QVariantMap encodeHealth(const InstanceHealth& health) {
    QStringList errors;
    for (const std::string& error : health.errors)
        errors.append(QString::fromStdString(error));
    return {{"missedCycles", QVariant::fromValue<qulonglong>(health.missedCycles)}, {"errors", errors}};
}

} // namespace vello
