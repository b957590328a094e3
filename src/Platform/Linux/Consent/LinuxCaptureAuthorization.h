// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/Consent/ConsentWatch.h"
#include "Platform/Linux/Consent/LinuxConsentStore.h"
#include "Platform/Linux/Consent/QuestionProcess.h"
#include "Ports/CaptureAuthorization.h"
#include "Ports/SystemLog.h"

#include <string>
#include <vector>

namespace vello {

/// The user's consent as the desktop's permission store, or the consent file, has it. Linux has no service
/// that asks for it: this program asks in a process of its own, which writes the answer.
class LinuxCaptureAuthorization final : public CaptureAuthorization {
public:
    /// The command that puts the question to the user, `vello permission ask` of this very program.
    static std::vector<std::string> ownQuestion();

    /// Waits for the first answer, at most two seconds. `question` ends with 0 when it has stored an answer.
    /// `log` outlives the object. There is a QCoreApplication, whose event loop does the rest.
    LinuxCaptureAuthorization(SystemLog& log, ConsentPlaces places,
                              std::vector<std::string> question = ownQuestion());
    ~LinuxCaptureAuthorization() override;

    Consent preflight() override;
    /// A question that is open already is not put a second time.
    void request(Completion completion) override;
    bool isAsking() const override { return question_.isOpen(); }
    /// Puts the question again: there is no other place to change the answer that all desktops have.
    void openSettings() override;
    void onDidChange(Action action) override;

private:
    void ask(Completion completion);

    const Logger logger_;
    Action onDidChange_;
    ConsentWatch watch_;
    QuestionProcess question_;
};

} // namespace vello
