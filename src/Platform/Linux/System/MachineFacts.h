// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemFacts.h"

#include <filesystem>
#include <string>

namespace vello {

/// Such as "Linux 6.1.0 x86_64".
std::string kernelName();
/// Such as "Debian GNU/Linux 12 (bookworm)"; in Flatpak that of the host. Empty when it cannot be told.
std::string distributionName();
/// Whether this process runs in Flatpak's sandbox.
bool isInFlatpak();
/// The free space where a folder is, or would be created. Blocks on disk I/O.
FolderFacts folderFacts(const std::filesystem::path& folder);
/// Whether the server that listens on the user's PulseAudio socket is PulseAudio itself, and not PipeWire's
/// replacement. Does not wait for an answer.
bool isPulseAudioRunning(const std::filesystem::path& socket);

} // namespace vello
