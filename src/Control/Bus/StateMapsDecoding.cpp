// SPDX-License-Identifier: Apache-2.0
// What a client of the bus reads, and what the running instance reads of its clients.
#include "Control/Bus/StateMaps.h"

#include "Control/State/StateWords.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace vello {
namespace {

std::string string(const QVariantMap& map, const char* key) {
    return map.value(QString::fromLatin1(key)).toString().toStdString();
}

std::optional<std::string> optionalString(const QVariantMap& map, const char* key) {
    return map.contains(QString::fromLatin1(key)) ? std::optional(string(map, key)) : std::nullopt;
}

/// A list with this D-Bus signature, whether or not the bus library has already demarshalled it.
template <class List> std::optional<List> list(const QVariant& value, const char* signature) {
    if (value.metaType() == QMetaType::fromType<List>())
        return value.value<List>();
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String(signature))
        return std::nullopt;
    return qdbus_cast<List>(argument);
}

std::optional<std::vector<double>> decodeGains(const QVariant& value) {
    const auto values = list<QList<double>>(value, "ad");
    return values ? std::optional(std::vector<double>(values->begin(), values->end())) : std::nullopt;
}

std::vector<double> gainsOf(const QVariantMap& map) {
    return decodeGains(map.value("bandGains")).value_or(std::vector<double>());
}

SourceState decodeSource(const QVariantMap& map) {
    SourceState state{.source = {.id = string(map, "id"),
                                 .pid = std::nullopt,
                                 .name = string(map, "name"),
                                 .bundleID = optionalString(map, "bundleID")},
                      .settings = {.bandGains = gainsOf(map),
                                   .isBypassed = map.value("isBypassed").toBool(),
                                   .volume = map.value("volume", 1.0).toDouble(),
                                   .outputDeviceUID = optionalString(map, "outputDeviceUID"),
                                   .downmixesSurround = map.value("downmixesSurround").toBool()},
                      .tapState = tapStateOf(string(map, "tap")),
                      .deviceUID = optionalString(map, "device")};
    if (map.contains("pid"))
        state.source.pid = map.value("pid").toInt();
    return state;
}

ExemptStreamState decodeExemptStream(const QVariantMap& map) {
    ExemptStreamState stream{.sourceID = string(map, "id"),
                             .name = string(map, "name"),
                             .streamName = string(map, "stream"),
                             .pid = std::nullopt,
                             .bundleID = optionalString(map, "bundleID"),
                             .deviceUID = optionalString(map, "device"),
                             .isPlaying = map.value("isPlaying").toBool(),
                             .reason = string(map, "reason")};
    if (map.contains("pid"))
        stream.pid = map.value("pid").toInt();
    return stream;
}

MapList maps(const QVariant& value) {
    return list<MapList>(value, "aa{sv}").value_or(MapList());
}

// Decoding of the settings in a change. The types must match exactly.

template <class Value> Value checkedValue(const QVariant& value, const char* sentence) {
    if (value.metaType() != QMetaType::fromType<Value>())
        throw OutsideValueError(OutsideValueError::Kind::invalidValue, sentence);
    return value.value<Value>();
}

void decodeBands(SettingsChange& change, const QVariant& value, bool isStep) {
    const auto gains = list<GainsByFrequency>(value, "a{ud}");
    if (!gains)
        throw OutsideValueError(OutsideValueError::Kind::invalidValue,
                                "the gains of bands are a dictionary of Hz and decibels (a{ud})");
    for (auto entry = gains->begin(); entry != gains->end(); ++entry)
        change.bands.push_back({.band = bandOf(entry.key()), .decibels = entry.value(), .isStep = isStep});
}

/// Whether the key is one of the settings that start from those in force.
bool decodeRelative(SettingsChange& change, const QString& key, const QVariant& value) {
    if (key == "gainsByBand" || key == "gainStepsByBand")
        decodeBands(change, value, key == "gainStepsByBand");
    else if (key == "volumeStep")
        change.volumeStep = checkedValue<double>(value, "volumeStep is a floating-point number (d)");
    else if (key == "volumeFactor")
        change.volumeFactor = checkedValue<double>(value, "volumeFactor is a floating-point number (d)");
    else if (key == "togglesBypass")
        change.togglesBypass = checkedValue<bool>(value, "togglesBypass is true or false (b)");
    else
        return false;
    return true;
}

