// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Localization.h"

namespace vello {

std::span<const Wording> linuxWordings();
std::span<const Wording> germanWordings();
std::span<const Wording> japaneseWordings();

} // namespace vello
