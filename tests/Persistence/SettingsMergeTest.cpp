// SPDX-License-Identifier: Apache-2.0
#include "Persistence/SettingsMerge.h"

#include <gmock/gmock.h>

namespace vello {
namespace {

using testing::ElementsAre;

EQSettings volume(double value) {
    EQSettings settings;
    settings.volume = value;
    return settings;
}

UserEQPreset preset(const char* name, double gain) {
    return {name, std::vector<double>(EQSettings::bandCount, gain)};
}

TEST(SettingsMergeTest, WithoutAChangeHereEverythingIsTheirs) {
    const StoredSettings base{{{"a", volume(0.1)}}, {preset("x", 1)}};
    const StoredSettings theirs{{{"b", volume(0.2)}}, {preset("y", 2)}};
    EXPECT_EQ(merged(base, base, theirs), theirs);
}

TEST(SettingsMergeTest, WithoutAChangeThereEverythingIsOurs) {
    const StoredSettings base{{{"a", volume(0.1)}, {"c", {}}}, {preset("x", 1), preset("z", 3)}};
    const StoredSettings ours{{{"a", volume(0.3)}, {"b", volume(0.2)}}, {preset("z", 4), preset("y", 2)}};
    EXPECT_EQ(merged(base, ours, base), ours);
}

TEST(SettingsMergeTest, EachSourceIsOfTheSideThatChangedItAndOursIfBothDid) {
    const StoredSettings base{{{"both", {}}, {"here", {}}, {"removed here", {}}, {"there", {}}}, {}};
    const StoredSettings ours{
        {{"added here", {}}, {"both", volume(0.1)}, {"here", volume(0.1)}, {"there", {}}}, {}};
    const StoredSettings theirs{{{"added there", {}},
                                 {"both", volume(0.2)},
                                 {"here", {}},
                                 {"removed here", {}},
                                 {"there", volume(0.2)}},
                                {}};
    const StoredSettings expected{{{"added here", {}},
                                   {"added there", {}},
                                   {"both", volume(0.1)},
                                   {"here", volume(0.1)},
                                   {"there", volume(0.2)}},
                                  {}};
    EXPECT_EQ(merged(base, ours, theirs), expected);
}

TEST(SettingsMergeTest, EachPresetIsOfTheSideThatChangedItAndOursIfBothDid) {
    const StoredSettings base{
        {}, {preset("both", 0), preset("gone here", 0), preset("gone there", 0), preset("there", 0)}};
    const StoredSettings ours{
        {}, {preset("new here", 1), preset("both", 1), preset("gone there", 0), preset("there", 0)}};
    const StoredSettings theirs{
        {}, {preset("both", 2), preset("gone here", 0), preset("there", 2), preset("new there", 2)}};
    EXPECT_THAT(
        merged(base, ours, theirs).userPresets,
        ElementsAre(preset("new here", 1), preset("both", 1), preset("there", 2), preset("new there", 2)));
}

TEST(SettingsMergeTest, TwoPresetsOfOneNameStayTwo) {
    const StoredSettings ours{{}, {preset("x", 1), preset("x", 2)}};
    EXPECT_EQ(merged({}, ours, {}), ours);
    EXPECT_EQ(merged(ours, ours, ours), ours);
}

} // namespace
} // namespace vello
