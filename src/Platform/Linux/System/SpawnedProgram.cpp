// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/SpawnedProgram.h"

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace vello {
namespace {

class SpawnAttributes {
public:
    SpawnAttributes() {
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::posix_spawnattr_init(&value_);
        ::posix_spawnattr_setsigmask(&value_, &none);
        ::posix_spawnattr_setsigdefault(&value_, &all);
        ::posix_spawnattr_setflags(&value_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&value_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* value() const { return &value_; }

private:
    posix_spawnattr_t value_{};
};

} // namespace

pid_t spawnProgram(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    pid_t pid = -1;
    const SpawnAttributes attributes;
    const int error =
        ::posix_spawn(&pid, command.front().c_str(), nullptr, attributes.value(), arguments.data(), environ);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot start " + command.front());
    return pid;
}

int awaitExitCode(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace vello
