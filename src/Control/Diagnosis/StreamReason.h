// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Diagnosis/DiagnosisFacts.h"

#include <string>

namespace vello {

/// "equalized", or why the stream is not: a phrase for a table.
std::string streamReason(const DiagnosisFacts& facts, const AudioNodeFacts& stream);

} // namespace vello
