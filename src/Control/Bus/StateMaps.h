// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/InstanceHealth.h"
#include "Control/State/OutsideValues.h"
#include "Control/State/RunningState.h"

#include <QList>
#include <QMap>
#include <QStringList>
#include <QVariant>

/// Converts the state and changes of settings to and from D-Bus types. Invalid UTF-8 becomes replacement
/// characters.
namespace vello {

using MapList = QList<QVariantMap>;
using GainsByFrequency = QMap<uint, double>; ///< Hz, dB

/// Registers the list types with the bus library. Call before sending or receiving any of them.
void registerBusTypes();

MapList encodeSources(const std::vector<SourceState>& sources);
MapList encodeOutputs(const std::vector<AudioOutputRoute>& outputs);
MapList encodePresets(const std::vector<PresetState>& presets);
MapList encodeMeters(const std::vector<SourceState>& sources);
MapList encodeExemptStreams(const std::vector<ExemptStreamState>& streams);
/// All presets in three lists, many times faster than encodePresets() when there are thousands.
struct PresetLists {
    QStringList ids;          ///< the built-in presets, then the user's
    QStringList builtInNames; ///< for the user
    QList<double> gains;      ///< dB, EQSettings::bandCount for each preset
};
/// A preset with another number of gains gets zeros for the missing ones.
PresetLists encodePresetLists(const std::vector<PresetState>& presets);
MapList encodeReadyApplications(const std::vector<ReadyApplicationState>& applications);
QVariantMap encodeChange(const SettingsChange& change);
QVariantMap encodeHealth(const InstanceHealth& health);

/// Decodes all properties of the interface. A property that is missing or of the wrong type gets its default.
RunningState decodeState(const QVariantMap& properties);
std::vector<MeterReading> decodeMeters(const QVariant& meters);
/// These decode a list of maps, whether or not the bus library has already demarshalled it.
std::vector<ExemptStreamState> decodeExemptStreams(const QVariant& streams);
std::vector<ReadyApplicationState> decodeReadyApplications(const QVariant& applications);
std::vector<SourceState> decodeSources(const QVariant& sources);
/// Returns no presets if the lengths of the lists do not fit together.
std::vector<PresetState> decodePresetLists(const PresetLists& lists);
QList<double> decodeNumbers(const QVariant& numbers);
/// A value that is missing or of the wrong type gets its default.
InstanceHealth decodeHealth(const QVariant& health);
/// Throws OutsideValueError for an unknown key or a value of the wrong type.
SettingsChange decodeChange(const QVariantMap& change);

} // namespace vello
