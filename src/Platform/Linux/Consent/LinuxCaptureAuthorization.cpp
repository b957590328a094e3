// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/LinuxCaptureAuthorization.h"

#include "Foundation/Product.h"

#include <exception>

namespace vello {

std::vector<std::string> LinuxCaptureAuthorization::ownQuestion() {
    return {"/proc/self/exe", "permission", "ask"};
}

LinuxCaptureAuthorization::LinuxCaptureAuthorization(SystemLog& log, ConsentPlaces places,
                                                     std::vector<std::string> question)
    : logger_(log, kBundleIdentifier, "LinuxCaptureAuthorization"), watch_(std::move(places),
                                                                           [this] {
                                                                               if (onDidChange_)
                                                                                   onDidChange_();
                                                                           }),
      question_(std::move(question)) {}

LinuxCaptureAuthorization::~LinuxCaptureAuthorization() = default;

Consent LinuxCaptureAuthorization::preflight() {
    return watch_.consent();
}

void LinuxCaptureAuthorization::request(Completion completion) {
    ask(std::move(completion));
}

void LinuxCaptureAuthorization::openSettings() {
    ask([](bool) {});
}

/// The exit code only says that there is an answer. Which one it is stands where it is kept.
void LinuxCaptureAuthorization::ask(Completion completion) {
    const auto complete = [completion = std::move(completion)](Consent consent) {
        if (consent != Consent::undecided)
            completion(consent == Consent::allowed);
    };
    try {
        question_.ask([this, complete](bool isAnswered) {
            if (isAnswered)
                watch_.read(complete);
        });
    } catch (const std::exception& error) {
        logger_.error(std::string("Cannot ask for the consent: ").append(error.what()));
    }
}

void LinuxCaptureAuthorization::onDidChange(Action action) {
    onDidChange_ = std::move(action);
}

} // namespace vello
