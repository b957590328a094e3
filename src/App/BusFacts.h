// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Diagnosis/DiagnosisFacts.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// What a diagnosis asks of programs that may take their time, or never answer.
struct BusFacts {
    InstanceFacts instance = {};
    std::optional<Consent> consent = {};
    std::optional<bool> hasTrayHost = {};
    /// The system's service that gives realtime priority is there.
    bool hasRealtimeService = false;
    std::vector<std::string> lastErrors = {};
};

/// Collects them on a thread of its own, which may wait for an answer for longer than anybody wants to. So
/// the process must end without destroying static objects (std::quick_exit). Needs a QCoreApplication.
class BusInquiry {
public:
    BusInquiry();

    /// Returns when all is known, and at `deadline` at the latest with what is known by then.
    BusFacts facts(std::chrono::steady_clock::time_point deadline) const;

private:
    class Notebook;

    std::shared_ptr<Notebook> notebook_;
};

} // namespace vello
