// SPDX-License-Identifier: Apache-2.0
#include "AskForConsent.h"

#include "CompanionProgram.h"
#include "Control/CommandLine/Permission.h"
#include "Foundation/Product.h"
#include "Platform/Linux/Consent/ConsentAnswerCodes.h"
#include "Platform/Linux/System/SpawnedProgram.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

namespace vello {
namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// Whether this process can talk to the user on its terminal. Only a foreground process can: reading from the
/// terminal stops a background process.
bool isOnTerminal() {
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1 &&
           ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

/// The window for the question comes with the panel, which an installation need not have.
bool canAskOnScreen() {
    return (isSet("DISPLAY") || isSet("WAYLAND_DISPLAY")) &&
           std::filesystem::exists(companionProgram(kConsentQuestionProgram));
}

Consent askOnScreen() {
    switch (awaitExitCode(spawnProgram({companionProgram(kConsentQuestionProgram).string()}))) {
    case kExitConsentAllowed:
        return Consent::allowed;
    case kExitConsentDenied:
        return Consent::denied;
    default:
        return Consent::undecided;
    }
}

} // namespace

Consent askForConsent() {
    if (isOnTerminal())
        return askOnTerminal(std::cin, std::cerr);
    if (canAskOnScreen())
        return askOnScreen();
    throw std::runtime_error("there is neither a terminal nor a screen to ask on; to allow VELLO to capture "
                             "what applications play: vello permission allow");
}

void startWithConsent(CaptureAuthorization& authorization, SystemLog& log) {
    const Consent consent = authorization.preflight();
    if (consent == Consent::allowed)
        return;
    if (consent == Consent::undecided && isOnTerminal())
        authorization.request([](bool) {});
    else
        Logger(log, kBundleIdentifier, "AskForConsent")
            .notice("Nothing is equalized, since the capture of what applications play is not allowed; to "
                    "allow it: "
                    "vello permission allow");
}

} // namespace vello
