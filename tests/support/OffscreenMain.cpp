// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <QAccessible>
#include <QGuiApplication>

#include <clocale>

/// Runs the tests on the offscreen platform.
int main(int argumentCount, char** arguments) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_FORCE_STDERR_LOGGING", "1");
    qputenv("QT_QPA_UPDATE_IDLE_TIME", "0"); // render the next frame as soon as the current one is done
    testing::InitGoogleTest(&argumentCount, arguments);
    const QGuiApplication application(argumentCount, arguments);
    std::setlocale(LC_NUMERIC, "C");
    QAccessible::setActive(true);
    return RUN_ALL_TESTS();
}
