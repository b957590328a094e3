// SPDX-License-Identifier: Apache-2.0
#include "EightPlayersTest.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vello::session {
namespace {

constexpr std::array kOutputs{"output-a", "output-b"};
constexpr const char* kGuardProgram = "vello-redirect-guard";

std::optional<pid_t> numberOf(const std::filesystem::path& folder) {
    const std::string name = folder.filename().string();
    pid_t number = 0;
    const auto parsed = std::from_chars(name.data(), name.data() + name.size(), number);
    return parsed.ptr == name.data() + name.size() ? std::optional(number) : std::nullopt;
}

pid_t parentOf(pid_t process) {
    std::istringstream state(processState(process));
    std::string letter;
    pid_t parent = 0;
    state >> letter >> parent;
    return parent;
}

} // namespace

std::string processState(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(file, line);
    const auto end = line.rfind(')');
    return end != std::string::npos ? line.substr(end + 2) : std::string{};
}

void EightPlayersTest::playEight(int seconds) {
    eight_.clear();
    for (int i = 0; i < constantCode::kApplications; ++i) {
        const auto number = std::to_string(i);
        eight_.push_back(&play({.name = "player" + number,
                                .applicationID = "org.example.player" + number,
                                .signal = constantSignal(constantCode::emitted(i)),
                                .output = outputOf(i)},
                               i % 2 == 0 ? PlayerKind::native : PlayerKind::pulseAudio, seconds));
    }
}

bool EightPlayersTest::areAll(const Recording& recording, std::size_t frame, const std::string& output,
                              int digit) {
    for (int i = 0; i < constantCode::kApplications; ++i)
        if (constantCode::digit(recording.sample(frame, 0), i) != (outputOf(i) == output ? digit : 0))
            return false;
    return true;
}

bool EightPlayersTest::awaitAll(int digit, std::chrono::milliseconds timeout) {
    for (const auto* output : kOutputs)
        if (!monitor(output).recordUntil(
                [&](const Recording& last) {
                    return areAll(last, 0, output, digit) && areAll(last, 1023, output, digit);
                },
                1024, timeout))
            return false;
    return true;
}

double EightPlayersTest::millisecondsUntilAll(int digit, std::chrono::steady_clock::time_point moment) {
    double latest = 0;
    for (const auto* output : kOutputs) {
        const auto recording = monitor(output).recording();
        std::size_t frame = recording.frames();
        while (frame > 0 && areAll(recording, frame - 1, output, digit))
            --frame;
        if (frame == recording.frames())
            return 1e9;
        const std::chrono::nanoseconds heard(recording.time(frame));
        latest = std::max(
            latest, std::chrono::duration<double, std::milli>(heard - moment.time_since_epoch()).count());
    }
    return latest;
}

double EightPlayersTest::millisecondsOfTheSessionManager() {
    constexpr const char* elsewhere = "elsewhere";
    if (graph().state().nodeNamed(elsewhere) == nullptr)
        graph().createOutput(elsewhere, "Elsewhere");
    const auto send = [&](const std::string& type, const std::string& target) {
        const auto state = graph().state();
        for (int i = 0; i < constantCode::kApplications; ++i)
            graph().setMetadata(state.nodeNamed("player" + std::to_string(i))->id, "target.object", type,
                                target);
    };
    send("Spa:Id", graph().state().nodeNamed(elsewhere)->property("object.serial"));
    constexpr int unheard = 0;
    EXPECT_TRUE(awaitAll(unheard));
    const auto moment = std::chrono::steady_clock::now();
    send("", "");
    EXPECT_TRUE(awaitAll(direct));
    return millisecondsUntilAll(direct, moment);
}

std::size_t EightPlayersTest::wrongFramesSince(std::chrono::steady_clock::time_point moment) {
    std::size_t wrong = 0;
    for (const auto* output : kOutputs) {
        const auto recording = monitor(output).recording();
        const auto isWrong = [&](std::size_t frame, int application) {
            return outputOf(application) != output &&
                   constantCode::digit(recording.sample(frame, 0), application) != 0;
        };
        for (auto frame = recording.frameAt(std::chrono::nanoseconds(moment.time_since_epoch()).count());
             frame < recording.frames(); ++frame)
            for (int i = 0; i < constantCode::kApplications; ++i)
                if (isWrong(frame, i))
                    ++wrong;
    }
    return wrong;
}

void EightPlayersTest::expectNothingLeft() {
    EXPECT_TRUE(graph().waitUntil([](const GraphState& state) {
        return redirects(state) == 0 &&
               std::ranges::none_of(state.nodes, [](const auto& entry) { return isVellos(entry.second); });
    })) << "something of VELLO is left";
}

std::optional<pid_t> EightPlayersTest::guardOf(pid_t vello) {
    for (const auto& folder : std::filesystem::directory_iterator("/proc")) {
        const auto process = numberOf(folder.path());
        if (!process || parentOf(*process) != vello)
            continue;
        std::error_code error;
        const auto executable = std::filesystem::read_symlink(folder.path() / "exe", error);
        if (!error && executable.filename() == kGuardProgram)
            return process;
    }
    return std::nullopt;
}

pid_t EightPlayersTest::awaitGuard(pid_t former) {
    std::optional<pid_t> guard;
    const bool hasCome = await([&] {
        guard = guardOf(vello().pid());
        return guard && *guard != former;
    });
    // No number stands for it: a signal to -1 would reach every process of the user.
    if (!hasCome)
        throw std::runtime_error("VELLO has no guard");
    return *guard;
}

bool EightPlayersTest::awaitClientOf(pid_t process) {
    return graph().waitUntil([&](const GraphState& state) {
        return std::ranges::any_of(state.clients, [&](const auto& client) {
            const auto id = client.second.find("pipewire.sec.pid");
            return id != client.second.end() && id->second == std::to_string(process);
        });
    });
}

void EightPlayersTest::signalAll(int number) {
    const auto guard = guardOf(vello().pid());
    session().signalServers(number);
    for (const ChildProcess* player : eight_)
        player->signal(number);
    vello().signal(number);
    if (guard)
        ::kill(*guard, number);
}

} // namespace vello::session
