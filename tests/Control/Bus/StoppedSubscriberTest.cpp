// SPDX-License-Identifier: Apache-2.0
// A subscriber that stands still must not make the bus keep signals for it without end.
#include "Control/Bus/LevelSubscriptions.h"
#include "ControlFixture.h"

#include "support/VirtualMainThread.h"

#include <systemd/sd-bus.h>

namespace vello {
namespace {

/// A client that reads and answers only when it is told to.
class SleepyClient {
public:
    explicit SleepyClient(const std::string& address) {
        EXPECT_GE(sd_bus_new(&bus_), 0);
        EXPECT_GE(sd_bus_set_address(bus_, address.c_str()), 0);
        EXPECT_GE(sd_bus_set_bus_client(bus_, 1), 0);
        EXPECT_GE(sd_bus_start(bus_), 0);
    }
    ~SleepyClient() { sd_bus_flush_close_unref(bus_); }
    SleepyClient(const SleepyClient&) = delete;
    SleepyClient& operator=(const SleepyClient&) = delete;

    QString name() const {
        const char* name = nullptr;
        EXPECT_GE(sd_bus_get_unique_name(bus_, &name), 0);
        return QString::fromLatin1(name);
    }
    /// Reads what has come, answers questions, and returns how many levels have come in all.
    int wake() {
        for (sd_bus_message* message = nullptr; sd_bus_process(bus_, &message) > 0; message = nullptr) {
            if (message != nullptr && sd_bus_message_is_signal(message, nullptr, "Levels") > 0)
                ++levels_;
            sd_bus_message_unref(message);
        }
        return levels_;
    }

private:
    sd_bus* bus_ = nullptr;
    int levels_ = 0;
};

using StoppedSubscriber = Control;

TEST_F(StoppedSubscriber, GetsNoMoreSignalsUntilItAnswers) {
    start();
    SleepyClient sleeper(bus.address());
    VirtualMainThread clock;
    LevelSubscriptions subscriptions(*audience, clock, [] { return MapList(); });
    subscriptions.add(*client, sleeper.name());
    constexpr int periods = 200;
    clock.advance(periods * LevelSubscriptions::period);
    int received = 0;
    ASSERT_TRUE(waitUntil([&] { return (received = sleeper.wake()) >= 60; }));
    ask("org.freedesktop.DBus.Peer", "Ping", {}); // whatever was sent before has come by then
    EXPECT_EQ(sleeper.wake(), 60) << "of " << periods;
    EXPECT_FALSE(subscriptions.isEmpty());
    EXPECT_TRUE(waitUntil([&] {
        clock.advance(LevelSubscriptions::period);
        return sleeper.wake() > 60;
    })) << "it has answered, and gets signals again";
}

} // namespace
} // namespace vello
