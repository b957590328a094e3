// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ControlFixture.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <utility>
#include <vector>

namespace vello {

/// Runs commands of the program and waits for them.
struct ClientTests : Control {
    static constexpr char kPlayer[] = "org.example.player";

    struct Result {
        int exitCode = -1;
        std::string output;
    };

    std::unique_ptr<session::ChildProcess> begin(std::vector<std::string> words) {
        words.insert(words.begin(), VELLO_EXECUTABLE);
        return std::make_unique<session::ChildProcess>(words, environment_,
                                                       folder / ("client-" + std::to_string(++runs_)));
    }
    Result finish(session::ChildProcess& program) {
        std::optional<int> status;
        EXPECT_TRUE(waitUntil([&] { return (status = program.waitForExit(std::chrono::milliseconds(0))); }))
            << "does not end: " << program.output();
        return {status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1, program.output()};
    }
    Result run(std::vector<std::string> words) { return finish(*begin(std::move(words))); }
    nlohmann::json runJSON(std::vector<std::string> words) {
        const Result result = run(std::move(words));
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return nlohmann::json::parse(result.output);
    }
    EQSettings settings(const std::string& id = kPlayer) { return controller->settings(id); }

    session::Environment environment_ = bus.environment();
    int runs_ = 0;
};

inline void expectOneLine(const ClientTests::Result& result, const std::string& part, int exitCode = 1) {
    EXPECT_EQ(result.exitCode, exitCode) << result.output;
    EXPECT_THAT(result.output, testing::AllOf(testing::StartsWith("vello: "), testing::HasSubstr(part)));
    EXPECT_EQ(std::ranges::count(result.output, '\n'), 1) << result.output;
}

} // namespace vello
