// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/ClientArguments.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace vello {

/// One command for the running instance. `request` converts what was parsed, and throws CLI::ParseError for
/// options that make no sense together.
struct ClientCommand {
    CLI::App* command = nullptr;
    std::function<ClientRequest()> request;
};
using ClientCommands = std::vector<ClientCommand>;

// These define the commands of one topic.

void addStatusCommands(CLI::App& application, ClientCommands& commands);
void addSourceCommands(CLI::App& application, ClientCommands& commands);
void addSwitchCommands(CLI::App& application, ClientCommands& commands);
void addPresetCommands(CLI::App& application, ClientCommands& commands);

// Options that several commands have.

/// "--json"; `what` says what is printed as JSON.
void addFormat(CLI::App& command, OutputFormat& format, const std::string& what);
/// The argument SOURCE.
void addSource(CLI::App& command, std::string& source, const std::string& help);
/// Lets the option refuse an empty value.
void requireText(CLI::Option& option);
/// Lets the option accept only these words, and shows them in the help.
void requireOneOf(CLI::Option& option, std::vector<std::string> words);
/// Throws OutsideValueError unless the text is "g0,...,g7" with gains that a source may have.
void checkGainsText(const std::string& text);
/// The text with which `check` throws OutsideValueError; empty if it does not.
std::string refusal(const std::function<void()>& check);
/// Lets the option refuse what `check` throws OutsideValueError for.
void refuse(CLI::Option& option, const std::string& what, std::function<void(const std::string&)> check);

} // namespace vello
