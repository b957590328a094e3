// SPDX-License-Identifier: Apache-2.0
#include "Foundation/RandomUUID.h"

#include <gmock/gmock.h>
#include <set>
#include <string>

namespace vello {
namespace {

using testing::SizeIs;

TEST(RandomUUID, IsOfVersionFourAndDifferentEachTime) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const std::string uuid = randomUUID();
        EXPECT_THAT(uuid, testing::MatchesRegex(
                              "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
        seen.insert(uuid);
    }
    EXPECT_THAT(seen, SizeIs(100));
}

} // namespace
} // namespace vello
