// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/DesktopEntry.h"

#include "Foundation/Text.h"
#include "Platform/Linux/System/KeyFile.h"

namespace vello {
namespace {

constexpr std::size_t kLongestName = 512;

/// The value as plain text; empty when it is missing or not plain text.
std::string plainValue(const KeyFileGroup& group, std::string_view key) {
    const auto value = group.find(key);
    std::string text = value == group.end() ? "" : unescapedValue(value->second);
    return isPlainText(text) && text.size() <= kLongestName ? text : "";
}

std::string localizedValue(const KeyFileGroup& group, const std::string& key,
                           const std::vector<std::string>& suffixes) {
    for (const std::string& suffix : suffixes)
        if (std::string text = plainValue(group, key + "[" + suffix + "]"); !text.empty())
            return text;
    return plainValue(group, key);
}

bool isTrue(const KeyFileGroup& group, std::string_view key) {
    const auto value = group.find(key);
    return value != group.end() && value->second == "true";
}

/// Reads one argument of an Exec value.
class ArgumentReader {
public:
    explicit ArgumentReader(std::string_view& rest) : rest_(rest) {}

    std::string read() {
        while (!rest_.empty() && (isQuoted_ || rest_.front() != ' '))
            readCharacter(take());
        return std::move(argument_);
    }
    /// False for an argument that consists only of a field code.
    bool isArgument() const { return hasText_; }

private:
    char take() {
        const char character = rest_.front();
        rest_.remove_prefix(1);
        return character;
    }

    void readCharacter(char character) {
        if (character == '"') {
            isQuoted_ = !isQuoted_;
            hasText_ = true;
        } else if (character == '\\' && isQuoted_ && !rest_.empty()) {
            append(take());
        } else if (character == '%' && !rest_.empty()) {
            if (take() == '%')
                append('%');
        } else {
            append(character);
        }
    }

    void append(char character) {
        argument_ += character;
        hasText_ = true;
    }

    std::string_view& rest_;
    std::string argument_;
    bool isQuoted_ = false;
    bool hasText_ = false;
};

} // namespace

std::vector<std::string> localeSuffixes(std::string_view locale) {
    const std::string modifier(locale.find('@') == locale.npos ? "" : locale.substr(locale.find('@')));
    const std::string territory(locale.substr(0, locale.find_first_of(".@")));
    const std::string language = territory.substr(0, territory.find('_'));
    if (language.empty() || language == "C" || language == "POSIX")
        return {};
    std::vector<std::string> suffixes;
    for (const std::string& base : {territory, language})
        for (const std::string& end : {modifier, std::string()})
            if (suffixes.empty() || suffixes.back() != base + end)
                suffixes.push_back(base + end);
    if (territory == language && suffixes.size() == 4)
        suffixes.resize(2);
    return suffixes;
}

std::optional<DesktopEntry> parseDesktopEntry(std::string id, std::string_view text,
                                              const std::vector<std::string>& localeSuffixes) {
    const KeyFileGroup group = readKeyFileGroup(text, "Desktop Entry");
    const bool isDeleted = isTrue(group, "Hidden");
    if (id.empty() || !isPlainText(id) || (plainValue(group, "Type") != "Application" && !isDeleted))
        return std::nullopt;
    DesktopEntry entry{.id = std::move(id),
                       .name = localizedValue(group, "Name", localeSuffixes),
                       .icon = localizedValue(group, "Icon", localeSuffixes),
                       .startupWMClass = plainValue(group, "StartupWMClass"),
                       .command = {},
                       .isDeleted = isDeleted,
                       .isShown = !isTrue(group, "NoDisplay")};
    if (const auto exec = group.find("Exec"); exec != group.end())
        entry.command = parseExec(unescapedValue(exec->second));
    const auto categories = group.find("Categories");
    entry.isTerminalEmulator =
        categories != group.end() &&
        (";" + categories->second + ";").find(";TerminalEmulator;") != std::string::npos;
    return entry;
}

std::vector<std::string> parseExec(std::string_view exec) {
    std::vector<std::string> arguments;
    while (!exec.empty()) {
        ArgumentReader reader(exec);
        std::string argument = reader.read();
        if (reader.isArgument())
            arguments.push_back(std::move(argument));
        exec.remove_prefix(std::min(exec.size(), exec.find_first_not_of(' ')));
    }
    return arguments;
}

} // namespace vello
