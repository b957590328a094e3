// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/LinuxCaptureAuthorization.h"

#include "Foundation/Product.h"

#include <exception>

namespace vello {

std::vector<std::string> LinuxCaptureAuthorization::ownQuestion() {
    return {"/proc/self/exe", "permission", "ask"};
}

LinuxCaptureAuthorization::LinuxCaptureAuthorization(MainThread& mainThread, SystemLog& log,
                                                     ConsentPlaces places, std::vector<std::string> question)
    : places_(places), logger_(log, kBundleIdentifier, "LinuxCaptureAuthorization"),
      onDidChange_(std::make_shared<Action>()),
      watch_(std::move(places),
             [&mainThread, weak = std::weak_ptr(onDidChange_)] {
                 mainThread.post([weak] {
                     const auto current = weak.lock();
                     if (const Action action = current ? *current : nullptr)
                         action();
                 });
             }),
      question_(std::move(question)) {}

LinuxCaptureAuthorization::~LinuxCaptureAuthorization() = default;

std::optional<int> LinuxCaptureAuthorization::preflight() {
    switch (watch_.consent()) {
    case Consent::allowed:
        return 0;
    case Consent::denied:
        return 1;
    case Consent::undecided:
        break;
    }
    return 2;
}

void LinuxCaptureAuthorization::request(Completion completion) {
    ask(std::move(completion));
}

void LinuxCaptureAuthorization::openSettings() {
    ask([](bool) {});
}

/// The exit code only says that there is an answer; which one it is, the place where it is kept says.
void LinuxCaptureAuthorization::ask(Completion completion) {
    try {
        question_.ask([this, completion = std::move(completion)](bool isAnswered) {
            try {
                const Consent consent = isAnswered ? LinuxConsentStore(places_).read() : Consent::undecided;
                if (consent != Consent::undecided)
                    completion(consent == Consent::allowed);
            } catch (const std::exception& error) {
                logger_.error(error.what());
            }
        });
    } catch (const std::exception& error) {
        logger_.error(std::string("Cannot ask for the consent: ").append(error.what()));
    }
}

void LinuxCaptureAuthorization::onDidChange(Action action) {
    *onDidChange_ = std::move(action);
}

} // namespace vello
