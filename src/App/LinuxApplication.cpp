// SPDX-License-Identifier: Apache-2.0
#include "LinuxApplication.h"

#include "Foundation/Localization.h"
#include "OnlyInstance.h"

#include <QCoreApplication>

#include <clocale>
#include <utility>

namespace vello {
namespace {

Environment prepareEnvironment() {
    // Qt sets the user's locale. Numbers in files and properties keep the decimal point.
    std::setlocale(LC_NUMERIC, "C");
    setLanguage(preferredLanguage(processEnvironment()));
    return processEnvironment();
}

AudioControllerPorts onlyOn(const BusPresence& presence, const AudioControllerPorts& ports) {
    if (presence.isTaken())
        throw AlreadyRunning();
    return ports;
}

} // namespace

LinuxApplication::LinuxApplication(PipeWireRedirectGuard& guard, const Options& options)
    : environment_(prepareEnvironment()), termination_(mainThread_, [] { QCoreApplication::quit(); }),
      hardware_(mainThread_, log_, {}, &guard), applications_(DesktopFolders::fromEnvironment(environment_)),
      authorization_(log_, ConsentPlaces::fromEnvironment(environment_), options.consentQuestion),
      shared_({sharedFolder(options.syncFolder, environment_), localFolder(environment_)}, mainThread_, log_),
      presence_(mainThread_, log_),
      delegate_(onlyOn(presence_,
                       {hardware_, mainThread_, applications_, termination_, authorization_, shared_, log_}),
                userDataFolder(environment_)),
      // After a freeze the guard has given the streams back until both threads run again. Where the main
      // thread runs and the data thread does not, only a restart helps.
      notifier_(mainThread_, [&guard] { return !guard.isGivenUp(); }) {}

void LinuxApplication::publish(ControlService::ShowPanelAction showPanel) {
    service_.emplace(controller(), meterAudience(), mainThread_, std::move(showPanel), [this] {
        return InstanceHealth{.missedCycles = hardware_.missedCycles(), .errors = log_.lines()};
    });
    if (!presence_.publish(*service_))
        throw AlreadyRunning();
    notifier_.start();
}

} // namespace vello
