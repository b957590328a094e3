// SPDX-License-Identifier: Apache-2.0
#include "ProcessUsage.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vello::session {
namespace {

std::filesystem::path folderOf(pid_t process) {
    return std::filesystem::path("/proc") / std::to_string(process);
}

std::size_t entries(const std::filesystem::path& folder) {
    const auto count = std::distance(std::filesystem::directory_iterator(folder), {});
    return static_cast<std::size_t>(count);
}

} // namespace

double processorSeconds(pid_t process) {
    clockid_t clock = 0;
    timespec time{};
    const int error = ::clock_getcpuclockid(process, &clock);
    if (error != 0 || ::clock_gettime(clock, &time) != 0)
        throw std::system_error(error, std::generic_category(), "processor time of a process");
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double firstThreadSeconds(pid_t process) {
    std::ifstream file(folderOf(process) / "task" / std::to_string(process) / "schedstat");
    double nanoseconds = 0;
    if (!(file >> nanoseconds))
        throw std::runtime_error("no schedstat of process " + std::to_string(process));
    return nanoseconds * 1e-9;
}

std::size_t proportionalMemory(pid_t process) {
    std::ifstream file(folderOf(process) / "smaps_rollup");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("Pss:"))
            return std::stoul(line.substr(4)) * 1024;
    throw std::runtime_error("no smaps_rollup of process " + std::to_string(process));
}

std::size_t openDescriptors(pid_t process) {
    return entries(folderOf(process) / "fd");
}

std::size_t threads(pid_t process) {
    return entries(folderOf(process) / "task");
}

std::map<std::string, long> waits(pid_t process) {
    constexpr std::string_view key = "voluntary_ctxt_switches:";
    std::map<std::string, long> result;
    for (const auto& task : std::filesystem::directory_iterator(folderOf(process) / "task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with(key))
                result[task.path().filename().string() + " " + name] = std::stol(line.substr(key.size()));
    }
    return result;
}

} // namespace vello::session
