// SPDX-License-Identifier: Apache-2.0
#include "OnlyInstance.h"

#include "CompanionProgram.h"
#include "Platform/Linux/System/DescriptorLimit.h"
#include "Platform/Linux/System/LargeBlocks.h"
#include "Platform/Linux/System/ServiceNotifier.h"
#include "Platform/Linux/System/UserFolders.h"

#include <csignal>

namespace vello {
namespace {

/// Returns the session's runtime folder.
std::filesystem::path prepareProcess() {
    // A closed pipe on standard output must not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    raiseDescriptorLimit();
    mapLargeBlocks();
    const auto folder = runtimeFolder(processEnvironment());
    if (!folder)
        throw std::runtime_error("XDG_RUNTIME_DIR is not set; start VELLO inside a user's session");
    return *folder;
}

SingleInstance acquireInstance(const std::filesystem::path& runtimeFolder) {
    auto instance = SingleInstance::acquire(runtimeFolder);
    if (!instance)
        throw AlreadyRunning();
    return std::move(*instance);
}

} // namespace

AlreadyRunning::AlreadyRunning()
    : std::runtime_error("VELLO is already running in this session; end that one first") {}

bool leavesTheSessionTo(const AlreadyRunning& other) {
    if (!ServiceManager::fromEnvironment().isPresent)
        return false;
    reportNothingToDo(other.what());
    return true;
}

OnlyInstance::OnlyInstance()
    : runtimeFolder_(prepareProcess()), instance_(acquireInstance(runtimeFolder_)),
      guard_(companionProgram(kRedirectGuardProgram)) {}

} // namespace vello
