// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/Client.h"

#include "ClientOutput.h"
#include "Control/CommandLine/CommandLine.h"
#include "PresetFileCommands.h"

#include <cerrno>
#include <cstring>
#include <ostream>
#include <stdexcept>

namespace vello {
namespace {

using Action = ClientRequest::Action;

void setProcessing(const RunningInstance& instance, Action action) {
    const bool isEnabled =
        action == Action::toggle ? !instance.state().isProcessingEnabled : action == Action::turnOn;
    instance.call("SetProcessingEnabled", {isEnabled});
}

/// What the desktop gave to this start of the program: lets it end its feedback about the start, and give the
/// panel the keyboard.
QString startOfThisProcess() {
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

void perform(const ClientRequest& request, const ClientOutput& output) {
    // What an import would save can be told without an instance.
    if (request.action == Action::importPresets)
        return importPresets(request, output);
    RunningInstance instance;
    switch (request.action) {
    case Action::status:
        return request.keepsWatching ? watchStatus(instance, request, output)
                                     : showStatus(instance, request, output);
    case Action::listOutputs:
        return listOutputs(instance, request, output);
    case Action::listPresets:
        return listPresets(instance, request, output);
    case Action::set:
        return changeSource(instance, request, output);
    case Action::follow:
        return followSystem(instance, request);
    case Action::undo:
        return callForSource(instance, request, "UndoSettings");
    case Action::forget:
        return callForSource(instance, request, "ForgetSource");
    case Action::turnOn:
    case Action::turnOff:
    case Action::toggle:
        return setProcessing(instance, request.action);
    case Action::savePreset:
        return savePreset(instance, request);
    case Action::deletePreset:
        return deletePreset(instance, request);
    case Action::renamePreset:
        return renamePreset(instance, request);
    case Action::exportPresets:
        return exportPresets(instance, request.presetFile, output);
    case Action::showPanel:
        return instance.call("ShowPanel", {startOfThisProcess()});
    case Action::importPresets:
    case Action::complete:
        break;
    }
}

} // namespace

void print(const ClientOutput& output, const std::string& printed) {
    errno = 0;
    if (!(output.out << printed << std::flush))
        failToPrint(errno);
}

void failToPrint(int problem) {
    const std::string reason = problem == 0 ? "" : std::string(": ") + std::strerror(problem);
    throw std::runtime_error("cannot write to standard output" + reason);
}

int runClient(const ClientRequest& request, const ClientOutput& output) {
    try {
        if (request.action == Action::complete)
            completeWords(request, output);
        else
            perform(request, output);
        return kExitDone;
    } catch (const InstanceError& error) {
        return reportFailure(output.error, request.format, error.kind(), error.what(),
                             error.isNotRunning() ? kExitNotRunning : kExitFailed);
    } catch (const OutsideValueError& error) {
        return reportFailure(output.error, request.format, word(error.kind()), error.what(), kExitFailed);
    } catch (const std::exception& error) {
        return reportFailure(output.error, request.format, "failed", error.what(), kExitFailed);
    }
}

} // namespace vello
