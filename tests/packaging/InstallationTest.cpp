// SPDX-License-Identifier: Apache-2.0
#include "support/session/ChildProcess.h"
#include "support/session/PrivateBus.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>

namespace vello {
namespace {

namespace fs = std::filesystem;
using session::ChildProcess;
using session::PrivateBus;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;

constexpr char kIdentifier[] = "com.quorvin.Vello";

/// VELLO as installed by a package, in a folder that serves as the root.
class InstallationTest : public testing::Test {
protected:
    InstallationTest() {
        auto environment = session::ownEnvironment();
        environment["DESTDIR"] = root_.path().string();
        run({VELLO_CMAKE, "--install", VELLO_BUILD_FOLDER, "--prefix", "/usr"}, environment);
    }

    std::string run(const std::vector<std::string>& command, const session::Environment& environment) const {
        return session::runProgram(command, environment, outputs_.path(), 30s);
    }
    fs::path installed(const std::string& name) const { return root_.path() / "usr" / name; }
    std::string share(const std::string& name) const { return (installed("share") / name).string(); }
    std::string program() const { return installed("bin/vello").string(); }
    /// The variables that Qt needs, without this machine's session.
    session::Environment bareEnvironment() const {
        return {{"PATH", session::ownEnvironment()["PATH"]},
                {"HOME", outputs_.path().string()},
                {"XDG_RUNTIME_DIR", outputs_.path().string()}};
    }

    /// Waits until the program is on the bus; false when it ends before or does not come.
    static bool awaitOnBus(const PrivateBus& bus, ChildProcess& vello) {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        const auto isOnBus = [&bus] {
            return bus.call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                             "NameHasOwner", "s", kIdentifier})
                       .find("true") != std::string::npos;
        };
        while (!isOnBus())
            if (vello.waitForExit(20ms) || std::chrono::steady_clock::now() > deadline)
                return false;
        return true;
    }

    TemporaryFolder root_;
    TemporaryFolder outputs_;
};

TEST_F(InstallationTest, HoldsWhatDesktopsAndShellsLookFor) {
    for (const char* const name :
         {"bin/vello", "libexec/vello/vello-panel", "libexec/vello/vello-consent-question",
          "libexec/vello/vello-application-icon", "libexec/vello/vello-redirect-guard"})
        EXPECT_EQ(::access(installed(name).c_str(), X_OK), 0) << name;
    for (const char* const name :
         {"applications/com.quorvin.Vello.desktop", "metainfo/com.quorvin.Vello.metainfo.xml",
          "dbus-1/interfaces/com.quorvin.Vello1.xml", "dbus-1/services/com.quorvin.Vello.service",
          "man/man1/vello.1", "bash-completion/completions/vello", "doc/vello/LICENSE", "doc/vello/README.md",
          "icons/hicolor/scalable/apps/com.quorvin.Vello.svg",
          "icons/hicolor/symbolic/apps/com.quorvin.Vello-symbolic.svg"})
        EXPECT_TRUE(fs::is_regular_file(share(name))) << name;
}

TEST_F(InstallationTest, HasUnitsThatStartWhatIsInstalled) {
    const auto unit = [this](const std::string& name) {
        return readTestFile(installed("lib/systemd/user/" + name + ".service"));
    };
    EXPECT_THAT(unit("vello"), HasSubstr("\nExecStart=/usr/bin/vello --headless\n"));
    EXPECT_THAT(unit("vello-panel"), HasSubstr("\nExecStart=/usr/bin/vello --background\n"));
    // The unit for the bus is the one without a screen, unless the user enables the other one.
    const std::string activated = std::string("dbus-").append(kIdentifier);
    EXPECT_EQ(unit(activated), unit("vello"));
    EXPECT_THAT(unit("vello-panel"), HasSubstr("\nAlias=" + activated + ".service\n"));
    const std::string service = readTestFile(share("dbus-1/services/com.quorvin.Vello.service"));
    EXPECT_THAT(service, HasSubstr("\nExec=/usr/bin/vello --headless\n"));
    EXPECT_THAT(service, HasSubstr("\nSystemdService=" + activated + ".service\n"));
}

TEST_F(InstallationTest, HasUnitsThatSystemdUnderstands) {
    std::vector<std::string> command{"systemd-analyze", "--user", "--man=no", "verify"};
    for (const char* const name : {"vello.service", "vello-panel.service", "vello-given-up@.service"}) {
        std::string unit = readTestFile(installed("lib/systemd/user") / name);
        // The program is checked, too, and is not where the unit says: it has another root.
        if (const auto program = unit.find("=/usr/bin/vello"); program != std::string::npos)
            unit.insert(program + 1, root_.path().string());
        command.push_back((outputs_ / name).string());
        writeTestFile(command.back(), unit);
    }
    EXPECT_EQ(run(command, bareEnvironment()), "");
}

