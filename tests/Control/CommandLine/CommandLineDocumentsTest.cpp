// SPDX-License-Identifier: Apache-2.0
// The manual page and the shell completion list exactly the existing commands and options.
#include "Control/CommandLine/CommandLine.h"

#include "ChildProcess.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
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
        return lines(session::runProgram(command, session::ownEnvironment(), folder_.path()));
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
    EXPECT_THAT(offered({"preset", ""}), testing::UnorderedElementsAre("save", "import", "export"));
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
    EXPECT_THAT(offered({"set", "x", "--bypass", "o"}), testing::ElementsAre("on", "off"));
    EXPECT_THAT(offered({"set", "x", "--downmix", "o"}), testing::ElementsAre("on", "off"));
    EXPECT_THAT(offered({"permission", "a"}), testing::UnorderedElementsAre("allow", "ask"));
    EXPECT_THAT(offered({"render", "--preset", "v"}), testing::ElementsAre("vocal"));
    EXPECT_THAT(offered({"set", "x", "--volume", ""}), testing::IsEmpty());
}

TEST_F(Completion, OffersFiles) {
    writeTestFile(folder_ / "a sound.wav", "");
    EXPECT_THAT(offered({"render", (folder_ / "a s").string()}),
                testing::ElementsAre((folder_ / "a sound.wav").string()));
}

} // namespace
} // namespace vello
