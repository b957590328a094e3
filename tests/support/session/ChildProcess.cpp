// SPDX-License-Identifier: Apache-2.0
#include "ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vello::session {
namespace {

/// Null-terminated array of pointers into `texts`, as required by exec.
std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> assignments(const Environment& environment) {
    std::vector<std::string> result;
    for (const auto& [name, value] : environment)
        result.push_back(name + "=" + value);
    return result;
}

/// An audio server with dozens of clients may need more open files than the limit of a login.
void raiseDescriptorLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

/// Runs in the child between fork and exec, so it only makes system calls.
void becomeProgram(int input, int output, pid_t parent, char* const* arguments, char* const* environment) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    raiseDescriptorLimit();
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execvpe(arguments[0], arguments, environment);
    ::_exit(127);
}

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

bool accepts(const std::filesystem::path& socketFile) {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketFile.string().copy(address.sun_path, sizeof address.sun_path - 1);
    const bool connected =
        ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(descriptor);
    return connected;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Environment& environment,
                           std::filesystem::path output)
    : output_(std::move(output)) {
    auto argumentTexts = arguments;
    auto environmentTexts = assignments(environment);
    const auto argumentPointers = pointers(argumentTexts);
    const auto environmentPointers = pointers(environmentTexts);
    const int outputDescriptor = ::open(output_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (outputDescriptor < 0)
        fail(output_.c_str());
    int pipeEnds[2];
    if (::pipe2(pipeEnds, O_CLOEXEC) != 0)
        fail("pipe");
    const pid_t parent = ::getpid();
    pid_ = ::fork();
    if (pid_ == 0)
        becomeProgram(pipeEnds[0], outputDescriptor, parent, argumentPointers.data(),
                      environmentPointers.data());
    ::close(pipeEnds[0]);
    ::close(outputDescriptor);
    standardInput_ = pipeEnds[1];
    if (pid_ < 0)
        fail("fork");
    ::setpgid(pid_, pid_);
    processDescriptor_ = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
    if (processDescriptor_ < 0)
        fail("pidfd_open");
}

ChildProcess::~ChildProcess() {
    kill();
    ::close(processDescriptor_);
    ::close(standardInput_);
}

bool ChildProcess::isRunning() {
    return !waitForExit(std::chrono::milliseconds(0));
}

void ChildProcess::signal(int number) const {
    if (!status_)
        ::kill(pid_, number);
}

std::optional<int> ChildProcess::waitForExit(std::chrono::milliseconds timeout) {
    if (status_)
        return status_;
    pollfd ended{processDescriptor_, POLLIN, 0};
    int ready = 0;
    do
        ready = ::poll(&ended, 1, static_cast<int>(timeout.count()));
    while (ready < 0 && errno == EINTR);
    int status = 0;
    if (ready > 0 && ::waitpid(pid_, &status, 0) == pid_)
        status_ = status;
    return status_;
}

bool ChildProcess::terminate(std::chrono::milliseconds timeout) {
    signal(SIGTERM);
    if (waitForExit(timeout))
        return true;
    kill();
    return false;
}

void ChildProcess::kill() {
    ::kill(-pid_, SIGKILL);
    waitForExit(std::chrono::seconds(10));
}

void ChildProcess::writeLine(const std::string& line) const {
    const auto text = line + "\n";
    if (::write(standardInput_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        fail("write to a child");
}

std::string ChildProcess::output() const {
    std::ifstream file(output_);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

int ChildProcess::timesOutput(const std::string& text) const {
    const std::string all = output();
    int times = 0;
    for (auto at = all.find(text); at != std::string::npos; at = all.find(text, at + text.size()))
        ++times;
    return times;
}

bool ChildProcess::awaitOutput(const std::string& text, int times, std::chrono::milliseconds timeout) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const int watch = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    ::inotify_add_watch(watch, output_.c_str(), IN_MODIFY);
    pollfd event{.fd = watch, .events = POLLIN, .revents = 0};
    while (timesOutput(text) < times) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0 || ::poll(&event, 1, static_cast<int>(left.count())) <= 0)
            break;
        std::array<char, 4096> events;
        if (::read(watch, events.data(), events.size()) <= 0)
            break;
    }
    ::close(watch);
    return timesOutput(text) >= times;
}

std::string runProgram(const std::vector<std::string>& arguments, const Environment& environment,
                       const std::filesystem::path& folder, std::chrono::milliseconds timeout) {
    const auto output = folder / ("output-" + std::filesystem::path(arguments.front()).filename().string());
    std::filesystem::remove(output);
    ChildProcess program(arguments, environment, output);
    const auto status = program.waitForExit(timeout);
    if (!status || !WIFEXITED(*status) || WEXITSTATUS(*status) != 0)
        throw std::runtime_error(arguments.front() + (status ? " failed: " : " takes too long: ") +
                                 program.output());
    return program.output();
}

void awaitListener(const std::filesystem::path& socketFile, ChildProcess& server,
                   std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!accepts(socketFile))
        if (server.waitForExit(std::chrono::milliseconds(2)) || std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("no server at " + socketFile.string() + ":\n" + server.output());
}

Environment ownEnvironment() {
    Environment result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const auto equals = text.find('=');
        if (equals != std::string::npos)
            result[text.substr(0, equals)] = text.substr(equals + 1);
    }
    return result;
}

} // namespace vello::session
