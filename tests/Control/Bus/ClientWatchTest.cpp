// SPDX-License-Identifier: Apache-2.0
// Commands that run until they are ended.
#include "ClientFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST_F(ClientTests, WatchesUntilTheInstanceEnds) {
    start();
    setLevel(0.5F);
    const auto watch = begin({"status", "--watch", "--json", "--levels"});
    const auto hasPrinted = [&](const char* part) {
        return waitUntil([&] { return watch->output().find(part) != std::string::npos; });
    };
    EXPECT_TRUE(hasPrinted(R"("level":0.5)"));
    setLevel(0.25F);
    EXPECT_TRUE(hasPrinted(R"("level":0.25)"));
    controller->updateSettings({.volume = 0.125}, kPlayer);
    EXPECT_TRUE(hasPrinted(R"("volume":0.125)"));
    hardware.addProcess({.pid = 102});
    EXPECT_TRUE(hasPrinted("org.example.browser"));
    presence.reset();
    const Result result = finish(*watch);
    EXPECT_EQ(result.exitCode, 3);
    std::istringstream lines(result.output);
    std::string line;
    for (; std::getline(lines, line) && !line.starts_with("{\"error\"");)
        EXPECT_TRUE(nlohmann::json::parse(line).contains("event")) << line;
    EXPECT_THAT(line, AllOf(HasSubstr("VELLO has ended"), HasSubstr("\"notRunning\"")));
}

TEST_F(ClientTests, WatchesNothingButChangesUnlessAskedForLevels) {
    start();
    setLevel(0.5F);
    const auto watch = begin({"status", "--watch", "--json"});
    const auto awaitPrinted = [&](const char* part) {
        EXPECT_TRUE(waitUntil([&] { return watch->output().find(part) != std::string::npos; })) << part;
    };
    awaitPrinted(R"({"event":"state")");
    EXPECT_FALSE(service->hasSubscribers()) << "the meters run for nobody";
    controller->updateSettings({.volume = 0.125}, kPlayer);
    awaitPrinted(R"("volume":0.125)");
    controller->setProcessingEnabled(false);
    awaitPrinted(R"({"event":"processing","isProcessingEnabled":false})");
    controller->saveUserPreset("Mine", std::vector<double>(8, 1.0));
    awaitPrinted(R"({"event":"presets","changed":[{"id":"Mine")");
    std::filesystem::create_directories(folder / "EQ by QUORVIN/settings.json");
    controller->save();
    awaitPrinted(R"({"event":"saveProblem","saveProblem":"not saved, because )");
    EXPECT_THAT(watch->output(), testing::Not(HasSubstr("level")));
    watch->signal(SIGINT);
    finish(*watch);
}

TEST_F(ClientTests, SaysOnceWhatIsTrueWhenItsReaderReadsAgain) {
    start();
    const auto pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_EQ(::fcntl(reader, F_SETPIPE_SZ, 4096), 4096);
    session::ChildProcess watch(
        {"sh", "-c", "exec " + std::string(VELLO_EXECUTABLE) + " status --watch --json > " + pipe},
        environment_, folder / "watch");
    const auto read = [&] {
        char block[4096];
        const auto size = ::read(reader, block, sizeof block);
        return size > 0 ? std::string(block, static_cast<std::size_t>(size)) : std::string();
    };
    std::string all;
    ASSERT_TRUE(waitUntil([&] { return (all += read()).find("\n") != std::string::npos; }));
    all.clear();
    constexpr int changes = 400;
    for (int i = 1; i <= changes; ++i) {
        controller->updateSettings({.volume = i / 1000.0}, kPlayer);
        ask("org.freedesktop.DBus.Peer", "Ping", {}); // the change has been told by then
    }
    ASSERT_TRUE(waitUntil([&] { return (all += read()).find("\"volume\":0.4,") != std::string::npos; }));
    const auto told = std::ranges::count(all, '\n');
    EXPECT_LT(told, changes / 2) << "what nobody read was kept";
    ::close(reader);
    watch.signal(SIGINT);
    finish(watch);
}

TEST_F(ClientTests, IsForgottenWhenItIsKilledWatching) {
    start();
    const auto watch = begin({"status", "--watch", "--json", "--levels"});
    ASSERT_TRUE(waitUntil([&] { return service->hasSubscribers() && !watch->output().empty(); }));
    watch->signal(SIGINT);
    finish(*watch);
    EXPECT_TRUE(waitUntil([&] { return !service->hasSubscribers(); }));
}

TEST_F(ClientTests, EndsQuietlyWhenItsReaderHasGone) {
    start();
    setLevel(0.5F);
    session::ChildProcess program(
        {"sh", "-c", std::string(VELLO_EXECUTABLE) + " status --watch --json --levels | head -n 1"},
        environment_, folder / "piped");
    ASSERT_TRUE(waitUntil([&] { return program.output().find('\n') != std::string::npos; }));
    setLevel(0.25F);
    EXPECT_EQ(finish(program).exitCode, 0);
    EXPECT_EQ(std::ranges::count(program.output(), '\n'), 1) << program.output();
}

} // namespace
} // namespace vello
