// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "LongEnough.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vello::session {

using Environment = std::map<std::string, std::string>;

/// A program that runs beside the test in its own process group. It never outlives the object or the test
/// process: the kernel kills it when the thread that started it ends.
class ChildProcess {
public:
    /// Starts arguments[0] (searched in PATH) with exactly this environment. Both output streams are appended
    /// to `output`; writeLine() writes to standard input. Throws std::system_error when the program cannot be
    /// started.
    ChildProcess(const std::vector<std::string>& arguments, const Environment& environment,
                 std::filesystem::path output);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    bool isRunning();
    /// Sends the signal to the program itself, not to its group. Does nothing when it has ended.
    void signal(int number) const;
    /// The wait status; absent when the program still runs after `timeout`.
    std::optional<int> waitForExit(std::chrono::milliseconds timeout);
    /// Sends SIGTERM, and kills the program when it still runs after `timeout`. Returns true when SIGTERM was
    /// enough.
    bool terminate(std::chrono::milliseconds timeout = std::chrono::seconds(5));
    /// Kills the whole group at once and waits for its end.
    void kill();
    void writeLine(const std::string& line) const;
    /// The program's output so far.
    std::string output() const;
    /// How often the output so far contains the text.
    int timesOutput(const std::string& text) const;
    /// Waits until the output contains the text so often; false on timeout.
    [[nodiscard]] bool awaitOutput(const std::string& text, int times = 1,
                                   std::chrono::milliseconds timeout = kLongEnough) const;

private:
    std::filesystem::path output_;
    pid_t pid_ = -1;
    int processDescriptor_ = -1;
    int standardInput_ = -1;
    std::optional<int> status_;
};

/// Runs a program to its end and returns its standard output and error. Throws std::runtime_error with that
/// text when it fails or takes longer than `timeout`.
std::string runProgram(const std::vector<std::string>& arguments, const Environment& environment,
                       const std::filesystem::path& folder,
                       std::chrono::milliseconds timeout = std::chrono::seconds(10));

/// Waits until `server` listens on the socket. Throws std::runtime_error with its output when it has ended,
/// or on timeout.
void awaitListener(const std::filesystem::path& socketFile, ChildProcess& server,
                   std::chrono::milliseconds timeout = std::chrono::seconds(10));

/// The environment of this process.
Environment ownEnvironment();

} // namespace vello::session
