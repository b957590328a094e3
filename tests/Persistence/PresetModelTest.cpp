// SPDX-License-Identifier: Apache-2.0
// Two to four machines edit their presets, are killed, and exchange files in any order and in every way in
// which programs do that.
#include "PresetModel/Schedule.h"
#include "support/CaseCount.h"

#include <gtest/gtest.h>

namespace vello::presetmodel {
namespace {

int schedules() {
    return test::caseCount("VELLO_SCHEDULES", 10000);
}

void runSchedules(unsigned firstSeed, int count, const Schedule::Options& options) {
    for (int i = 0; i < count; ++i) {
        Schedule schedule(firstSeed + static_cast<unsigned>(i), options);
        schedule.run();
        ASSERT_EQ(schedule.verdict(), "") << "seed " << firstSeed + static_cast<unsigned>(i) << "\n"
                                          << schedule.story();
    }
}

class PresetModel : public testing::TestWithParam<Transport> {};

TEST_P(PresetModel, MachinesAgreeAndLoseNoEdit) {
    runSchedules(1, schedules() / 10, {.transport = GetParam()});
}

TEST_P(PresetModel, MachinesAgreeAndLoseNoEditWhileFoldersAreAway) {
    runSchedules(100000, schedules() / 30, {.transport = GetParam(), .hasFailures = true});
}

TEST_P(PresetModel, MachinesWithPresetsFromBeforeTheJournalsAgreeAndLoseNoEdit) {
    runSchedules(200000, schedules() / 30, {.transport = GetParam(), .beginsOld = true});
}

TEST_P(PresetModel, MachinesAgreeWithAnotherProgramThatKnowsNothingOfJournals) {
    runSchedules(300000, schedules() / 30, {.transport = GetParam(), .hasOtherProgram = true});
}

TEST_P(PresetModel, MachinesWhoseHomesAreCopiedAgreeAndLoseNoEdit) {
    runSchedules(400000, schedules() / 30, {.transport = GetParam(), .hasCopiedHomes = true});
}

INSTANTIATE_TEST_SUITE_P(Transports, PresetModel,
                         testing::Values(Transport::mount, Transport::syncthing, Transport::unison,
                                         Transport::cloud, Transport::overwriting));

} // namespace
} // namespace vello::presetmodel