void decodeSetting(SettingsChange& change, const QString& key, const QVariant& value) {
    if (decodeRelative(change, key, value))
        return;
    if (key == "bandGains") {
        change.bandGains = decodeGains(value);
        if (!change.bandGains)
            throw OutsideValueError(OutsideValueError::Kind::invalidValue,
                                    "bandGains is an array of eight floating-point numbers (ad)");
    } else if (key == "preset") {
        change.presetID = checkedValue<QString>(value, "preset is the id of a preset (s)").toStdString();
    } else if (key == "volume") {
        change.volume = checkedValue<double>(value, "volume is a floating-point number (d)");
    } else if (key == "isBypassed") {
        change.isBypassed = checkedValue<bool>(value, "isBypassed is true or false (b)");
    } else if (key == "downmixesSurround") {
        change.downmixesSurround = checkedValue<bool>(value, "downmixesSurround is true or false (b)");
    } else if (key == "outputDeviceUID") {
        change.outputDeviceUID =
            checkedValue<QString>(value, "outputDeviceUID is the id of an output, or empty (s)")
                .toStdString();
    } else if (key == "reset") {
        change.resetsCurve = checkedValue<bool>(value, "reset is true or false (b)");
    } else if (key == "isNew") {
        change.isNew = checkedValue<bool>(value, "isNew is true or false (b)");
    } else {
        throw OutsideValueError(OutsideValueError::Kind::invalidValue,
                                "unknown setting; the settings are bandGains, gainsByBand, gainStepsByBand, "
                                "preset, reset, volume, volumeStep, volumeFactor, isBypassed, "
                                "togglesBypass, outputDeviceUID, downmixesSurround and isNew");
    }
}

} // namespace

RunningState decodeState(const QVariantMap& properties) {
    RunningState state{.version = string(properties, "Version"),
                       .isProcessingEnabled = properties.value("ProcessingEnabled").toBool(),
                       .consent = consentOf(string(properties, "Permission")),
                       .saveProblem = string(properties, "SaveProblem")};
    state.sources = decodeSources(properties.value("Sources"));
    for (const QVariantMap& map : maps(properties.value("Outputs")))
        state.outputs.push_back({string(map, "id"), string(map, "name"), map.value("isDefault").toBool()});
    for (const QVariantMap& map : maps(properties.value("Presets")))
        state.presets.push_back({.id = string(map, "id"),
                                 .name = string(map, "name"),
                                 .isBuiltIn = map.value("isBuiltIn").toBool(),
                                 .bandGains = gainsOf(map)});
    return state;
}

std::vector<SourceState> decodeSources(const QVariant& sources) {
    std::vector<SourceState> states;
    for (const QVariantMap& map : maps(sources))
        states.push_back(decodeSource(map));
    return states;
}

std::vector<PresetState> decodePresetLists(const PresetLists& lists) {
    constexpr auto bands = static_cast<qsizetype>(EQSettings::bandCount);
    if (lists.builtInNames.size() > lists.ids.size() || lists.gains.size() != lists.ids.size() * bands)
        return {};
    std::vector<PresetState> presets;
    presets.reserve(static_cast<std::size_t>(lists.ids.size()));
    for (qsizetype i = 0; i < lists.ids.size(); ++i) {
        const bool isBuiltIn = i < lists.builtInNames.size();
        const auto first = lists.gains.begin() + i * bands;
        presets.push_back({.id = lists.ids[i].toStdString(),
                           .name = (isBuiltIn ? lists.builtInNames[i] : lists.ids[i]).toStdString(),
                           .isBuiltIn = isBuiltIn,
                           .bandGains = {first, first + bands}});
    }
    return presets;
}

QList<double> decodeNumbers(const QVariant& numbers) {
    return list<QList<double>>(numbers, "ad").value_or(QList<double>());
}

std::vector<MeterReading> decodeMeters(const QVariant& meters) {
    std::vector<MeterReading> readings;
    for (const QVariantMap& map : maps(meters)) {
        MeterReading reading{.id = string(map, "id"), .level = map.value("level").toDouble()};
        if (map.contains("beatsPerMinute"))
            reading.beatsPerMinute = map.value("beatsPerMinute").toInt();
        reading.confidence = map.value("confidence").toDouble();
        readings.push_back(std::move(reading));
    }
    return readings;
}

std::vector<ExemptStreamState> decodeExemptStreams(const QVariant& streams) {
    std::vector<ExemptStreamState> states;
    for (const QVariantMap& map : maps(streams))
        states.push_back(decodeExemptStream(map));
    return states;
}

std::vector<ReadyApplicationState> decodeReadyApplications(const QVariant& applications) {
    std::vector<ReadyApplicationState> states;
    for (const QVariantMap& map : maps(applications))
        states.push_back({.sourceID = string(map, "id"),
                          .name = string(map, "name"),
                          .deviceUID = optionalString(map, "device")});
    return states;
}

SettingsChange decodeChange(const QVariantMap& change) {
    SettingsChange result;
    for (auto entry = change.begin(); entry != change.end(); ++entry)
        decodeSetting(result, entry.key(), entry.value());
    return result;
}

InstanceHealth decodeHealth(const QVariant& health) {
    const auto map = health.metaType() == QMetaType::fromType<QDBusArgument>()
                         ? qdbus_cast<QVariantMap>(health)
                         : health.toMap();
    InstanceHealth decoded{.missedCycles = map.value("missedCycles").toULongLong()};
    for (const QString& error : map.value("errors").toStringList())
        decoded.errors.push_back(error.toStdString());
    return decoded;
}

} // namespace vello
