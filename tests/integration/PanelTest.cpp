// SPDX-License-Identifier: Apache-2.0
#include "PanelTest.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include <sys/wait.h>

namespace vello::session {
namespace {

/// The panel's name among accessible applications.
constexpr const char* kPanelApplication = "VELLO";

/// How long an item must keep its position to count as at rest. The panel's springs are faster.
constexpr auto kRest = 150ms;

} // namespace

void PanelTest::openDesktop(TrayHost trayHost) {
    openSession();
    desktop_ = std::make_unique<PrivateDesktop>(session().environment(), session().folder(), trayHost);
}

void PanelTest::TearDown() {
    expectNoToolkitWarnings(outputs());
    if (HasFailure() && desktop_ != nullptr) {
        keepPicture(screen());
        ADD_FAILURE() << "the panel says:\n" << outputs() << "\nthe desktop says:\n" << desktop_->logs();
    }
    VelloTest::TearDown();
}

std::string PanelTest::outputs() const {
    std::string result;
    for (const auto& process : processes_)
        result += process->output();
    return result;
}

void expectNoToolkitWarnings(const std::string& output) {
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        EXPECT_FALSE(line.starts_with(kQtWarningMark) || line.starts_with(kQtCriticalMark)) << line;
}

void keepPicture(const PrivateScreen& screen) {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()).append(".").append(test->name());
    std::ranges::replace(name, '/', '-');
    const std::filesystem::path folder = VELLO_TEST_RESULTS;
    std::filesystem::create_directories(folder);
    const auto file = folder / (name + ".png");
    if (screen.picture().save(QString::fromStdString(file.string())))
        ADD_FAILURE() << "the screen is in " << file;
}

void PanelTest::startPanel() {
    const auto name = "panel-" + std::to_string(processes_.size());
    processes_.push_back(desktop().start(name, {VELLO_PROGRAM}));
}

double PanelTest::panelLightness() {
    const auto window = panel();
    require(window.has_value(), "the panel is closed");
    const QColor middle = screen()
                              .picture(window->area)
                              .scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                              .pixelColor(0, 0);
    return middle.lightnessF();
}

bool PanelTest::startAgain(const std::string& startupID) {
    const auto again =
        desktop().start("panel-again", {"env", "DESKTOP_STARTUP_ID=" + startupID, VELLO_PROGRAM});
    const auto status = again->waitForExit(8s);
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

void PanelTest::expectQuit() {
    const auto status = panelProcess().waitForExit(8s);
    ASSERT_TRUE(status.has_value()) << "it does not end";
    EXPECT_TRUE(WIFEXITED(*status)) << "signal " << WTERMSIG(*status);
    EXPECT_EQ(WEXITSTATUS(*status), 0);
}

void PanelTest::require(bool condition, const std::string& what) const {
    if (!condition)
        throw std::runtime_error(what);
}

ScreenWindow PanelTest::awaitOpen() {
    ScreenWindow last;
    std::chrono::steady_clock::time_point since;
    const bool isOpen = screen().waitUntil([&] {
        const auto now = std::chrono::steady_clock::now();
        const auto window = panel();
        if (!window || window->area != last.area)
            since = now;
        last = window.value_or(ScreenWindow());
        return window && screen().hasKeyboard(*window) && now - since >= kRest;
    });
    require(isOpen, last.isVisible ? "the panel does not get the keyboard" : "the panel does not open");
    return last;
}

void PanelTest::awaitClosed() {
    require(screen().waitUntil([this] { return !panel(); }), "the panel does not close");
}

AccessibleElement PanelTest::awaitIn(const std::string& application, const std::string& role,
                                     const std::string& name) {
    std::optional<AccessibleElement> found;
    QRect last;
    std::chrono::steady_clock::time_point since;
    const bool isThere = screen().waitUntil([&] {
        const auto now = std::chrono::steady_clock::now();
        QRect extents;
        try {
            found = desktop().accessibleTree().find(application, role, name);
            extents = found ? desktop().accessibleTree().extents(*found) : QRect();
        } catch (const std::runtime_error&) {
            // An element vanished while the tree was read.
        }
        if (extents != last)
            since = now;
        last = extents;
        return !extents.isEmpty() && now - since >= kRest;
    });
    if (!isThere)
        throw std::runtime_error(std::string("no ")
                                     .append(role)
                                     .append(" \"")
                                     .append(name)
                                     .append("\" comes to rest among\n")
                                     .append(describe(desktop().accessibleTree().elements(application))));
    return *found;
}

AccessibleElement PanelTest::await(const std::string& role, const std::string& name) {
    return awaitIn(kPanelApplication, role, name);
}

std::optional<AccessibleElement> PanelTest::find(const std::string& role, const std::string& name) {
    return desktop().accessibleTree().find(kPanelApplication, role, name);
}

void PanelTest::clickOn(const std::string& role, const std::string& name) {
    screen().click(desktop().accessibleTree().extents(await(role, name)).center());
}

} // namespace vello::session
