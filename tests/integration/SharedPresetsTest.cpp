// SPDX-License-Identifier: Apache-2.0
// Simulates two machines of one user: two session buses with one instance each, and a shared folder.
#include "Control/Bus/RunningInstance.h"
#include "Control/Bus/StateMaps.h"

#include "Foundation/Descriptor.h"
#include "Platform/Linux/System/UserFolders.h"
#include "PrivateBus.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>
#include <memory>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>

#include <gmock/gmock.h>

#include <QCoreApplication>

namespace vello::session {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kExchanges = 100;
constexpr int kKills = 10;

/// A session with an instance and without a sound server.
class Machine {
public:
    Machine(const std::filesystem::path& folder, const std::filesystem::path& shared)
        : bus_(folder, PrivateBus::Services::none), folder_(folder), environment_(bus_.environment()) {
        environment_["VELLO_SYNC_FOLDER"] = shared;
        environment_["XDG_STATE_HOME"] = folder / "state";
        start();
    }

    void start() {
        program_ = std::make_unique<ChildProcess>(std::vector<std::string>{VELLO_PROGRAM, "--headless"},
                                                  environment_, folder_ / "vello.log");
        instance_ = std::make_unique<RunningInstance>(QString::fromStdString(bus_.address()));
        if (!waitUntil([this] { return isAnswering(); }, 10s))
            throw std::runtime_error("VELLO does not answer:\n" + program_->output());
    }
    void kill() { program_->kill(); }
    std::string log() const { return program_->output(); }

    void save(const std::string& name, double gain) const {
        instance_->call("SavePreset",
                        {QString::fromStdString(name), QVariant::fromValue(QList<double>(8, gain))});
    }

    void rename(const std::string& name, const std::string& newName) const {
        instance_->call("RenamePreset", {QString::fromStdString(name), QString::fromStdString(newName)});
    }
    void remove(const std::string& name) const {
        instance_->call("DeletePreset", {QString::fromStdString(name)});
    }

    /// Names and gains of the user's presets, in their order.
    std::vector<std::pair<std::string, double>> list() const {
        std::vector<std::pair<std::string, double>> list;
        for (const PresetState& preset : instance_->presets())
            if (!preset.isBuiltIn)
                list.emplace_back(preset.name, preset.bandGains.at(0));
        return list;
    }
    std::set<std::string> presets() const {
        std::set<std::string> names;
        for (const PresetState& preset : instance_->presets())
            if (!preset.isBuiltIn)
                names.insert(preset.name);
        return names;
    }
    bool has(const std::string& name) const { return presets().contains(name); }

