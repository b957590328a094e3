// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/ProcessFacts.h"

#include "Foundation/Files.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <thread>

#include <pthread.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {
namespace {

namespace files = std::filesystem;
constexpr std::size_t kLargestFile = 1 << 20;
/// SCHED_RESET_ON_FORK keeps the priority from the programs that a thread starts.
constexpr int kRealtimePolicy = SCHED_FIFO | SCHED_RESET_ON_FORK;

std::string procFile(const files::path& process, const char* name) {
    return readFile(process / name, kLargestFile).value_or("");
}

files::path processFolder(std::int32_t pid) {
    return files::path("/proc") / std::to_string(pid);
}

std::string nameIn(const files::path& process) {
    std::string name = procFile(process, "comm");
    name.erase(std::min(name.find('\n'), name.size()));
    return name;
}

/// Parses "id (name) state ..."; the policy is field 41. -1 when it cannot be read.
int policyOf(const files::path& thread) {
    const std::string text = procFile(thread, "stat");
    const auto close = text.rfind(')');
    if (close == std::string::npos)
        return -1;
    std::istringstream fields(text.substr(close + 1));
    std::string skipped;
    for (int field = 3; field < 41; ++field)
        fields >> skipped;
    int policy = -1;
    return fields >> policy ? policy : -1;
}

} // namespace

std::string processName(std::int32_t pid) {
    return nameIn(processFolder(pid));
}

bool isProgramOfUserRunning(const std::string& name) {
    std::error_code error;
    for (const auto& process : files::directory_iterator("/proc", error)) {
        struct stat status = {};
        if (nameIn(process.path()) == name && ::stat(process.path().c_str(), &status) == 0 &&
            status.st_uid == ::getuid())
            return true;
    }
    return false;
}

std::string loadedLibraryVersion(std::int32_t pid, const std::string& prefix) {
    std::istringstream lines(procFile(processFolder(pid), "maps"));
    for (std::string line; std::getline(lines, line);) {
        const auto name = line.find("/" + prefix);
        const auto suffix = name == std::string::npos ? name : line.find(".so.", name);
        if (suffix != std::string::npos)
            return line.substr(suffix + 4, line.find(' ', suffix) - suffix - 4);
    }
    return "";
}

RealtimePriority realtimePriority(std::int32_t pid) {
    std::error_code error;
    RealtimePriority found = RealtimePriority::unknown;
    for (const auto& thread : files::directory_iterator(processFolder(pid) / "task", error)) {
        const int policy = policyOf(thread.path());
        if (policy == SCHED_FIFO || policy == SCHED_RR)
            return RealtimePriority::granted;
        if (policy >= 0)
            found = RealtimePriority::refused;
    }
    return found;
}

RealtimePriority ownRealtimePriority() {
    RealtimePriority found = RealtimePriority::refused;
    std::thread([&found] {
        const sched_param lowest{.sched_priority = 1};
        if (::pthread_setschedparam(::pthread_self(), kRealtimePolicy, &lowest) == 0)
            found = RealtimePriority::granted;
    }).join();
    return found;
}

} // namespace vello
