// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/ApplicationUnit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kSlice = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

std::string likeliest(const std::string& unit) {
    const auto identifiers = applicationsOfControlGroup(kSlice + unit);
    return identifiers.empty() ? "none" : identifiers.front();
}

TEST(ApplicationUnitTest, ReadsTheNamesThatDesktopsGive) {
    EXPECT_EQ(likeliest("app-gnome-org.gnome.Music-1234.scope"), "org.gnome.Music");
    EXPECT_EQ(likeliest("app-org.kde.elisa-abc123.scope"), "org.kde.elisa");
    EXPECT_EQ(likeliest("app-gnome-firefox\\x2desr-1234.scope"), "firefox-esr");
    EXPECT_EQ(likeliest("app-flatpak-org.example.App-1234.scope"), "org.example.App");
    EXPECT_EQ(likeliest("app-org.example.App@0123456789abcdef.service"), "org.example.App");
    EXPECT_EQ(likeliest("app-org.example.App@autostart.service"), "org.example.App");
    EXPECT_EQ(likeliest("app-KDE-org.example.App@1.service"), "org.example.App");
    EXPECT_EQ(likeliest("app-org.example.App.service"), "org.example.App");
    EXPECT_EQ(likeliest("app-org.example.App.slice/anything.scope"), "org.example.App");
    EXPECT_EQ(likeliest("app-dbus\\x2d:1.2\\x2dorg.example.App.slice/dbus-:1.2-org.example.App@0.service"),
              "org.example.App");
}

TEST(ApplicationUnitTest, ReadsTheNamesThatSnapGives) {
    EXPECT_EQ(likeliest("snap.spotify.spotify-3f2a6ac5-8d1e-4c8b-9b70-6b9a7b5f3e1d.scope"),
              "spotify_spotify");
    EXPECT_EQ(likeliest("snap.vlc.vlc.3f2a6ac5-8d1e-4c8b-9b70-6b9a7b5f3e1d.scope"), "vlc_vlc");
    EXPECT_EQ(likeliest("snap.my-app.cmd.1234.scope"), "my-app_cmd");
    EXPECT_EQ(likeliest("snap.firefox.firefox.service"), "firefox_firefox");
    EXPECT_THAT(applicationsOfControlGroup("/snap.suite.writer.scope"),
                ElementsAre("suite_writer", "suite_suite"));
}

TEST(ApplicationUnitTest, OffersTheLongerNamesOfIdentifiersThatWereNotEscaped) {
    EXPECT_THAT(applicationsOfControlGroup("/app-my-own-app-12.scope"),
                ElementsAre("app", "own-app", "my-own-app"));
    EXPECT_THAT(applicationsOfControlGroup("/app-a-b.slice"), ElementsAre("b", "a-b", "a"));
}

TEST(ApplicationUnitTest, TheInnermostUnitCounts) {
    EXPECT_EQ(likeliest("app-outer-1.scope/app-inner-2.scope"), "inner");
    EXPECT_EQ(likeliest("app-outer-1.scope/tab(7).scope"), "outer");
}

TEST(ApplicationUnitTest, OtherUnitsAreNoApplications) {
    for (const char* group :
         {"", "/", "/init.scope", "/user.slice/user-1000.slice/session-2.scope", "/app.slice",
          "/system.slice/ssh.service", "/app-.scope", "/app-x", "/snap.x", "/snap.x.scope",
          "/user.slice/user-1000.slice/user@1000.service/session.slice/pipewire.service"})
        EXPECT_THAT(applicationsOfControlGroup(group), IsEmpty()) << group;
}

TEST(ApplicationUnitTest, NamesThatCouldDoHarmAreNone) {
    for (const char* group : {"/app-..\\x2f..\\x2fetc-1.scope", "/app-\\x00-1.scope", "/app-..-1.scope",
                              "/app-a b-1.scope", "/app-\\xff-1.scope", "/snap.../x.scope"})
        EXPECT_THAT(applicationsOfControlGroup(group), IsEmpty()) << group;
    EXPECT_THAT(applicationsOfControlGroup("/app-" + std::string(256, 'x') + "-1.scope"), IsEmpty());
    EXPECT_TRUE(isApplicationIdentifier(std::string(255, 'x')));
    EXPECT_FALSE(isApplicationIdentifier(""));
    EXPECT_FALSE(isApplicationIdentifier("."));
    EXPECT_FALSE(isApplicationIdentifier("a/b"));
}

} // namespace
} // namespace vello
