// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/OutsideValues.h"
#include "Control/State/RunningState.h"

#include <QList>
#include <QMap>
#include <QVariant>

/// The state and the changes of settings as they travel over the bus. Text that is no UTF-8 arrives with
/// replacement characters.
namespace vello {

using MapList = QList<QVariantMap>;

/// Makes the lists known to the bus library. Before anything of this kind is sent or received.
void registerBusTypes();

MapList encodeSources(const std::vector<SourceState>& sources);
MapList encodeOutputs(const std::vector<AudioOutputRoute>& outputs);
MapList encodePresets(const std::vector<PresetState>& presets);
MapList encodeMeters(const std::vector<SourceState>& sources);
MapList encodeExemptStreams(const std::vector<ExemptStreamState>& streams);
QVariantMap encodeChange(const SettingsChange& change);

/// From all properties of the interface. What is missing or of another type gets its default.
RunningState decodeState(const QVariantMap& properties);
std::vector<MeterReading> decodeMeters(const QVariant& meters);
/// From a list of maps, whether the bus library has unpacked it already or not.
std::vector<ExemptStreamState> decodeExemptStreams(const QVariant& streams);
/// Throws OutsideValueError for a key that it does not know and a value of the wrong type.
SettingsChange decodeChange(const QVariantMap& change);

} // namespace vello