    template <class Condition> static bool waitUntil(Condition condition, Clock::duration limit) {
        const auto deadline = Clock::now() + limit;
        while (!condition())
            if (Clock::now() > deadline)
                return false;
        return true;
    }

private:
    bool isAnswering() const {
        try {
            instance_->state();
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    PrivateBus bus_;
    const std::filesystem::path folder_;
    Environment environment_;
    std::unique_ptr<ChildProcess> program_;
    std::unique_ptr<RunningInstance> instance_;
};

class SharedPresets : public testing::Test {
protected:
    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    TemporaryFolder folder_;
    Machine first_{folder_ / "first", folder_ / "shared"};
    Machine second_{folder_ / "second", folder_ / "shared"};
};

TEST_F(SharedPresets, ComeOverBothWaysWithinTwoSecondsAHundredTimes) {
    std::chrono::duration<double> longest{0};
    for (int i = 0; i < kExchanges; ++i)
        for (auto [from, to, name] :
             {std::tuple(&first_, &second_, "first"), {&second_, &first_, "second"}}) {
            const std::string preset = std::string(name) + std::to_string(i);
            from->save(preset, i % 13);
            const auto begin = Clock::now();
            ASSERT_TRUE(Machine::waitUntil([&, to = to] { return to->has(preset); }, 2s))
                << preset << "\n"
                << first_.log() << second_.log();
            longest = std::max<std::chrono::duration<double>>(longest, Clock::now() - begin);
        }
    EXPECT_EQ(first_.presets().size(), 2U * kExchanges);
    EXPECT_EQ(second_.presets(), first_.presets());
    RecordProperty("longestSeconds", std::to_string(longest.count()));
}

TEST_F(SharedPresets, AreNotLostWhenAProcessIsKilledInMidWrite) {
    std::mt19937 random(1);
    std::set<std::string> saved;
    int unanswered = 0;
    for (int i = 0; i < kKills; ++i) {
        Machine& victim = i % 2 == 0 ? first_ : second_;
        Machine& other = i % 2 == 0 ? second_ : first_;
        // Both write at the same time, many times, and one is killed at a random moment.
        const auto end = Clock::now() + std::chrono::milliseconds(50 + random() % 50);
        auto killer = std::async(std::launch::async, [&] {
            Machine::waitUntil([&] { return Clock::now() >= end; }, 1s);
            victim.kill();
        });
        const int before = unanswered;
        for (int n = 0; unanswered == before || Clock::now() < end + 20ms; ++n) {
            const std::string number = std::to_string(i).append(".").append(std::to_string(n));
            const std::string its = std::string("victim").append(number);
            const std::string others = std::string("other").append(number);
            try {
                victim.save(its, 1);
                saved.insert(its);
            } catch (const std::runtime_error&) {
                ++unanswered;
            }
            other.save(others, 2);
            saved.insert(others);
        }
        killer.get();
        victim.start();
    }
    EXPECT_GE(unanswered, kKills) << "every kill came while presets were saved";
    EXPECT_GT(saved.size(), std::size_t{kKills});
    const auto hasAll = [&](const Machine& machine) {
        return std::ranges::includes(machine.presets(), saved);
    };
    EXPECT_TRUE(Machine::waitUntil([&] { return hasAll(first_) && hasAll(second_); }, 2s))
        << saved.size() << " saved, " << first_.presets().size() << " and " << second_.presets().size()
        << " there\n"
        << first_.log() << second_.log();
}

using List = std::vector<std::pair<std::string, double>>;

TEST_F(SharedPresets, ASavedNameArrivesWithItsGainsHoweverOftenItIsSavedAgain) {
    double longest = 0;
    int number = 0;
    for (const auto& [from, to] : {std::pair(&first_, &second_), {&second_, &first_}})
        for (const double gain : {1, 2, 1, 3, 2, 1, 1, 2, 1, 3, 2, 1}) {
            from->save("A", gain);
            const auto begin = Clock::now();
            const Machine& other = *to;
            const List expected{{"A", gain}};
            ASSERT_TRUE(Machine::waitUntil([&] { return other.list() == expected; }, 2s))
                << "save " << number << ", " << gain << " dB\n"
                << first_.log() << second_.log();
            longest = std::max(longest, std::chrono::duration<double>(Clock::now() - begin).count());
            ++number;
        }
    // The next save of either takes nothing back.
    second_.save("B", 4);
    first_.save("C", 5);
    const List all{{"A", 1}, {"B", 4}, {"C", 5}};
    EXPECT_TRUE(Machine::waitUntil([&] { return first_.list() == all && second_.list() == all; }, 2s));
    RecordProperty("longestSeconds", std::to_string(longest));
}

TEST_F(SharedPresets, DeletionsAndNewNamesArriveAlsoAfterARestart) {
    for (const char* name : {"A", "B", "C", "D"})
        first_.save(name, 1);
    ASSERT_TRUE(Machine::waitUntil([&] { return second_.list().size() == 4; }, 2s));
    second_.kill();
    first_.remove("A");
    first_.rename("B", "Rock");
    second_.start();
    const List expected{{"Rock", 1}, {"C", 1}, {"D", 1}};
    EXPECT_TRUE(Machine::waitUntil([&] { return second_.list() == expected; }, 2s));
    second_.remove("D");
    EXPECT_TRUE(Machine::waitUntil([&] { return first_.list() == List{{"Rock", 1}, {"C", 1}}; }, 2s));
}

/// Two folders that the real program keeps in step, over the loopback interface only.
class Syncthing {
public:
    static bool isInstalled() {
        const char* const path = std::getenv("PATH");
        for (const auto& folder : absolutePaths(path == nullptr ? "" : path))
            if (std::filesystem::exists(folder / "syncthing"))
                return true;
        return false;
    }

    explicit Syncthing(const std::filesystem::path& folder) : folder_(folder) {
        for (std::size_t i = 0; i < 2; ++i) {
            runProgram({"syncthing", "generate", "--home=" + home(i).string(), "--no-default-folder"},
                       environment(), folder_, 20s);
            std::string id = runProgram({"syncthing", "--device-id", "--home=" + home(i).string()},
                                        environment(), folder_, 20s);
            std::erase_if(id, [](char character) { return character == '\n'; });
            devices_ += "<device id=\"" + id + "\" name=\"" + std::to_string(i) +
                        "\"><address>tcp://127.0.0.1:" + std::to_string(ports_[i]) + "</address></device>";
            members_ += "<device id=\"" + id + "\"/>";
        }
        for (std::size_t i = 0; i < 2; ++i)
            configure(i);
    }

    std::filesystem::path place(std::size_t i) const { return folder_ / ("place" + std::to_string(i)); }
    /// The second starts when the first listens. If both called before the other listened, they would not try
    /// again for minutes.
    void start() {
        ++starts_;
        for (std::size_t i = 0; i < 2; ++i) {
            programs_[i] = std::make_unique<ChildProcess>(
                std::vector<std::string>{"syncthing", "--home=" + home(i).string(), "--no-browser",
                                         "--no-restart"},
                environment(), folder_ / "syncthing.log");
            EXPECT_TRUE(programs_[i]->awaitOutput(
                "TCP listener (127.0.0.1:" + std::to_string(ports_[i]) + ") starting", starts_, 20s));
        }
    }
    void stop() {
        for (auto& program : programs_)
            program->terminate();
    }
    std::string log() const { return programs_[0]->output(); }

private:
    static int freePort() {
        const Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const general = reinterpret_cast<sockaddr*>(&address);
        if (::bind(socket.number(), general, size) != 0 ||
            ::getsockname(socket.number(), general, &size) != 0)
            throw std::runtime_error("no free port");
        return ntohs(address.sin_port);
    }
    std::filesystem::path home(std::size_t i) const { return folder_ / ("syncthing" + std::to_string(i)); }
    Environment environment() const { return {{"PATH", std::getenv("PATH")}, {"HOME", folder_.string()}}; }
    void configure(std::size_t i) const {
        writeTestFile(place(i) / ".stfolder/keep", "");
        writeTestFile(
            home(i) / "config.xml",
            "<configuration version=\"36\"><folder id=\"presets\" path=\"" + place(i).string() +
                "\" type=\"sendreceive\" rescanIntervalS=\"3600\" fsWatcherEnabled=\"true\" "
                "fsWatcherDelayS=\"1\">" +
                members_ + "</folder>" + devices_ +
                "<gui enabled=\"false\"/><options><listenAddress>tcp://127.0.0.1:" +
                std::to_string(ports_[i]) +
                "</listenAddress><globalAnnounceEnabled>false</globalAnnounceEnabled>"
                "<localAnnounceEnabled>false</localAnnounceEnabled><relaysEnabled>false</relaysEnabled>"
                "<natEnabled>false</natEnabled><startBrowser>false</startBrowser>"
                "<urAccepted>-1</urAccepted><autoUpgradeIntervalH>0</autoUpgradeIntervalH>"
                "<crashReportingEnabled>false</crashReportingEnabled>"
                "<reconnectionIntervalS>1</reconnectionIntervalS></options></configuration>");
    }

    const std::filesystem::path folder_;
    const std::array<int, 2> ports_{freePort(), freePort()};
    std::string devices_;
    std::string members_;
    std::array<std::unique_ptr<ChildProcess>, 2> programs_;
    int starts_ = 0;
};

TEST(SharedPresetsOverSyncthing, MachinesThatEditedApartHaveTheSameList) {
    if (!Syncthing::isInstalled())
        GTEST_SKIP() << "syncthing is not installed";
    int argumentCount = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QCoreApplication application(argumentCount, arguments);
    const TemporaryFolder folder;
    Syncthing syncthing(folder.path());
    const Machine first(folder / "first", syncthing.place(0));
    const Machine second(folder / "second", syncthing.place(1));
    const auto bothHave = [&](const auto& isExpected) {
        return Machine::waitUntil([&] { return first.list() == second.list() && isExpected(first.list()); },
                                  20s);
    };
    for (const char* preset : {"A", "B", "C"})
        first.save(preset, 1);
    syncthing.start();
    const List begun{{"A", 1}, {"B", 1}, {"C", 1}};
    ASSERT_TRUE(bothHave([&](const List& list) { return list == begun; })) << syncthing.log();
    syncthing.stop();
    first.save("A", 2);
    first.remove("B");
    first.save("D", 3);
    second.rename("C", "Rock");
    second.save("E", 4);
    syncthing.start();
    EXPECT_TRUE(bothHave([](const List& list) {
        return std::ranges::is_permutation(list, List{{"A", 2}, {"D", 3}, {"Rock", 1}, {"E", 4}}) &&
               list.front().first == "Rock";
    })) << testing::PrintToString(first.list())
        << testing::PrintToString(second.list()) << syncthing.log();
    syncthing.stop();
}

} // namespace
} // namespace vello::session
