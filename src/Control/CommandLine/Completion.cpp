// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Completion.h"

#include "CompletionScripts.h"
#include "Models/EQPreset.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <utility>

namespace vello {
namespace {

using Values = Completion::Values;

/// Type names of options and names of arguments, and the values behind them.
constexpr std::array kValues{std::pair{std::string_view("SOURCE"), Values::sources},
                             std::pair{std::string_view("PRESET"), Values::presets},
                             std::pair{std::string_view("OUTPUT"), Values::outputs},
                             std::pair{std::string_view("FOLDER"), Values::files},
                             std::pair{std::string_view("FILE"), Values::files},
                             std::pair{std::string_view("IN"), Values::files},
                             std::pair{std::string_view("OUT"), Values::files}};

const std::array kScripts{std::pair{"bash", kBashCompletion}, std::pair{"zsh", kZshCompletion},
                          std::pair{"fish", kFishCompletion}};

Values valuesOf(std::string_view name) {
    const auto found = std::ranges::find(kValues, name, &std::pair<std::string_view, Values>::first);
    return found == kValues.end() ? Values::none : found->second;
}

/// The words in "on|off".
std::vector<CompletionWord> alternatives(const std::string& typeName) {
    std::vector<CompletionWord> words;
    if (typeName.find('|') != std::string::npos)
        for (const std::string& word : CLI::detail::split(typeName, '|'))
            words.push_back({word});
    return words;
}

std::vector<CompletionWord> builtInPresets() {
    std::vector<CompletionWord> words;
    for (const EQPreset preset : EQPreset::allCases())
        words.push_back({std::string(preset.id()), preset.displayName()});
    return words;
}

Completion valuesOfOption(const CLI::Option& option) {
    const std::string typeName = option.get_type_name();
    Completion completion{.words = alternatives(typeName), .values = valuesOf(typeName)};
    if (completion.values == Values::presets)
        completion.words = builtInPresets();
    return completion;
}

/// Arguments name what exists: a source that can be changed, a preset that can be deleted.
Completion valuesOfArgument(const CLI::App& command, const CLI::Option& argument) {
    const std::string name = argument.get_name();
    Completion completion{.words = alternatives(argument.get_type_name()), .values = valuesOf(name)};
    if (completion.values == Values::presets)
        completion.values = Values::userPresets;
    if (completion.values == Values::sources)
        completion.values = command.get_name() == "forget" ? Values::storedSources : Values::settableSources;
    return completion;
}

std::vector<const CLI::Option*> options(const CLI::App& command, bool isPositional) {
    return command.get_options(
        [&](const CLI::Option* option) { return option->get_positional() == isPositional; });
}

Completion optionNames(const CLI::App& command) {
    Completion completion;
    for (const CLI::Option* option : options(command, false))
        for (const std::string& name : option->get_lnames())
            completion.words.push_back({"--" + name, option->get_description()});
    return completion;
}

std::vector<const CLI::App*> subcommands(const CLI::App& command) {
    return command.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); });
}

/// Walks along the complete words to the place of the last one.
class Place {
public:
    explicit Place(const CLI::App& application) : command_(&application) {}

    void pass(const std::string& word) {
        if (awaiting_ != nullptr)
            awaiting_ = nullptr;
        else if (word.starts_with("-"))
            passOption(word);
        else if (const CLI::App* subcommand = subcommandNamed(word))
            command_ = subcommand;
        else
            ++arguments_;
    }

    Completion at(const std::string& word) const {
        if (awaiting_ != nullptr)
            return valuesOfOption(*awaiting_);
        if (word.starts_with("-"))
            return optionNames(*command_);
        if (const auto all = subcommands(*command_); !all.empty())
            return names(all);
        const CLI::Option* argument = argumentHere();
        return argument != nullptr ? valuesOfArgument(*command_, *argument) : optionNames(*command_);
    }

private:
    void passOption(const std::string& word) {
        const CLI::Option* option = command_->get_option_no_throw(word);
        if (option != nullptr && option->get_items_expected_max() > 0)
            awaiting_ = option;
    }

    /// The last argument of a command may stand for several words.
    const CLI::Option* argumentHere() const {
        const auto arguments = options(*command_, true);
        if (arguments_ < arguments.size())
            return arguments[arguments_];
        const bool isRepeated = !arguments.empty() && arguments.back()->get_items_expected_max() > 1;
        return isRepeated ? arguments.back() : nullptr;
    }

    const CLI::App* subcommandNamed(const std::string& word) const {
        const auto all = subcommands(*command_);
        const auto found =
            std::ranges::find(all, word, [](const CLI::App* each) { return each->get_name(); });
        return found == all.end() ? nullptr : *found;
    }

    static Completion names(const std::vector<const CLI::App*>& commands) {
        Completion completion;
        for (const CLI::App* command : commands)
            completion.words.push_back({command->get_name(), command->get_description()});
        return completion;
    }

    const CLI::App* command_;
    const CLI::Option* awaiting_ = nullptr; ///< the option whose value comes next
    std::size_t arguments_ = 0;
};

} // namespace

Completion completionOf(const CLI::App& application, std::span<const std::string> words) {
    if (words.empty())
        return {};
    Place place(application);
    for (const std::string& word : words.first(words.size() - 1))
        place.pass(word);
    return place.at(words.back());
}

const char* completionScript(const std::string& shell) {
    const auto found =
        std::ranges::find(kScripts, shell, [](const auto& entry) { return std::string(entry.first); });
    return found == kScripts.end() ? nullptr : found->second;
}

std::vector<std::string> completedShells() {
    std::vector<std::string> shells;
    for (const auto& [shell, script] : kScripts)
        shells.emplace_back(shell);
    return shells;
}

} // namespace vello
