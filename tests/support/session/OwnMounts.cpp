// SPDX-License-Identifier: Apache-2.0
#include "OwnMounts.h"

#include "ChildProcess.h"

#include <cstdlib>

#include <sys/wait.h>

namespace vello::session {
namespace {

using namespace std::chrono_literals;

/// Environment variable with the mount namespace outside, for a program that runs in its own.
constexpr char kOutside[] = "VELLO_TEST_OUTER_MOUNTS";

std::string ownMounts() {
    return std::filesystem::read_symlink("/proc/self/ns/mnt").string();
}

std::vector<std::string> joined(std::vector<std::string> words, const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

/// The command that runs a program in its own mount namespace on this system; empty when there is none.
std::vector<std::string> ownMountsCommand(const std::filesystem::path& folder) {
    const std::vector<std::string> asRoot{"unshare", "--mount", "--propagation", "private"};
    for (const auto& command : {asRoot, joined(asRoot, {"--user", "--map-root-user"})}) {
        ChildProcess probe(joined(command, {"mount", "-t", "tmpfs", "tmpfs", "/run"}), ownEnvironment(),
                           folder / "probe.log");
        if (probe.waitForExit(10s) == 0)
            return command;
    }
    return {};
}

} // namespace

bool hasOwnMounts() {
    const char* outer = std::getenv(kOutside);
    return outer != nullptr && outer != ownMounts();
}

bool runWithOwnMounts(const std::filesystem::path& folder) {
    const auto command = ownMountsCommand(folder);
    if (command.empty())
        return false;
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter =
        std::string("--gtest_filter=").append(test->test_suite_name()).append(".").append(test->name());
    Environment environment = ownEnvironment();
    std::erase_if(environment, [](const auto& each) { return each.first.starts_with("GTEST_"); });
    environment[kOutside] = ownMounts();
    ChildProcess inside(joined(command, {std::filesystem::read_symlink("/proc/self/exe").string(), filter}),
                        environment, folder / "inside.log");
    const auto status = inside.waitForExit(40s);
    EXPECT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << inside.output();
    EXPECT_NE(inside.output().find("[  PASSED  ] 1 test"), std::string::npos) << inside.output();
    return true;
}

} // namespace vello::session
