// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/Applications/DesktopRunningApplications.h"

#include "support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vello {

/// A small desktop of real files: processes, desktop entries and programs, each kind in its own folder.
class FakeDesktop {
public:
    struct Process {
        std::int32_t pid = 0;
        std::int32_t parent = 1;
        std::string executable{};             ///< path below the desktop's root, such as "/usr/bin/player"
        std::vector<std::string> arguments{}; ///< argv; paths that begin with "/usr" are below the root
        std::string unit{};                   ///< path of the control group
        std::int32_t terminal = 0;
        std::string name = "name";
        std::string workingFolder = "/";
        std::uint64_t startTime = 1000;
    };

    FakeDesktop() {
        for (const char* folder :
             {"/proc", "/usr/bin", "/usr/lib", "/home/applications", "/usr/share/applications"})
            std::filesystem::create_directories(path(folder));
    }

    /// The actual path of a file of this desktop.
    std::string path(const std::string& file) const { return root_.path().string() + file; }

    DesktopFolders folders(std::string locale = "") const {
        return {
            .processes = path("/proc"),
            .applications = {path("/home/applications"), path("/usr/share/applications"), path("/missing")},
            .executables = {path("/usr/bin")},
            .libraries = {path("/usr/lib")},
            .locale = std::move(locale)};
    }

    /// Writes a program's file. With `isScript` an interpreter runs it.
    void addProgram(const std::string& file, bool isScript = false) const {
        writeTestFile(path(file), isScript ? "#!/bin/sh\n"
                                           : "\x7f"
                                             "ELF");
    }

    /// `keys` follow Type and Name; "ROOT" in them is replaced by the desktop's root.
    void addEntry(const std::string& identifier, std::string keys,
                  const char* folder = "/usr/share/applications") const {
        for (auto place = keys.find("ROOT"); place != keys.npos; place = keys.find("ROOT", place))
            keys.replace(place, 4, root_.path().string());
        writeTestFile(path(folder) + "/" + identifier + ".desktop",
                      "[Desktop Entry]\nType=Application\nName=" + identifier + "\n" + keys + "\n");
    }

    void addProcess(const Process& process) const {
        const std::string folder = path("/proc/") + std::to_string(process.pid);
        std::filesystem::remove_all(folder);
        std::string stat = std::to_string(process.pid) + " (" + process.name + ") S " +
                           std::to_string(process.parent) + " 1 1 " + std::to_string(process.terminal);
        for (int field = 8; field < 22; ++field)
            stat.append(1, ' ').append(std::to_string(field));
        writeTestFile(folder + "/stat", stat + " " + std::to_string(process.startTime) + " 0 0\n");
        std::string commandLine;
        for (const std::string& argument : process.arguments)
            commandLine += (argument.starts_with("/usr") ? path(argument) : argument) + '\0';
        writeTestFile(folder + "/cmdline", commandLine);
        writeTestFile(folder + "/cgroup", "0::" + process.unit + "\n");
        std::filesystem::create_symlink(path(process.executable), folder + "/exe");
        std::filesystem::create_symlink(path(process.workingFolder), folder + "/cwd");
    }

    void addFlatpakInformation(std::int32_t pid, const std::string& text) const {
        writeTestFile(path("/proc/") + std::to_string(pid) + "/root/.flatpak-info", text);
    }

    void removeProcess(std::int32_t pid) const {
        std::filesystem::remove_all(path("/proc/") + std::to_string(pid));
    }

private:
    TemporaryFolder root_;
};

} // namespace vello
