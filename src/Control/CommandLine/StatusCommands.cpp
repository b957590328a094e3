// SPDX-License-Identifier: Apache-2.0
#include "ClientCommand.h"

#include "Control/State/Numbers.h"

#include <CLI/CLI.hpp>

namespace vello {
namespace {

using Action = ClientRequest::Action;

void checkRate(const std::string& text) {
    const auto rate = parseNumber(text);
    if (!rate || !(*rate >= kLowestLevelRate) || *rate > kHighestLevelRate)
        throw OutsideValueError(OutsideValueError::Kind::invalidValue, "expected a number from 0.1 to 20");
}

void addStatus(CLI::App& application, ClientCommands& commands) {
    struct Words {
        ClientRequest request{.action = Action::status};
        std::string rate;
    };
    const auto words = std::make_shared<Words>();
    CLI::App* status = application.add_subcommand("status", "Show the sources of the running VELLO");
    addFormat(*status, words->request.format,
              "One JSON object instead of a table; with --watch, an event a line");
    CLI::Option* watch =
        status->add_flag("--watch", words->request.keepsWatching, "Show every change until Ctrl+C");
    status
        ->add_flag("--all", words->request.showsAll,
                   "Also the streams that VELLO leaves as they are, and why, what it holds ready, and the "
                   "sources with settings that do not play")
        ->excludes(watch);
    CLI::Option* levels =
        status->add_flag("--levels", words->request.showsLevels, "Watch levels and tempo too")->needs(watch);
    refuse(*status->add_option("--rate", words->rate, "Levels a second at most, 0.1 to 20 (default: 20)")
                ->type_name("HZ")
                ->needs(levels),
           "rate", checkRate);
    commands.push_back({status, [words] {
                            words->request.levelRate = parseNumber(words->rate).value_or(kHighestLevelRate);
                            return words->request;
                        }});
}

void addOutputs(CLI::App& application, ClientCommands& commands) {
    const auto request = std::make_shared<ClientRequest>(ClientRequest{.action = Action::listOutputs});
    CLI::App* outputs = application.add_subcommand("outputs", "Show the outputs that a source can play on");
    addFormat(*outputs, request->format, "One JSON array instead of a table");
    commands.push_back({outputs, [request] { return *request; }});
}

} // namespace

void addStatusCommands(CLI::App& application, ClientCommands& commands) {
    addStatus(application, commands);
    addOutputs(application, commands);
}

void addSwitchCommands(CLI::App& application, ClientCommands& commands) {
    const auto add = [&](const char* name, Action action, const char* help) {
        const auto request = std::make_shared<ClientRequest>(ClientRequest{.action = action});
        CLI::App* command = application.add_subcommand(name, help);
        addFormat(*command, request->format, "Errors as JSON");
        commands.push_back({command, [request] { return *request; }});
    };
    add("on", Action::turnOn, "Switch the equalizer of all sources on");
    add("off", Action::turnOff, "Switch the equalizer of all sources off");
    add("toggle", Action::toggle, "Switch the equalizer of all sources on if it is off, and off if it is on");
}

} // namespace vello
