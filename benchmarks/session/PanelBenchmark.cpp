// SPDX-License-Identifier: Apache-2.0
// What the panel costs, seen from outside: the real program on a screen, a desktop and an audio session of
// its own, with ten applications that play. Prints one table; exit code 0: every figure is within its limit.
#include "PanelFigures.h"

#include "Consent.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "PrivateDesktop.h"
#include "ProcessUsage.h"

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vello::benchmark {
namespace {

using namespace std::chrono_literals;
using namespace vello::session;
using Clock = std::chrono::steady_clock;

constexpr int kPlayerCount = 10;
constexpr int kColdOpenings = 5;
constexpr int kWarmOpenings = 15;
/// Two clicks on the icon that are to be two.
constexpr std::chrono::milliseconds kBeyondDoubleClick = 600ms;
constexpr std::chrono::seconds kSettling = 5s;
constexpr std::chrono::seconds kMeasured = 20s;
constexpr const char* kPanelTitle = "VELLO by QUORVIN";
/// Within the panel, where its title stands.
constexpr QRect titleInPanel(60, 12, 240, 24);

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

double megabytes(std::size_t bytes) {
    return static_cast<double>(bytes) / 1e6;
}

/// Sounds whose loudness goes up and down several times a second, each at a pace of its own.
std::string movingSignal(int number) {
    return "sines=" + std::to_string(400 + 10 * number) + "," + std::to_string(402 + 11 * number) + "@0.05";
}

/// A desktop with players on which VELLO is started in one way and another.
class Bench {
public:
    Bench() : desktop_(session_.environment(), session_.folder()) {
        allowCapture(session_);
        empty_ = desktop_.screen().picture();
    }

    void startPlayers() {
        for (int number = 0; number < kPlayerCount; ++number)
            players_.push_back(startPlayer(session_, PlayerKind::native,
                                           {.name = "player" + std::to_string(number),
                                            .applicationID = "org.example.player" + std::to_string(number),
                                            .signal = movingSignal(number)}));
    }

    void start(const std::vector<std::string>& options) {
        vello_.reset();
        desktop_.screen().movePointer({600, 600});
        std::vector<std::string> words{"env", "-u", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON", VELLO_PROGRAM};
        words.insert(words.end(), options.begin(), options.end());
        begun_ = Clock::now();
        vello_ = desktop_.start("vello", words);
    }
    void stop() {
        if (vello_ && !vello_->terminate())
            throw std::runtime_error("VELLO does not end when asked:\n" + vello_->output());
        vello_.reset();
    }
    void awaitIcon() {
        icon_ = desktop_.awaitTrayIcon().center();
        settle();
    }
    /// Until what was begun is over.
    void settle() const { std::this_thread::sleep_for(kSettling); }

    /// From the start of the program.
    double millisecondsToFirstFrame() { return awaitPanel(begun_); }
    /// From the button's movement that the host acts on: its release, unless the panel is there by then.
    double clickToFirstFrame() {
        auto& screen = desktop_.screen();
        screen.movePointer(icon_);
        screen.pressButton();
        const auto pressed = Clock::now();
        screen.releaseButton();
        const auto released = Clock::now();
        return awaitPanel(isPanelDrawn() ? pressed : released);
    }
    void close() {
        std::this_thread::sleep_for(kBeyondDoubleClick);
        desktop_.screen().click(icon_);
        if (!desktop_.screen().waitUntil([this] { return !desktop_.screen().window(kPanelTitle); }))
            throw std::runtime_error("a click on the icon does not close the panel");
        desktop_.screen().movePointer({600, 600});
        std::this_thread::sleep_for(kBeyondDoubleClick);
    }

    double memory() const { return megabytes(proportionalMemory(vello_->pid())); }

    Activity activity() const {
        settle();
        const auto before = waits(vello_->pid());
        const double firstThreadBefore = firstThreadSeconds(vello_->pid());
        const double processBefore = processorSeconds(vello_->pid());
        const auto begin = Clock::now();
        std::this_thread::sleep_for(kMeasured);
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        const auto after = waits(vello_->pid());
        const std::string firstThread = std::to_string(vello_->pid()) + " ";
        const auto count = [&](const std::map<std::string, long>& all) {
            return static_cast<double>(all.lower_bound(firstThread)->second);
        };
        return {(count(after) - count(before)) / seconds,
                (firstThreadSeconds(vello_->pid()) - firstThreadBefore) / seconds,
                (processorSeconds(vello_->pid()) - processBefore) / seconds};
    }

    /// Where the panel opens, so that the others need not look for it. It is open afterwards.
    void learnWhereThePanelIs() {
        start({});
        std::optional<ScreenWindow> panel;
        const auto& screen = desktop_.screen();
        if (!screen.waitUntil([&] { return (panel = screen.window(kPanelTitle)).has_value(); }))
            throw std::runtime_error("the panel does not open:\n" + vello_->output());
        title_ = titleInPanel.translated(panel->area.topLeft());
    }

private:
    bool isPanelDrawn() { return shows(desktop_.screen().picture(title_), empty_.copy(title_)); }
    double awaitPanel(Clock::time_point begin) {
        while (!isPanelDrawn()) {
            if (Clock::now() - begin > 10s)
                throw std::runtime_error("the panel does not open:\n" + vello_->output());
            std::this_thread::sleep_for(1ms);
        }
        return milliseconds(Clock::now() - begin);
    }

    PrivateAudioSession session_;
    PrivateDesktop desktop_;
    std::vector<std::unique_ptr<ChildProcess>> players_;
    std::unique_ptr<ChildProcess> vello_;
    Clock::time_point begun_;
    QImage empty_;
    QRect title_;
    QPoint icon_;
};

bool run() {
    Bench bench;
    Figures figures;
    bench.learnWhereThePanelIs();
    bench.stop();

    bench.start({"--background"});
    bench.awaitIcon();
    figures.memory("memory (PSS), only the tray item", bench.memory(), 30);
    bench.clickToFirstFrame();
    bench.settle();
    figures.memory("memory (PSS), panel open", bench.memory(), 60);
    bench.stop();

    bench.startPlayers();
    bench.start({"--headless"});
    bench.settle();
    figures.memory("memory (PSS) with ten players, without a screen", bench.memory());
    const Activity headless = bench.activity();
    bench.stop();

    std::vector<double> starts;
    for (int number = 0; number < kColdOpenings; ++number) {
        bench.start({});
        starts.push_back(bench.millisecondsToFirstFrame());
        bench.stop();
    }
    std::vector<double> cold;
    for (int number = 0; number < kColdOpenings; ++number) {
        bench.start({"--background"});
        bench.awaitIcon();
        cold.push_back(bench.clickToFirstFrame());
        if (number + 1 < kColdOpenings)
            bench.stop();
    }
    bench.close();
    std::vector<double> warm;
    for (int number = 0; number < kWarmOpenings; ++number) {
        warm.push_back(bench.clickToFirstFrame());
        bench.close();
    }
    const Activity hidden = bench.activity();
    bench.clickToFirstFrame();
    const Activity open = bench.activity();
    figures.memory("memory (PSS) with ten players, panel open", bench.memory());
    bench.close();

    figures.times("start of the program to first frame", starts, 0);
    figures.times("click to first frame, first opening", cold, 300);
    figures.times("click to first frame, later openings", warm, 150);
    figures.wakeUps(headless, hidden);
    figures.processor(headless, hidden, open);
    return figures.areWithinLimits();
}

} // namespace
} // namespace vello::benchmark

int main() {
    try {
        return vello::benchmark::run() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
