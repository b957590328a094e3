// SPDX-License-Identifier: Apache-2.0
// Simulates two machines of one user: two session buses with one instance each, and a shared folder.
#include "Control/Bus/RunningInstance.h"
#include "Control/Bus/StateMaps.h"

#include "PrivateBus.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <random>
#include <set>

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
        for (int n = 0; Clock::now() < end + 20ms; ++n) {
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
    EXPECT_GT(saved.size(), 2U * kKills);
    const auto hasAll = [&](const Machine& machine) {
        return std::ranges::includes(machine.presets(), saved);
    };
    EXPECT_TRUE(Machine::waitUntil([&] { return hasAll(first_) && hasAll(second_); }, 2s))
        << saved.size() << " saved, " << first_.presets().size() << " and " << second_.presets().size()
        << " there\n"
        << first_.log() << second_.log();
}

} // namespace
} // namespace vello::session
