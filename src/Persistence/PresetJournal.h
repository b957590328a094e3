// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/PresetLedger.h"

#include <string>
#include <string_view>

namespace vello {

/// The ledger of one machine as it is stored and sent to the other machines.
struct PresetJournal {
    std::string machine; ///< random, never empty
    PresetLedger ledger;
};

/// JSON in UTF-8. Throws CodingError for gains that are not finite and names that are not valid UTF-8.
std::string encodeJournal(const PresetJournal& journal);
/// Checks everything that the ledger relies on, because other machines' data is untrusted. Throws
/// CodingError, also for a journal of a later version of this program.
PresetJournal decodeJournal(std::string_view text);

} // namespace vello
