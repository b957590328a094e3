// SPDX-License-Identifier: Apache-2.0
#pragma once

/// D-Bus names of the running instance. packaging/dbus describes the interface.
namespace vello::dbus {

inline constexpr char kService[] = "com.quorvin.Vello";
inline constexpr char kPath[] = "/com/quorvin/Vello";
inline constexpr char kInterface[] = "com.quorvin.Vello1";
inline constexpr char kErrorPrefix[] = "com.quorvin.Vello1.Error.";
/// The errors of Save(): the settings are not on disk; they are, but the presets are not shared.
inline constexpr char kNotSaved[] = "NotSaved";
inline constexpr char kNotShared[] = "NotShared";
inline constexpr char kPropertiesInterface[] = "org.freedesktop.DBus.Properties";

} // namespace vello::dbus
