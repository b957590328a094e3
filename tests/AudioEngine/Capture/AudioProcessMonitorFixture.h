// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/AudioProcessMonitor.h"

#include "support/FakeAudioHardware.h"
#include "support/FakeRunningApplications.h"
#include "support/RecordingSystemLog.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

namespace vello {

struct ProcessMonitor : testing::Test {
    void SetUp() override {
        monitor->setOnChange(
            [this](const AudioProcessMonitor::Groups& groups) { changes.push_back(groups); });
    }
    AudioObjectID play(std::int32_t pid, std::string bundleID = {}) {
        return hardware.addProcess({.pid = pid, .bundleID = std::move(bundleID)});
    }
    void setRunning(AudioObjectID process, bool isRunning) {
        hardware.setProperty(process, kAudioProcessPropertyIsRunningOutput,
                             std::uint32_t{isRunning ? 1U : 0U});
    }
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& group : monitor->groups())
            names.push_back(group.displayName);
        return names;
    }
    const AudioProcessGroup& onlyGroup() const {
        EXPECT_THAT(monitor->groups(), testing::SizeIs(1));
        return monitor->groups().at(0);
    }

    VirtualMainThread mainThread;
    RecordingSystemLog log;
    FakeAudioHardware hardware{mainThread};
    FakeRunningApplications applications;
    std::vector<AudioProcessMonitor::Groups> changes;
    std::unique_ptr<AudioProcessMonitor> monitor =
        std::make_unique<AudioProcessMonitor>(hardware, mainThread, applications, log);
};

} // namespace vello
