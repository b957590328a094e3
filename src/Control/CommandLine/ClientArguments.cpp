// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/ClientArguments.h"

#include "ClientCommand.h"
#include "Control/State/Nearest.h"
#include "Control/State/Numbers.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace vello {

struct ClientArguments::Commands {
    ClientCommands all;
};

ClientArguments::ClientArguments(CLI::App& application) : commands_(std::make_unique<Commands>()) {
    addStatusCommands(application, commands_->all);
    addSourceCommands(application, commands_->all);
    addSwitchCommands(application, commands_->all);
    addPresetCommands(application, commands_->all);
}

ClientArguments::~ClientArguments() = default;

std::optional<ClientRequest> ClientArguments::request() const {
    const auto parsed = std::ranges::find_if(
        commands_->all, [](const ClientCommand& each) { return each.command->parsed(); });
    return parsed == commands_->all.end() ? std::nullopt : std::optional(parsed->request());
}

void addFormat(CLI::App& command, OutputFormat& format, const std::string& what) {
    const auto choose = [&format] { format = OutputFormat::json; };
    command.add_flag_callback("--json", choose, what);
}

void addSource(CLI::App& command, std::string& source, const std::string& help) {
    requireText(*command.add_option("SOURCE", source, help)->type_name("")->required());
}

void requireText(CLI::Option& option) {
    option.check(CLI::Validator(
        [](const std::string& text) {
            return text.empty() ? std::string("it is empty; give an id or a name") : std::string();
        },
        "", "word"));
}

void requireOneOf(CLI::Option& option, std::vector<std::string> words) {
    const std::string shown = CLI::detail::join(words, "|");
    option.type_name(shown)->check(CLI::Validator(
        [words, shown](const std::string& text) {
            return std::ranges::find(words, text) != words.end()
                       ? std::string()
                       : "expected one of " + shown + orDidYouMean(text, words);
        },
        "", "word"));
}

void checkGainsText(const std::string& text) {
    const auto gains = parseGains(text);
    if (!gains)
        throw OutsideValueError(OutsideValueError::Kind::invalidValue,
                                "expected eight numbers between -12 and 12, separated by commas");
    checkGains(*gains);
}

std::string refusal(const std::function<void()>& check) {
    try {
        check();
        return "";
    } catch (const OutsideValueError& error) {
        return error.what();
    }
}

void refuse(CLI::Option& option, const std::string& what, std::function<void(const std::string&)> check) {
    option.check(CLI::Validator(
        [check = std::move(check)](const std::string& text) { return refusal([&] { check(text); }); }, "",
        what));
}

} // namespace vello
