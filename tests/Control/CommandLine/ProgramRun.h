// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vello::test {

/// The result of a program run.
struct ProgramRun {
    int exitCode = -1; ///< -1: killed by a signal
    std::string out;   ///< standard output
    std::string error; ///< standard error; must fit into a pipe buffer
};

/// Reads a pipe to its end and closes it.
inline std::string drain(int descriptor) {
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t size = 0; (size = ::read(descriptor, part.data(), part.size())) > 0;)
        text.append(part.data(), static_cast<std::size_t>(size));
    ::close(descriptor);
    return text;
}

/// Runs a program and waits until it exits.
inline ProgramRun runProgram(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<char*> pointers{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    std::array<int, 2> out{};
    std::array<int, 2> error{};
    if (::pipe2(out.data(), O_CLOEXEC) != 0 || ::pipe2(error.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error[1], STDERR_FILENO);
    pid_t child = 0;
    const int problem = ::posix_spawn(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    ::close(error[1]);
    ProgramRun run;
    run.out = drain(out[0]);
    run.error = drain(error[0]);
    if (problem != 0)
        throw std::system_error(problem, std::generic_category(), program);
    int status = 0;
    ::waitpid(child, &status, 0);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

} // namespace vello::test