TEST_F(InstallationTest, HasASymbolInTheColoursOfTheBarAndADimmedOne) {
    for (const std::string folder : {"symbolic", "22x22", "24x24"}) {
        const std::string symbol =
            share("icons/hicolor/" + folder + "/apps/com.quorvin.Vello").append("-symbolic.svg");
        const std::string on = readTestFile(symbol);
        EXPECT_THAT(on, HasSubstr("<style id=\"current-color-scheme\"")) << folder;
        EXPECT_THAT(on, HasSubstr("class=\"ColorScheme-Text\" fill=\"currentColor\"")) << folder;
        EXPECT_THAT(on, Not(HasSubstr("opacity"))) << folder;
        const std::string off =
            readTestFile(share("icons/hicolor/" + folder + "/apps/com.quorvin.Vello-off-symbolic.svg"));
        EXPECT_THAT(off, HasSubstr("opacity=\"0.45\" class=\"ColorScheme-Text\"")) << folder;
    }
}

TEST_F(InstallationTest, HasItsIconInEverySize) {
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const std::string side = std::to_string(size);
        const std::string image =
            readTestFile(share("icons/hicolor/" + side + "x" + side + "/apps/" + kIdentifier + ".png"));
        ASSERT_GT(image.size(), 24U) << size;
        EXPECT_EQ(image.substr(1, 3), "PNG");
        // Width and height, big endian.
        for (const std::size_t place : {18U, 22U})
            EXPECT_EQ(static_cast<unsigned char>(image[place]) * 256 +
                          static_cast<unsigned char>(image[place + 1]),
                      size);
    }
}

TEST_F(InstallationTest, RunsFromWhereItIsInstalled) {
    EXPECT_THAT(run({program(), "--version"}, bareEnvironment()), HasSubstr(VELLO_VERSION));
    EXPECT_THAT(run({"readelf", "--dynamic", program(), installed("libexec/vello/vello-panel").string()},
                    bareEnvironment()),
                Not(HasSubstr("PATH")))
        << "libraries of the build are looked for";
}

TEST_F(InstallationTest, FindsItsPanelAndOpensItAgainForASecondStart) {
    const PrivateBus bus(outputs_.path());
    auto environment = bus.environment();
    environment["QT_QPA_PLATFORM"] = "offscreen";
    environment["QT_FORCE_STDERR_LOGGING"] = "1";
    ChildProcess panel({program()}, environment, outputs_ / "panel.log");
    ASSERT_TRUE(awaitOnBus(bus, panel)) << panel.output();
    EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(panel.pid()) + "/exe"),
              fs::canonical(installed("libexec/vello/vello-panel")));
    run({program()}, environment);
    EXPECT_TRUE(panel.isRunning());
    EXPECT_TRUE(panel.terminate());
    EXPECT_THAT(panel.output(), Not(HasSubstr("qrc:"))) << "a view complains";
}

TEST_F(InstallationTest, LeavesARunningOneAloneWhenItIsStartedInTheBackground) {
    const PrivateBus bus(outputs_.path());
    auto environment = bus.environment();
    environment["QT_QPA_PLATFORM"] = "offscreen";
    ChildProcess running({program(), "--headless"}, environment, outputs_ / "vello.log");
    ASSERT_TRUE(awaitOnBus(bus, running)) << running.output();
    EXPECT_EQ(run({program(), "--background"}, environment), "");
    EXPECT_TRUE(running.isRunning());
    EXPECT_TRUE(running.terminate());
}

TEST_F(InstallationTest, TakesADisplayOfEitherKindForAScreen) {
    const PrivateBus bus(outputs_.path());
    for (const char* const display : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        auto environment = bus.environment();
        environment[display] = "none";
        ChildProcess panel({installed("libexec/vello/vello-panel").string(), "-platform", "offscreen"},
                           environment, outputs_ / display);
        EXPECT_TRUE(awaitOnBus(bus, panel)) << panel.output();
        EXPECT_TRUE(panel.terminate());
    }
}

TEST_F(InstallationTest, SaysThatThereIsNoScreen) {
    ChildProcess vello({program()}, bareEnvironment(), outputs_ / "vello.log");
    ASSERT_TRUE(vello.waitForExit(10s));
    EXPECT_THAT(vello.output(), HasSubstr("there is no screen here; run vello --headless"));
}

TEST_F(InstallationTest, SaysWhatToDoWithoutThePanel) {
    for (const char* const name : {"vello-panel", "vello-consent-question"})
        fs::remove(installed("libexec/vello") / name);
    auto environment = bareEnvironment();
    environment["DISPLAY"] = "none";
    ChildProcess panel({program()}, environment, outputs_ / "panel.log");
    ASSERT_TRUE(panel.waitForExit(10s));
    EXPECT_THAT(panel.output(), HasSubstr("install the package vello-panel"));
    ChildProcess question({program(), "permission", "ask"}, environment, outputs_ / "question.log");
    ASSERT_TRUE(question.waitForExit(10s));
    EXPECT_THAT(question.output(), HasSubstr("vello permission allow"));
}

TEST_F(InstallationTest, DescribesItselfAsDesktopsUnderstandIt) {
    EXPECT_EQ(
        run({"desktop-file-validate", share("applications/com.quorvin.Vello.desktop")}, bareEnvironment()),
        "");
    EXPECT_THAT(run({"appstreamcli", "validate", "--no-net", "--explain",
                     share("metainfo/com.quorvin.Vello.metainfo.xml")},
                    bareEnvironment()),
                HasSubstr("Validation was successful"));
}

} // namespace
} // namespace vello
