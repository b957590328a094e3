// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"
#include "LongEnough.h"

#include <QImage>
#include <QPoint>
#include <QRect>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vello::session {

/// A window on the screen.
struct ScreenWindow {
    std::uint32_t id = 0;
    std::string name = {};
    QRect area = {}; ///< the area covered on the screen, limited to the window's shape
    bool isVisible = false;
};

/// One line per window, for the message of a failed test.
std::string describe(const std::vector<ScreenWindow>& windows);

/// A private screen with a pointer and a keyboard that programs cannot tell from real ones. It ends with the
/// object. One thread only.
class PrivateScreen {
public:
    static constexpr int width = 1280;
    static constexpr int height = 900;

    /// Returns when programs can open windows. Throws std::runtime_error with the server's output.
    PrivateScreen(const Environment& environment, const std::filesystem::path& folder);
    ~PrivateScreen();
    PrivateScreen(const PrivateScreen&) = delete;
    PrivateScreen& operator=(const PrivateScreen&) = delete;

    /// The value of DISPLAY for programs on this screen.
    const std::string& name() const { return name_; }
    /// The visible content of the screen or of that part of it.
    QImage picture(QRect part = {0, 0, width, height}) const;

    /// All windows with a name, including hidden ones.
    std::vector<ScreenWindow> windows() const;
    /// The first visible window with that name.
    std::optional<ScreenWindow> window(const std::string& name) const;
    /// Whether that window has the keyboard focus.
    bool hasKeyboard(const ScreenWindow& window) const;
    /// Shows a plain window of the test, which is closed with the screen.
    void openWindow(const std::string& name, QRect area);
    /// Asks the program to close its window, as the button of a window manager does.
    void closeWindow(const ScreenWindow& window);
    bool hasWindowManager() const;
    /// Waits until the window manager shows a window that asks for it. A window manager owns the screen some
    /// time before that, and may drop what is asked of it in between. Returns false on timeout.
    bool awaitWindowsShown(std::chrono::milliseconds timeout) const;
    bool hasCompositor() const;
    /// Whether a program embeds icons with the old X11 tray protocol.
    bool hasEmbeddingTray() const;

    /// Evaluates the condition whenever windows appear or vanish, and every few milliseconds for changes that
    /// the screen does not report. Returns false on timeout.
    template <class Condition>
    bool waitUntil(Condition condition, std::chrono::milliseconds timeout = kLongEnough) const {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            awaitEvent(std::chrono::milliseconds(10));
        }
        return true;
    }

    // The devices are as fast as a quick hand, but not faster, because programs tell clicks apart by their
    // times.

    void movePointer(QPoint place);
    void pressButton(int button = 1);
    void releaseButton(int button = 1);
    void click(QPoint place, int button = 1);
    /// A click that programs do not take for the second one of a double click.
    void clickApart(QPoint place);
    /// Presses the button, moves in steps and releases the button.
    void drag(QPoint from, QPoint to);
    /// Presses keys one after the other and then releases all: {XK_Control_L, XK_q}.
    void pressKeys(const std::vector<std::uint32_t>& keySymbols);
    /// Types Latin letters, digits and punctuation.
    void type(std::string_view text);

    class Connection;

private:
    std::uint32_t makeWindow(const std::string& name, QRect area) const;
    void awaitEvent(std::chrono::milliseconds timeout) const;

    std::unique_ptr<ChildProcess> server_;
    std::string name_;
    std::unique_ptr<Connection> connection_;
    std::chrono::steady_clock::time_point lastRelease_;
};

} // namespace vello::session
