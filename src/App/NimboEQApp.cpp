// SPDX-License-Identifier: Apache-2.0
#include "AskForConsent.h"
#include "AskRunningInstance.h"
#include "CompanionProgram.h"
#include "Control/CommandLine/CommandLine.h"
#include "Doctor.h"
#include "LinuxApplication.h"
#include "OnlyInstance.h"
#include "Platform/Linux/Consent/LinuxConsentStore.h"
#include "Platform/Linux/System/CharacterEncoding.h"
#include "SavedPresets.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <unistd.h>

namespace vello {
namespace {

/// Prints one line with the reason and the remedy.
int failure(const char* reason) {
    std::fprintf(stderr, "vello: %s\n", reason);
    return 1;
}

int runHeadless(const ParsedCommand& parsed, int argumentCount, char** arguments) {
    OnlyInstance instance;
    const QCoreApplication toolkit(argumentCount, arguments);
    LinuxApplication application(instance.guard(), {.syncFolder = parsed.syncFolder});
    application.publish(nullptr);
    startWithConsent(application.captureAuthorization(), application.log());
    return QCoreApplication::exec();
}

/// Replaces this process with vello-panel, the program that draws windows, so that no other command has to
/// load Qt Quick.
int startPanel(const ParsedCommand& parsed, char** arguments) {
    if (!parsed.syncFolder.empty())
        ::setenv("VELLO_SYNC_FOLDER", parsed.syncFolder.c_str(), 1);
    const std::string program = companionProgram("vello-panel");
    std::string background = kInBackground;
    char* const words[] = {arguments[0], parsed.isInBackground ? background.data() : nullptr, nullptr};
    ::execv(program.c_str(), words);
    return failure("its program vello-panel is missing; install the package vello-panel, or VELLO again");
}

int runPermissionCommand(const ParsedCommand& parsed) {
    LinuxConsentStore store(ConsentPlaces::fromEnvironment(processEnvironment()));
    return runPermission(parsed.permission, parsed.format, store, askForConsent, std::cout, std::cerr);
}

} // namespace
} // namespace vello

int main(int argumentCount, char** arguments) {
    vello::useUTF8();
    try {
        const vello::ParsedCommand parsed =
            vello::parseCommandLine(argumentCount, arguments, std::cout, std::cerr);
        switch (parsed.command) {
        case vello::Command::headless:
            return vello::runHeadless(parsed, argumentCount, arguments);
        case vello::Command::render:
            return vello::runRender(parsed.render, vello::savedPresets, std::cerr);
        case vello::Command::analyze:
            return vello::runAnalyze(parsed.analyze, std::cout, std::cerr);
        case vello::Command::permission:
            return vello::runPermissionCommand(parsed);
        case vello::Command::doctor:
            vello::runDoctor(parsed.showsNames, argumentCount, arguments);
        case vello::Command::client:
            vello::askRunningInstance(parsed.client, argumentCount, arguments);
        case vello::Command::panel:
            return vello::startPanel(parsed, arguments);
        case vello::Command::none:
            return parsed.exitCode;
        }
    } catch (const vello::AlreadyRunning& other) {
        return vello::leavesTheSessionTo(other) ? 0 : vello::failure(other.what());
    } catch (const std::exception& error) {
        return vello::failure(error.what());
    }
}
