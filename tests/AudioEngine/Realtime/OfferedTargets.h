// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace vello::test {

/// Every instruction set that the installed Highway would compile for if none was disabled.
std::int64_t targetsThatHighwayOffers();

} // namespace vello::test
