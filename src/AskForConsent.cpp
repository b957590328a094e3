// SPDX-License-Identifier: Apache-2.0
#include "AskForConsent.h"

#include "Control/Permission.h"
#include "Platform/Linux/SpawnedProgram.h"
#include "UI/ConsentAnswerCodes.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// Beside this program, or where an installation keeps programs that no user starts.
fs::path questionProgram() {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    const fs::path beside = folder / kConsentQuestionProgram;
    return fs::exists(beside) ? beside : folder.parent_path() / "libexec/vello" / kConsentQuestionProgram;
}

Consent askOnScreen() {
    switch (awaitExitCode(spawnProgram({questionProgram().string()}))) {
    case kExitConsentAllowed:
        return Consent::allowed;
    case kExitConsentDenied:
        return Consent::denied;
    default:
        return Consent::undecided;
    }
}

} // namespace

/// In the background a terminal would stop a process that reads from it.
bool isOnTerminal() {
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1 &&
           ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

Consent askForConsent() {
    if (isOnTerminal())
        return askOnTerminal(std::cin, std::cerr);
    if (isSet("DISPLAY") || isSet("WAYLAND_DISPLAY"))
        return askOnScreen();
    throw std::runtime_error("there is neither a terminal nor a screen to ask on; to allow VELLO to capture "
                             "what applications play: vello permission allow");
}

} // namespace vello
