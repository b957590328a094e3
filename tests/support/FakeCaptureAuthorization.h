// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/CaptureAuthorization.h"

#include <string>
#include <utility>
#include <vector>

namespace vello {

/// Returns the test's answers and records the calls.
class FakeCaptureAuthorization final : public CaptureAuthorization {
public:
    Consent answer = Consent::undecided;  ///< of preflight()
    std::vector<Completion> openRequests; ///< in the order of the calls; the test answers them
    bool isQuestionOpen = false;          ///< of isAsking()
    std::vector<std::string> calls;       ///< "preflight", "request", "openSettings"

    Consent preflight() override {
        calls.emplace_back("preflight");
        return answer;
    }
    void request(Completion completion) override {
        calls.emplace_back("request");
        openRequests.push_back(std::move(completion));
    }
    bool isAsking() const override { return isQuestionOpen; }
    void openSettings() override { calls.emplace_back("openSettings"); }
    void onDidChange(Action action) override { didChange_ = std::move(action); }

    /// The consent changes, and the system says so.
    void change(Consent newAnswer) {
        answer = newAnswer;
        if (didChange_)
            didChange_();
    }

private:
    Action didChange_;
};

} // namespace vello
