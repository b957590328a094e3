// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/CommandLine.h"

#include "ClientCommand.h"
#include "Control/CommandLine/Version.h"
#include "Control/State/Nearest.h"
#include "FileCommands.h"
#include "Foundation/Product.h"
#include "Foundation/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace vello {

namespace {

std::string checkFolder(const std::string& text) {
    return text.empty() ? "expected the name of a folder" : "";
}

/// The arguments of `permission`.
const std::map<std::string, PermissionAction> kPermissionActions{{"allow", PermissionAction::allow},
                                                                 {"ask", PermissionAction::ask},
                                                                 {"deny", PermissionAction::deny},
                                                                 {"show", PermissionAction::show}};

CLI::App* addPermission(CLI::App& application, std::string& action, OutputFormat& format) {
    CLI::App* permission =
        application.add_subcommand("permission", "Allow or deny the capture of what applications play");
    requireOneOf(
        *permission->add_option("ACTION", action,
                                "allow, deny, show what holds (the default), or ask for an answer here"),
        {"allow", "ask", "deny", "show"});
    addFormat(*permission, format, "One JSON object instead of a sentence");
    return permission;
}

CLI::App* addDoctor(CLI::App& application, bool& showsNames) {
    CLI::App* doctor = application.add_subcommand(
        "doctor", "Find what keeps VELLO from equalizing; print a page for a report");
    doctor->add_flag("--names", showsNames, "With the names of applications and of what they play");
    return doctor;
}

constexpr std::string_view kHint = "; try vello --help";
constexpr std::size_t kLongestQuote = 60; ///< columns

std::vector<std::string> knownCommands(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* each : command.get_subcommands(nullptr))
        names.push_back(each->get_name());
    return names;
}

std::vector<std::string> knownOptions(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

/// The command that the user has got to, such as "preset save".
const CLI::App& innermost(const CLI::App& application) {
    const auto parsed = application.get_subcommands();
    return parsed.empty() ? application : innermost(*parsed.front());
}

/// What to say of the first word that nobody expected; empty if there is no such word.
std::string unexpectedWord(const CLI::App& application) {
    const auto unexpected = application.remaining(true);
    if (unexpected.empty())
        return "";
    const CLI::App& command = innermost(application);
    const std::string& word = unexpected.front();
    const bool isOption = word.starts_with("-");
    const std::vector<std::string> known = isOption ? knownOptions(command) : knownCommands(command);
    const char* const kind = isOption ? "there is no option " : "there is no command ";
    return (known.empty() ? "there is a word too many: " : kind) + std::string("\"") +
           fittedText(word, kLongestQuote) + "\"" + orDidYouMean(word, known);
}

/// The parser's own words list all that follows the wrong one, too.
std::string sentenceOf(const CLI::ParseError& reason, const CLI::App& application) {
    const std::string unexpected = unexpectedWord(application);
    const bool isAboutIt = dynamic_cast<const CLI::ExtrasError*>(&reason) != nullptr ||
                           dynamic_cast<const CLI::RequiredError*>(&reason) != nullptr;
    return isAboutIt && !unexpected.empty() ? unexpected : reason.what();
}

ParsedCommand finish(CLI::App& application, const CLI::ParseError& reason, OutputFormat format,
                     std::ostream& out, std::ostream& error) {
    if (reason.get_exit_code() == 0) {
        application.exit(reason, out, error);
        return {.exitCode = finishOutput(out, error, format, kExitDone)};
    }
    const std::string sentence = sentenceOf(reason, application) + std::string(kHint);
    return {.exitCode = reportFailure(error, format, "usage", sentence, kExitWrongUsage)};
}

/// A wrong option may keep the one for the format from being parsed.
OutputFormat formatOf(std::span<const char* const> arguments) {
    const auto isJSON = [](const char* word) { return std::string_view(word) == "--json"; };
    return std::ranges::any_of(arguments, isJSON) ? OutputFormat::json : OutputFormat::text;
}

/// The commands and options of the program, and what the user wrote.
struct Program {
    Program();
    ParsedCommand parsed() const;

    CLI::App application{"Equalizes the sound of each application separately.", "vello"};
    ParsedCommand written{.command = Command::panel};
    bool isHeadless = false;
    RenderArguments renderArguments;
    AnalyzeArguments analyzeArguments;
    std::string permissionAction = "show", shell;
    CLI::App *render = nullptr, *analyze = nullptr, *permission = nullptr, *doctor = nullptr,
             *completion = nullptr;
    std::optional<ClientArguments> client;
};

Program::Program() {
    application.set_version_flag("--version", std::string(kApplicationName) + " " + kVersion);
    CLI::Option* headless = application.add_flag("--headless", isHeadless,
                                                 "Run the engine without a screen until SIGTERM or SIGINT");
    CLI::Option* background = application
                                  .add_flag("--background", written.isInBackground,
                                            "Start with the tray item only, the panel closed")
                                  ->excludes(headless);
    CLI::Option* sync = application
                            .add_option("--sync-folder", written.syncFolder,
                                        "Folder that shares presets with the user's other machines")
                            ->type_name("FOLDER")
                            ->check(CLI::Validator(checkFolder, "", "folder"));
    client.emplace(application);
    render = addRender(application, renderArguments);
    analyze = addAnalyze(application, analyzeArguments);
    permission = addPermission(application, permissionAction, written.format);
    doctor = addDoctor(application, written.showsNames);
    completion =
        application.add_subcommand("completion", "Print the completion of these commands for a shell");
    requireOneOf(*completion->add_option("SHELL", shell, "The shell")->required(), completedShells());
    for (CLI::App* command : application.get_subcommands({}))
        command->excludes(headless)->excludes(background)->excludes(sync);
    application.require_subcommand(0, 1);
}

ParsedCommand Program::parsed() const {
    ParsedCommand result = written;
    if (const auto request = client->request()) {
        result.command = Command::client;
        result.client = *request;
    } else if (render->parsed()) {
        result.command = Command::render;
        result.render = renderOptions(renderArguments);
    } else if (analyze->parsed()) {
        result.command = Command::analyze;
        result.analyze = {analyzeArguments.input, analyzeArguments.format};
    } else if (permission->parsed()) {
        result.command = Command::permission;
        result.permission = kPermissionActions.at(permissionAction);
    } else if (doctor->parsed()) {
        result.command = Command::doctor;
    } else if (completion->parsed()) {
        result.command = Command::none;
    } else if (isHeadless) {
        result.command = Command::headless;
    }
    return result;
}

constexpr std::string_view kComplete = "complete";

/// `vello complete -- WORD...`: the shells' scripts ask what may stand in place of the last word. It is not
/// parsed like other commands, because its words are those of an unfinished one.
ParsedCommand completeWords(std::span<const char* const> arguments) {
    const std::vector<std::string> words(arguments.begin(), arguments.end());
    return {.command = Command::client,
            .client = {.action = ClientRequest::Action::complete,
                       .completion = completionOf(Program().application, words)}};
}

} // namespace

ParsedCommand parseCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& error) {
    const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
    if (argc > 3 && argv[1] == kComplete && std::string_view(argv[2]) == "--")
        return completeWords(arguments.subspan(3));
    Program program;
    try {
        program.application.parse(argc, argv);
        ParsedCommand parsed = program.parsed();
        if (program.completion->parsed()) {
            out << completionScript(program.shell);
            parsed.exitCode = finishOutput(out, error, OutputFormat::text, kExitDone);
        }
        return parsed;
    } catch (const CLI::ParseError& reason) {
        return finish(program.application, reason, formatOf(arguments), out, error);
    }
}

} // namespace vello
