// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <QApplication>

#include <clocale>

/// Runs the tests of windows and menus on the offscreen platform.
int main(int argumentCount, char** arguments) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_FORCE_STDERR_LOGGING", "1");
    qunsetenv("XDG_CURRENT_DESKTOP");
    testing::InitGoogleTest(&argumentCount, arguments);
    const QApplication application(argumentCount, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    std::setlocale(LC_NUMERIC, "C");
    return RUN_ALL_TESTS();
}
