// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/ProcessFiles.h"

#include "Foundation/Files.h"
#include "Platform/Linux/System/KeyFile.h"

#include <sstream>
#include <system_error>

namespace vello {
namespace {

namespace fs = std::filesystem;
constexpr std::size_t kLargestFile = 1 << 16;

std::string read(const fs::path& file) {
    return readFile(file, kLargestFile, Links::refuse).value_or("");
}

} // namespace

/// Parses "pid (name) state parent group session terminal ..."; the name may contain anything, even ") R 1".
/// The start time is field 22.
std::optional<ProcessStatus> ProcessFiles::status(std::int32_t pid) const {
    const std::string text = read(folder(pid) / "stat");
    const auto open = text.find('(');
    const auto close = text.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return std::nullopt;
    ProcessStatus status;
    status.name = text.substr(open + 1, close - open - 1);
    std::istringstream fields(text.substr(close + 1));
    std::string skipped;
    fields >> skipped >> status.parent >> skipped >> skipped >> status.terminal;
    for (int field = 8; field < 22; ++field)
        fields >> skipped;
    fields >> status.startTime;
    return fields ? std::optional(status) : std::nullopt;
}

fs::path ProcessFiles::executable(std::int32_t pid) const {
    constexpr std::string_view mark = " (deleted)";
    std::string file = linkTarget(pid, "exe").string();
    if (file.ends_with(mark))
        file.resize(file.size() - mark.size());
    return file;
}

std::vector<std::string> ProcessFiles::arguments(std::int32_t pid) const {
    std::vector<std::string> arguments;
    std::istringstream text(read(folder(pid) / "cmdline"));
    for (std::string argument; std::getline(text, argument, '\0');)
        arguments.push_back(argument);
    return arguments;
}

fs::path ProcessFiles::workingFolder(std::int32_t pid) const {
    return linkTarget(pid, "cwd");
}

std::string ProcessFiles::controlGroup(std::int32_t pid) const {
    // "0::/path" or, on systems with version 1 of control groups, "1:name=systemd:/path".
    std::istringstream lines(read(folder(pid) / "cgroup"));
    for (std::string line; std::getline(lines, line);)
        for (const std::string_view hierarchy : {"::", ":name=systemd:"})
            if (const auto place = line.find(hierarchy); place == line.find(':') && place != line.npos)
                if (std::string path = line.substr(place + hierarchy.size()); path.size() > 1)
                    return path;
    return {};
}

std::string ProcessFiles::flatpakIdentifier(std::int32_t pid) const {
    const KeyFileGroup application =
        readKeyFileGroup(read(folder(pid) / "root" / ".flatpak-info"), "Application");
    const auto name = application.find("name");
    return name == application.end() ? "" : unescapedValue(name->second);
}

fs::path ProcessFiles::linkTarget(std::int32_t pid, const char* link) const {
    std::error_code error;
    return fs::read_symlink(folder(pid) / link, error);
}

} // namespace vello
