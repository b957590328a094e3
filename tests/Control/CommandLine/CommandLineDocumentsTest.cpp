// SPDX-License-Identifier: Apache-2.0
// The manual page and the shell completion list exactly the existing commands and options.
#include "Control/CommandLine/CommandLine.h"

#include "ChildProcess.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <sstream>

namespace vello {
namespace {

using Options = std::set<std::string>;
/// Long options by command, such as "set" or "preset save"; "" for those without a command.
using OptionsByCommand = std::map<std::string, Options>;

std::string helpOf(const std::string& command) {
    std::vector<std::string> words{"vello"};
    std::istringstream stream(command);
    for (std::string word; stream >> word;)
        words.push_back(word);
    words.emplace_back("--help");
    std::vector<const char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(word.c_str());
    std::ostringstream out;
    std::ostringstream error;
    parseCommandLine(static_cast<int>(arguments.size()), arguments.data(), out, error);
    return out.str();
}

bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || c == '-';
}

std::string leadingName(std::string_view text) {
    return std::string(text.begin(), std::ranges::find_if_not(text, isNameCharacter));
}

/// Collects the long options in a line.
void collectOptions(std::string_view line, Options& options) {
    for (auto begin = line.find("--"); begin != std::string_view::npos; begin = line.find("--", begin)) {
        const std::string name = leadingName(line.substr(begin));
        if (name != "--help") // every command has it
            options.insert(name);
        begin += name.size();
    }
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        all.push_back(line);
    return all;
}

void collectHelp(const std::string& command, OptionsByCommand& all) {
    Options& options = all[command];
    std::string section;
    for (const std::string& line : lines(helpOf(command))) {
        if (line.ends_with(':'))
            section = line;
        const bool isEntry = line.starts_with("  ") && line.size() > 2 && isNameCharacter(line[2]);
        if (isEntry && section == "Options:")
            collectOptions(line.substr(0, line.find(' ', 2)), options);
        if (isEntry && section == "Subcommands:")
            collectHelp(command + (command.empty() ? "" : " ") + leadingName(line.substr(2)), all);
    }
}

OptionsByCommand real() {
    OptionsByCommand all;
    collectHelp("", all);
    return all;
}

/// Returns "preset save" for ".SS vello preset save NAME".
std::string commandOf(const std::string& heading) {
    std::istringstream stream(heading);
    std::string word;
    stream >> word >> word; // the macro and the program
    std::string command;
    while (stream >> word && leadingName(word) == word)
        command.append(command.empty() ? "" : " ").append(word);
    return command;
}

OptionsByCommand documented() {
    OptionsByCommand all;
    Options* options = nullptr;
    for (std::string line : lines(readTestFile(VELLO_MANUAL_PAGE))) {
        std::erase(line, '\\'); // the page has \- for -
        if (line.starts_with(".SH"))
            options = nullptr;
        if (line.starts_with(".SS"))
            options = &all[commandOf(line)];
        if (options != nullptr && line.starts_with(".B"))
            collectOptions(line, *options);
    }
    return all;
}

class Completion : public testing::Test {
protected:
    /// Bash completions for these words; the last word is incomplete.
    std::vector<std::string> offered(const std::vector<std::string>& words) {
        const std::string script = "source \"$0\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _vello; "
                                   "((${#COMPREPLY[@]} == 0)) || printf '%s\\n' \"${COMPREPLY[@]}\"";
        std::vector<std::string> command{"bash", "-c", script, VELLO_COMPLETION, "vello"};
        command.insert(command.end(), words.begin(), words.end());
        return lines(session::runProgram(command, environment(), folder_.path()));
    }
    /// Finds `vello` as an installed one is found, and no running instance.
    session::Environment environment() const {
        session::Environment result = session::ownEnvironment();
        const auto programs = std::filesystem::path(VELLO_EXECUTABLE).parent_path().string();
        result["PATH"] = programs + ":" + result["PATH"];
        result.erase("DBUS_SESSION_BUS_ADDRESS");
        result["XDG_RUNTIME_DIR"] = folder_ / "nowhere";
        return result;
    }
    /// What a shell prints for `script`; nullopt if it is not installed. `script` sees the file as $1.
    std::optional<std::string> printed(const std::string& shell, const std::string& file,
                                       const std::string& script) {
        if (!isInstalled(shell))
            return std::nullopt;
        std::vector<std::string> command{shell, "-c", script, file};
        if (shell != "fish")
            command.insert(command.begin() + 3, shell); // $0
        return session::runProgram(command, environment(), folder_.path());
    }
    static bool isInstalled(const std::string& shell) {
        return std::filesystem::exists("/usr/bin/" + shell) || std::filesystem::exists("/bin/" + shell);
    }

