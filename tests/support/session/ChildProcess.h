// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vello::session {

using Environment = std::map<std::string, std::string>;

/// A program that runs beside the test, in a process group of its own. It never outlives the object, nor the
/// test process: the kernel kills it when the thread that made it ends.
class ChildProcess {
public:
    /// Starts arguments[0] (looked up in PATH) with exactly this environment; both output streams go to the
    /// end of `output`, standard input is what writeLine() writes. Throws std::system_error when the program
    /// cannot be started.
    ChildProcess(const std::vector<std::string>& arguments, const Environment& environment,
                 std::filesystem::path output);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    bool isRunning();
    /// Sends the signal to the program itself, not to its group. Harmless when it has ended.
    void signal(int number) const;
    /// The wait status, or none when it is still running after `timeout`.
    std::optional<int> waitForExit(std::chrono::milliseconds timeout);
    /// Asks with SIGTERM, and kills when that does not help within `timeout`. True when asking was enough.
    bool terminate(std::chrono::milliseconds timeout = std::chrono::seconds(5));
    /// Kills the whole group at once and waits for the end.
    void kill();
    void writeLine(const std::string& line) const;
    /// What the program has written so far.
    std::string output() const;

private:
    std::filesystem::path output_;
    pid_t pid_ = -1;
    int processDescriptor_ = -1;
    int standardInput_ = -1;
    std::optional<int> status_;
};

/// Runs a program to its end and returns what it wrote to standard output and error. Throws
/// std::runtime_error with that text when it fails or takes longer than `timeout`.
std::string runProgram(const std::vector<std::string>& arguments, const Environment& environment,
                       const std::filesystem::path& folder,
                       std::chrono::milliseconds timeout = std::chrono::seconds(10));

/// Tries until `server` listens on the socket. Throws std::runtime_error with its output when it has ended or
/// the time is over.
void awaitListener(const std::filesystem::path& socketFile, ChildProcess& server,
                   std::chrono::milliseconds timeout = std::chrono::seconds(10));

/// The environment of this process.
Environment ownEnvironment();

} // namespace vello::session
