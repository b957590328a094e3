// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

namespace {

/// Makes property tests use the same examples in every run. RC_PARAMS in the environment still overrides
/// this.
[[maybe_unused]] const int kSeeded = setenv("RC_PARAMS", "seed=20231", 0);

} // namespace
