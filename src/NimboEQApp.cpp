// SPDX-License-Identifier: Apache-2.0
#include "AppDelegate.h"
#include "AskForConsent.h"
#include "Control/BusPresence.h"
#include "Control/Client.h"
#include "Control/CommandLine.h"
#include "Control/ControlService.h"
#include "Platform/Linux/DescriptorLimit.h"
#include "Platform/Linux/DesktopRunningApplications.h"
#include "Platform/Linux/FolderKeyValueStore.h"
#include "Platform/Linux/JournalSystemLog.h"
#include "Platform/Linux/LinuxCaptureAuthorization.h"
#include "Platform/Linux/LinuxConsentStore.h"
#include "Platform/Linux/PipeWireAudioHardware.h"
#include "Platform/Linux/PipeWireRedirectGuard.h"
#include "Platform/Linux/SingleInstance.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/Linux/UserFolders.h"
#include "Platform/Qt/QtMainThread.h"

#include <QCoreApplication>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <unistd.h>

namespace vello {
namespace {

constexpr char kAlreadyRunning[] = "VELLO is already running in this session; end that one first";

/// Says in one line why it cannot be done and what to do.
int failure(const char* reason) {
    std::fprintf(stderr, "vello: %s\n", reason);
    return 1;
}

int runEventLoop(const std::string& chosenSyncFolder, int argumentCount, char** arguments) {
    const Environment environment = processEnvironment();
    QCoreApplication application(argumentCount, arguments);
    // Qt takes the user's locale over; numbers in files and properties keep their point.
    std::setlocale(LC_NUMERIC, "C");
    QtMainThread mainThread;
    TerminationSignals termination(mainThread, [] { QCoreApplication::quit(); });
    JournalSystemLog log;
    PipeWireAudioHardware hardware(mainThread, log);
    DesktopRunningApplications applications(DesktopFolders::fromEnvironment(environment));
    LinuxCaptureAuthorization authorization(mainThread, log, ConsentPlaces::fromEnvironment(environment));
    FolderKeyValueStore shared(syncFolder(chosenSyncFolder, environment), mainThread, log);
    BusPresence presence(mainThread, log);
    if (presence.isTaken())
        return failure(kAlreadyRunning);
    AppDelegate delegate({hardware, mainThread, applications, termination, authorization, shared, log},
                         userDataFolder(environment));
    ControlService service(delegate.controller(), delegate.meterAudience(), mainThread, nullptr);
    if (!presence.publish(service))
        return failure(kAlreadyRunning);
    startWithConsent(authorization, log);
    return QCoreApplication::exec();
}

int runHeadless(const ParsedCommand& parsed, int argumentCount, char** arguments) {
    // A reader of our lines that has gone is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    raiseDescriptorLimit();
    const auto folder = runtimeFolder(processEnvironment());
    if (!folder)
        return failure("XDG_RUNTIME_DIR is not set; start VELLO inside a user's session");
    // Before the proof of being the only instance, which the guard must not inherit, and before the first
    // thread.
    const PipeWireRedirectGuard guard;
    const auto instance = SingleInstance::acquire(*folder);
    if (!instance)
        return failure(kAlreadyRunning);
    return runEventLoop(parsed.syncFolder, argumentCount, arguments);
}

int runPermissionCommand(PermissionAction action) {
    LinuxConsentStore store(ConsentPlaces::fromEnvironment(processEnvironment()));
    return runPermission(action, store, askForConsent, std::cout, std::cerr);
}

[[noreturn]] void askRunningInstance(const ClientRequest& request, int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    const int exitCode = runClient(request, {std::cout, std::cerr, ::isatty(STDOUT_FILENO) == 1});
    std::cout.flush();
    // Without the end of static objects: the bus library's thread may still be at work, and where it meets a
    // half-ended process it complains on standard error.
    std::quick_exit(exitCode);
}

} // namespace
} // namespace vello

int main(int argumentCount, char** arguments) {
    try {
        const vello::ParsedCommand parsed =
            vello::parseCommandLine(argumentCount, arguments, std::cout, std::cerr);
        switch (parsed.command) {
        case vello::Command::headless:
            return vello::runHeadless(parsed, argumentCount, arguments);
        case vello::Command::render:
            return vello::runRender(parsed.render, std::cerr);
        case vello::Command::analyze:
            return vello::runAnalyze(parsed.analyze, std::cout, std::cerr);
        case vello::Command::permission:
            return vello::runPermissionCommand(parsed.permission);
        case vello::Command::client:
            vello::askRunningInstance(parsed.client, argumentCount, arguments);
        case vello::Command::panel:
            vello::askRunningInstance({.action = vello::ClientRequest::Action::showPanel}, argumentCount,
                                      arguments);
        case vello::Command::none:
            return parsed.exitCode;
        }
    } catch (const std::exception& error) {
        return vello::failure(error.what());
    }
}