    TemporaryFolder folder_;
};

TEST(ManualPage, HasEveryCommandAndOptionAndNoOther) {
    const OptionsByCommand all = real();
    EXPECT_GE(all.size(), 10U);
    EXPECT_EQ(documented(), all);
}

TEST_F(Completion, OffersEveryCommandAndNoOther) {
    std::vector<std::string> commands;
    for (const auto& [command, options] : real())
        if (!command.empty() && command.find(' ') == std::string::npos)
            commands.push_back(command);
    EXPECT_THAT(offered({""}), testing::UnorderedElementsAreArray(commands));
    EXPECT_THAT(offered({"preset", ""}),
                testing::UnorderedElementsAre("delete", "export", "import", "rename", "save"));
}

TEST_F(Completion, OffersEveryOptionOfACommandAndNoOther) {
    for (auto [command, options] : real()) {
        std::vector<std::string> words;
        std::istringstream stream(command);
        for (std::string word; stream >> word;)
            words.push_back(word);
        words.emplace_back("--");
        options.insert("--help");
        EXPECT_THAT(offered(words), testing::UnorderedElementsAreArray(options)) << command;
    }
}

TEST_F(Completion, OffersTheValuesThatAreFixed) {
    EXPECT_THAT(offered({"set", "x", "--bypass", "o"}), testing::ElementsAre("off", "on"));
    EXPECT_THAT(offered({"set", "x", "--bypass", "t"}), testing::ElementsAre("toggle"));
    EXPECT_THAT(offered({"set", "x", "--downmix", "o"}), testing::ElementsAre("off", "on"));
    EXPECT_THAT(offered({"completion", ""}), testing::ElementsAre("bash", "fish", "zsh"));
    EXPECT_THAT(offered({"permission", "a"}), testing::UnorderedElementsAre("allow", "ask"));
    EXPECT_THAT(offered({"render", "--preset", "v"}), testing::ElementsAre("vocal"));
    EXPECT_THAT(offered({"set", "x", "--volume", ""}), testing::IsEmpty());
}

TEST_F(Completion, OffersFiles) {
    writeTestFile(folder_ / "a sound.wav", "");
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"render"}, {"preset", "import"}, {"preset", "export", "--output"}}) {
        std::vector<std::string> unfinished = words;
        unfinished.push_back((folder_ / "a s").string());
        EXPECT_THAT(offered(unfinished), testing::ElementsAre((folder_ / "a sound.wav").string()));
    }
}

TEST_F(Completion, IsPrintedByTheProgramAsItIsInstalled) {
    for (const auto& [shell, file] :
         {std::pair{"bash", "vello"}, {"zsh", "_vello"}, {"fish", "vello.fish"}}) {
        const char* arguments[] = {"vello", "completion", shell};
        std::ostringstream out;
        parseCommandLine(3, arguments, out, out);
        EXPECT_EQ(out.str(), readTestFile(std::filesystem::path(VELLO_COMPLETION).parent_path() / file))
            << shell;
    }
}

TEST_F(Completion, IsAcceptedByBash) {
    const auto text = printed("bash", VELLO_COMPLETION, "source \"$1\"; complete -p vello");
    ASSERT_TRUE(text) << "bash is a package of the tests";
    EXPECT_EQ(*text, "complete -F _vello vello\n");
}

TEST_F(Completion, IsAcceptedByZshAndOffersCommands) {
    const auto file = std::filesystem::path(VELLO_COMPLETION).parent_path() / "_vello";
    // The completion system works in an interactive line only; its last step prints here what it would offer.
    const auto text = printed("zsh", file,
                              "compdef() { print \"$@\" }; _describe() { print -l ${(P)2} }; source $1; "
                              "words=(vello preset ''); CURRENT=3; _vello");
    if (!text)
        GTEST_SKIP() << "zsh is not installed";
    EXPECT_THAT(*text, testing::StartsWith("_vello vello\n"));
    EXPECT_THAT(*text, testing::HasSubstr("\nrename:Give a saved curve another name\n"));
}

TEST_F(Completion, IsAcceptedByFishAndOffersCommands) {
    const auto file = std::filesystem::path(VELLO_COMPLETION).parent_path() / "vello.fish";
    const auto text = printed("fish", file, "source $argv[1]; complete -C 'vello preset '");
    if (!text)
        GTEST_SKIP() << "fish is not installed";
    EXPECT_THAT(lines(*text),
                testing::IsSupersetOf({"delete\tDelete a saved curve; sources that use it keep its gains",
                                       "rename\tGive a saved curve another name"}));
}

} // namespace
} // namespace vello
