// SPDX-License-Identifier: Apache-2.0
// Files that another program's window drops on the panel.
#include "PanelTest.h"

#include <fstream>

#include <X11/keysym.h>

namespace vello::session {
namespace {

using testing::HasSubstr;

TEST_F(PanelTest, ImportsAFileThatIsDraggedFromAnotherWindow) {
    openDesktop(TrayHost::none);
    const auto file = session().folder() / "Open Back.txt";
    std::ofstream(file) << "Filter 1: ON PK Fc 63 Hz Gain 3 dB Q 1.41\n";
    const auto files = desktop().start("files", {VELLO_FILE_WINDOW, file.string()});
    ASSERT_TRUE(screen().waitUntil([this] { return screen().window("files").has_value(); }));
    startPanel();
    const auto window = awaitOpen();

    screen().movePointer(screen().window("files")->area.center());
    screen().pressButton();
    ASSERT_TRUE(screen().waitUntil([&] { return !screen().hasKeyboard(window); }))
        << "the other window takes the keyboard";
    screen().movePointer(window.area.center() - QPoint(20, 0));
    screen().movePointer(window.area.center());
    ASSERT_TRUE(files->awaitOutput("accepted"));
    screen().releaseButton();
    ASSERT_TRUE(files->awaitOutput("dropped"));

    await("", "Import preset");
    awaitOpen(); // with the keyboard, for the name
    screen().pressKeys({XK_Return});
    await("", "System, collapsed");
    const auto presets = desktop().start("presets", {VELLO_PROGRAM, "presets", "--json"});
    presets->waitForExit(8s);
    EXPECT_THAT(presets->output(), HasSubstr(R"("name":"Open Back","isBuiltIn":false,"bandGains":[3.0)"));
}

} // namespace
} // namespace vello::session
