// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Diagnosis/DiagnosisFacts.h"
#include "Control/Diagnosis/Troubles.h"

#include <string>
#include <vector>

namespace vello {

/// Whether a page names the user's applications and what they play.
enum class ApplicationNames { hidden, shown };

/// One page for a report, in English: the first line says what is wrong, "No trouble found." where `findings`
/// is empty. With hidden names each application is "application 1" and so on. Safe for a terminal.
std::string diagnosisPage(const DiagnosisFacts& facts, const std::vector<Finding>& findings,
                          ApplicationNames names);

} // namespace vello
