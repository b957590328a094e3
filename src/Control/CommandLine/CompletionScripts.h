// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

// The files in packaging/completions, compiled in.
extern const char* const kBashCompletion;
extern const char* const kZshCompletion;
extern const char* const kFishCompletion;

} // namespace vello
