// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

inline constexpr char kApplicationName[] = "VELLO";
/// Name of the application's folder below the user's data directory.
inline constexpr char kApplicationFolder[] = "EQ by QUORVIN";
/// Log subsystem, D-Bus name, desktop file and icon.
inline constexpr char kBundleIdentifier[] = "com.quorvin.Vello";
/// The manufacturer's web site.
inline constexpr char kWebSite[] = "https://quorvin.example/vello";
/// The guide for users on it: docs/guide.md.
inline constexpr char kGuide[] = "https://quorvin.example/vello/guide";
/// The names of this application's aggregate devices start with this prefix; no other name does.
inline constexpr char kTapNamePrefix[] = "EQ-by-QUORVIN-Tap-";

} // namespace vello
