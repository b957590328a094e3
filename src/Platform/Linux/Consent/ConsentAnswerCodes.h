// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// How the program that shows the question tells the answer: with exit codes that no program ends with by
/// accident. Any other code is no answer.
inline constexpr int kExitConsentAllowed = 86;
inline constexpr int kExitConsentDenied = 87;

/// File name of that program.
inline constexpr char kConsentQuestionProgram[] = "vello-consent-question";

} // namespace vello
