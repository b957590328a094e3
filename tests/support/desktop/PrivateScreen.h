// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"

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

/// A window of some program on the screen.
struct ScreenWindow {
    std::uint32_t id = 0;
    std::string name = {};
    QRect area = {}; ///< what it covers of the screen; of a window with a shape, that shape's
    bool isVisible = false;
};

/// One line each, for the message of a failed test.
std::string describe(const std::vector<ScreenWindow>& windows);

/// A screen of the test's own, with a pointer and a keyboard that every program takes for real ones. It ends
/// with the object. One thread only.
class PrivateScreen {
public:
    static constexpr int width = 1280;
    static constexpr int height = 900;

    /// Returns when programs can open windows. Throws std::runtime_error with the server's output.
    PrivateScreen(const Environment& environment, const std::filesystem::path& folder);
    ~PrivateScreen();
    PrivateScreen(const PrivateScreen&) = delete;
    PrivateScreen& operator=(const PrivateScreen&) = delete;

    /// What programs find the screen by, in DISPLAY.
    const std::string& name() const { return name_; }
    /// All that is seen, or what is seen of that part.
    QImage picture(QRect part = {0, 0, width, height}) const;

    /// Every window that has a name, also those that are not shown.
    std::vector<ScreenWindow> windows() const;
    /// The first visible one of that name.
    std::optional<ScreenWindow> window(const std::string& name) const;
    /// Whether what is typed goes to that window.
    bool hasKeyboard(const ScreenWindow& window) const;
    /// Makes and shows a plain window of the test's own, which is gone with the screen.
    void openWindow(const std::string& name, QRect area);
    bool hasWindowManager() const;
    bool hasCompositor() const;
    /// Whether some program embeds icons in the old way of X11.
    bool hasEmbeddingTray() const;

    /// Tries whenever windows come and go, and every few milliseconds for what the screen does not tell.
    /// False when it did not hold within `timeout`.
    template <class Condition>
    bool waitUntil(Condition condition, std::chrono::milliseconds timeout = std::chrono::seconds(8)) const {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            awaitEvent(std::chrono::milliseconds(10));
        }
        return true;
    }

    // The devices are as fast as a quick hand, and no faster: programs tell clicks by the time between them.

    void movePointer(QPoint place);
    void pressButton(int button = 1);
    void releaseButton(int button = 1);
    void click(QPoint place, int button = 1);
    /// Presses, moves in steps and lets go.
    void drag(QPoint from, QPoint to);
    /// Presses keys one after the other and lets them all go: {XK_Control_L, XK_q}.
    void pressKeys(const std::vector<std::uint32_t>& keySymbols);
    /// Latin letters, digits and punctuation.
    void type(std::string_view text);

    class Connection;

private:
    void awaitEvent(std::chrono::milliseconds timeout) const;

    std::unique_ptr<ChildProcess> server_;
    std::string name_;
    std::unique_ptr<Connection> connection_;
};

} // namespace vello::session
