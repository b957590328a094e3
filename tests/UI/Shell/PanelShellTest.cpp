// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/PanelShell.h"

#include "UI/Panel/GlassSurface.h"

#include "PanelScene.h"
#include "PrivateBus.h"
#include "support/FakeSettingsPortal.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <QApplication>
#include <QFileDialog>

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

TEST_F(PanelShellTest, LetsTheUserChooseAFileAndAsksAboutItInThePanel) {
    writeTestFile(scene.folder / "Open Back.txt", "Filter 1: ON PK Fc 63 Hz Gain 3 dB Q 1.41\n");
    PanelShell shell(parts(), [] {});
    shell.presenter().show(std::nullopt);
    QQuickWindow& window = *shell.presenter().window();
    auto* const model = window.property("panel").value<PanelModel*>();
    ASSERT_TRUE(model);
    const auto choose = [&](int result) {
        emit model->presetFileRequested();
        EXPECT_FALSE(window.isVisible()) << "the panel is in front of the dialog";
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (auto* const dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible()) {
                dialog->setDirectory(QString::fromStdString(scene.folder.path().string()));
                dialog->selectFile(QStringLiteral("Open Back.txt"));
                static_cast<QDialog*>(dialog)->done(result);
            }
        EXPECT_TRUE(window.isVisible());
    };
    choose(QDialog::Rejected);
    EXPECT_FALSE(model->presetImport()->isOpen());
    choose(QDialog::Accepted);
    EXPECT_EQ(model->presetImport()->suggestedName(), "Open Back");
    choose(QDialog::Accepted);
    EXPECT_EQ(model->presetImport()->suggestedName(), "Open Back");
}

TEST_F(PanelShellTest, DimsItsItemWhileTheMasterSwitchIsOff) {
    PanelShell shell(parts(), [] {});
    const auto isDimmed = [&] { return shell.tray().light() == TrayIconLight::dimmed; };
    EXPECT_FALSE(isDimmed());
    scene.controller->setProcessingEnabled(false);
    EXPECT_TRUE(isDimmed());
    scene.controller->setProcessingEnabled(true);
    EXPECT_FALSE(isDimmed());
}

TEST_F(PanelShellTest, ListsThePresetsOfTheOpenCardBelowItsNameAndCutsLongOnes) {
    const auto labels = [this] {
        QStringList result;
        for (const TrayMenuEntry& entry : trayMenu(*scene.controller, *scene.model, [] {}))
            result.append(entry.label);
        return result;
    };
    const QStringList closed{"Open VELLO", "Equalizing enabled", "", "About VELLO", "Quit"};
    EXPECT_EQ(labels(), closed);

    scene.play(1, "A player with a name that is too long for a menu");
    const std::string family = "👨‍👩‍👧"; // one character of eight code units
    scene.controller->saveUserPreset(std::string(38, 'a') + family + "b", std::vector<double>(8, 1.0));
    scene.item("a player with a name that is too long for a menu")->toggle();
    const QStringList open = labels();
    EXPECT_EQ(open.value(3), "A player with a name that is too long fo…");
    EXPECT_TRUE(open.contains(QString(38, u'a') + u'…')) << open.join(u'|').toStdString();
    EXPECT_FALSE(trayMenu(*scene.controller, *scene.model, [] {})[3].choose) << "it only names the source";

    scene.item("a player with a name that is too long for a menu")->toggle();
    EXPECT_EQ(labels(), closed);
}

} // namespace
} // namespace vello
