// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/PanelShell.h"

#include "UI/Panel/GlassSurface.h"

#include "PanelScene.h"
#include "PrivateBus.h"
#include "support/FakeSettingsPortal.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

const QString kCommon = QStringLiteral("org.freedesktop.appearance");
const QString kScheme = QStringLiteral("color-scheme");
const QString kConnection = QStringLiteral("panel shell test");

class PanelShellTest : public testing::Test {
protected:
    PanelShellTest() { qunsetenv("VELLO_APPEARANCE"); }
    ~PanelShellTest() override { QDBusConnection::disconnectFromBus(kConnection); }

    PanelShell::Parts parts() {
        return {.controller = *scene.controller,
                .meters = *scene.meters,
                .launchAtLogin = scene.launchAtLogin,
                .runningApplications = scene.applications,
                .mainThread = scene.mainThread,
                .iconProgram = VELLO_ICON_PROGRAM,
                .sessionBus =
                    QDBusConnection::connectToBus(QString::fromStdString(bus.address()), kConnection)};
    }

    PanelScene scene;
    session::PrivateBus bus{scene.folder.path(), session::PrivateBus::Services::none};
    FakeSettingsPortal portal{bus.address()};
};

TEST_F(PanelShellTest, ChangesItsLookWithTheDesktopWhileThePanelIsOpen) {
    portal.settings[kCommon][kScheme] = 1U;
    portal.appear();
    PanelShell shell(parts(), [] {});
    shell.presenter().show(std::nullopt);
    const auto* const surface = shell.presenter().window()->findChild<GlassSurface*>();
    ASSERT_TRUE(surface);
    const auto lightness = [surface] { return surface->property("color").value<QColor>().lightnessF(); };
    EXPECT_TRUE(waitUntil([&] { return lightness() < 0.3F; }));
    portal.set(kCommon, kScheme, 2U);
    EXPECT_TRUE(waitUntil([&] { return lightness() > 0.7F; }));
}

} // namespace
} // namespace vello
