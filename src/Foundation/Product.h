// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

inline constexpr char kApplicationName[] = "VELLO";
/// Name of the application's folder below the user's data directory.
inline constexpr char kApplicationFolder[] = "EQ by QUORVIN";
/// Log subsystem, D-Bus name, desktop file and icon.
inline constexpr char kBundleIdentifier[] = "com.quorvin.Vello";
/// The maker's.
inline constexpr char kWebSite[] = "https://quorvin.example/vello";
/// Every aggregate device of this application has a name that begins so; nothing else has.
inline constexpr char kTapNamePrefix[] = "EQ-by-QUORVIN-Tap-";

} // namespace vello
