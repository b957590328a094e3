// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Localization.h"
#include "Foundation/Product.h"
#include "Platform/Linux/Consent/ConsentAnswerCodes.h"
#include "Platform/Linux/System/CharacterEncoding.h"
#include "UI/Appearance/DesktopAppearance.h"
#include "UI/ConsentQuestion/ConsentQuestion.h"

#include <QApplication>

#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>

/// Asks the user for consent and returns the answer as the exit code. It is a separate program, so that no
/// other program has to load Qt Widgets.
int main(int argumentCount, char** arguments) {
    // Without the parent process nothing would read the answer.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    vello::useUTF8();
    const QApplication application(argumentCount, arguments);
    vello::setLanguage(vello::preferredLanguage([](const char* name) { return std::getenv(name); }));
    vello::adoptLayoutDirection();
    QGuiApplication::setApplicationDisplayName(vello::kApplicationName);
    QGuiApplication::setDesktopFileName(vello::kBundleIdentifier);
    vello::ConsentQuestion question;
    const vello::DesktopAppearance desktop(QDBusConnection::sessionBus(),
                                           qEnvironmentVariable("VELLO_APPEARANCE"));
    const auto follow = [&] { question.setAppearance(desktop.appearance()); };
    follow();
    QObject::connect(&desktop, &vello::DesktopAppearance::changed, &question, follow);
    question.exec();
    switch (question.answer()) {
    case vello::Consent::allowed:
        return vello::kExitConsentAllowed;
    case vello::Consent::denied:
        return vello::kExitConsentDenied;
    case vello::Consent::undecided:
        break;
    }
    return 1;
}
