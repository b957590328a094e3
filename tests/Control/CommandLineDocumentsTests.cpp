// SPDX-License-Identifier: Apache-2.0
// The manual page and the shell's completion know every command and option that there is, and no other.
#include "Control/CommandLine.h"

#include "ChildProcess.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace vello {
namespace {

using Options = std::set<std::string>;
/// Long options by command: "" for none, "set", "preset save".
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

std::vector<std::string> matches(const std::string& text, const char* expression) {
    const std::regex regex(expression, std::regex::ECMAScript | std::regex::multiline);
    std::vector<std::string> all;
    for (std::sregex_iterator match(text.begin(), text.end(), regex); match != std::sregex_iterator();
         ++match)
        all.push_back(match->str(1));
    return all;
}

void collectHelp(const std::string& command, OptionsByCommand& all) {
    const std::string help = helpOf(command);
    ASSERT_THAT(help, testing::HasSubstr("--help")) << command;
    const auto options = matches(help, "^  (?:-h,)?(--[a-z-]+)");
    all[command] = Options(options.begin(), options.end());
    all[command].erase("--help"); // every command has it
    const auto subcommands = help.find("\nSubcommands:\n");
    if (subcommands == std::string::npos)
        return;
    for (const std::string& name : matches(help.substr(subcommands), "^  ([a-z]+)"))
        collectHelp(command.empty() ? name : command + " " + name, all);
}

OptionsByCommand real() {
    OptionsByCommand all;
    collectHelp("", all);
    return all;
}

OptionsByCommand documented() {
    std::string page = readTestFile(VELLO_MANUAL_PAGE);
    page = std::regex_replace(page, std::regex(R"(\\-)"), "-");
    OptionsByCommand all;
    std::string command;
    bool isInside = false;
    std::istringstream stream(page);
    for (std::string line; std::getline(stream, line);) {
        std::smatch match;
        if (line.starts_with(".SH"))
            isInside = false;
        if (std::regex_match(line, match, std::regex("\\.SS vello((?: [a-z]+)*).*"))) {
            command = match.str(1).empty() ? "" : match.str(1).substr(1);
            isInside = true;
            all[command];
        }
        if (isInside && line.starts_with(".B"))
            for (const std::string& option : matches(line, "(--[a-z-]+)"))
                if (option != "--help")
                    all[command].insert(option);
    }
    return all;
}

class Completion : public testing::Test {
protected:
    /// What bash offers behind these words, the last of which is begun.
    std::vector<std::string> offered(const std::vector<std::string>& words) {
        const std::string script = "source \"$0\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _vello; "
                                   "((${#COMPREPLY[@]} == 0)) || printf '%s\\n' \"${COMPREPLY[@]}\"";
        std::vector<std::string> command{"bash", "-c", script, VELLO_COMPLETION, "vello"};
        command.insert(command.end(), words.begin(), words.end());
        std::istringstream stream(session::runProgram(command, session::ownEnvironment(), folder_.path()));
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);)
            lines.push_back(line);
        return lines;
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
    EXPECT_THAT(offered({"preset", ""}), testing::ElementsAre("save"));
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
