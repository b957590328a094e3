// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/AppIconProvider.h"

#include "UI/ApplicationIcons/ApplicationIconImages.h"

#include "support/FakeRunningApplications.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <QColor>
#include <QImage>
#include <QSignalSpy>

#include <sys/stat.h>

namespace vello {
namespace {

constexpr std::int32_t kPlayer = 101;

/// Icons in real files, in temporary folders.
class AppIconProviderTest : public testing::Test {
protected:
    AppIconProviderTest() {
        setVariable("XDG_DATA_HOME", folder_ / "user");
        setVariable("XDG_DATA_DIRS", folder_ / "system");
        setVariable("HOME", folder_ / "home");
        textFile("system/icons/hicolor/index.theme",
                 "[Icon Theme]\nName=hicolor\nDirectories=22x22/apps,44x44/apps,48x48/apps,scalable/apps\n"
                 "[22x22/apps]\nSize=22\n[44x44/apps]\nSize=44\n[48x48/apps]\nSize=48\n"
                 "[scalable/apps]\nSize=48\nMinSize=1\nMaxSize=512\nType=Scalable\n");
    }
    ~AppIconProviderTest() override {
        for (const auto& [name, value] : before_)
            value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }

    void setVariable(const char* name, const std::filesystem::path& folder) {
        before_.emplace_back(name, qEnvironmentVariableIsSet(name) ? qgetenv(name) : QByteArray());
        qputenv(name, QByteArray::fromStdString(folder.string()));
    }

    std::string imageFile(std::string_view name, const QColor& color, int side = 48) const {
        const auto file = folder_ / name;
        std::filesystem::create_directories(file.parent_path());
        QImage image(side, side, QImage::Format_RGB32);
        image.fill(color);
        EXPECT_TRUE(image.save(QString::fromStdString(file.string()))) << file;
        return file.string();
    }
    std::string textFile(std::string_view name, std::string_view content) const {
        writeTestFile(folder_ / name, content);
        return (folder_ / name).string();
    }
    std::string drawing(std::string_view name, std::string_view content) const {
        return textFile(name, std::string("<svg xmlns='http://www.w3.org/2000/svg' "
                                          "xmlns:xlink='http://www.w3.org/1999/xlink' viewBox='0 0 9 9'>")
                                  .append(content)
                                  .append("</svg>"));
    }

    /// The icon of an application whose desktop entry contains this icon name. Null when there is no icon.
    QIcon iconNamed(const std::string& name) { return iconOf("player", name); }
    QIcon iconOf(const std::string& bundleID, std::optional<std::string> name) {
        applications_.applications[kPlayer] = {bundleID, "Player", std::move(name)};
        const AppAudioSource source{bundleID, kPlayer, "Player", bundleID};
        EXPECT_TRUE(icons_.icon(source).isNull());
        awaitEnd(icons_);
        return icons_.knownIcon(source);
    }
    static void awaitEnd(const AppIconProvider& icons) {
        QSignalSpy finished(&icons, &AppIconProvider::finished);
        EXPECT_TRUE(!icons.isLooking() || finished.wait(30'000));
    }
    static QColor middle(const QIcon& icon, double pixelRatio = 1.0) {
        const QImage image = icon.pixmap(QSize(22, 22), pixelRatio).toImage();
        return image.isNull() ? QColor() : image.pixelColor(image.width() / 2, image.height() / 2);
    }

    TemporaryFolder folder_;
    FakeRunningApplications applications_;
    AppIconProvider icons_{applications_, VELLO_ICON_PROGRAM};

private:
    std::vector<std::pair<const char*, QByteArray>> before_;
};

TEST_F(AppIconProviderTest, FindsAnIconInTheThemesOfTheUserAndOfTheSystem) {
    imageFile("user/icons/hicolor/48x48/apps/own.png", Qt::red);
    imageFile("system/icons/hicolor/48x48/apps/shared.png", Qt::blue);
    EXPECT_EQ(middle(iconOf("one", "own")), QColor(Qt::red));
    EXPECT_EQ(middle(iconOf("two", "shared")), QColor(Qt::blue));
}

TEST_F(AppIconProviderTest, FindsTheIconThatFlatpakExportsForTheUserThoughTheSessionDoesNotNameItsFolder) {
    drawing("user/flatpak/exports/share/icons/hicolor/scalable/apps/org.example.Player.svg",
            "<rect width='9' height='9' fill='#00ff00'/>");
    EXPECT_EQ(middle(iconOf("org.example.Player", {})), QColor(Qt::green));
}

TEST_F(AppIconProviderTest, FindsAFileByItsAbsoluteNameInEveryKindOfImage) {
    EXPECT_EQ(middle(iconOf("png", imageFile("snap/player/current/meta/gui/icon.png", Qt::red))),
              QColor(Qt::red));
    EXPECT_EQ(middle(iconOf("xpm", imageFile("icon.xpm", Qt::blue))), QColor(Qt::blue));
    EXPECT_EQ(middle(iconOf("svg", drawing("icon.svg", "<rect width='9' height='9' fill='#00ff00'/>"))),
              QColor(Qt::green));
}

TEST_F(AppIconProviderTest, FindsALooseFileInTheFolderOfPixmapsAlsoWithItsEnding) {
    imageFile("system/pixmaps/loose.xpm", Qt::red);
    EXPECT_EQ(middle(iconOf("one", "loose")), QColor(Qt::red));
    EXPECT_EQ(middle(iconOf("two", "loose.xpm")), QColor(Qt::red));
}

TEST_F(AppIconProviderTest, FallsBackToTheIconThatHasTheApplicationsName) {
    imageFile("user/icons/hicolor/48x48/apps/org.example.Player.png", Qt::red);
    EXPECT_EQ(middle(iconOf("org.example.Player", "missing")), QColor(Qt::red));
}

TEST_F(AppIconProviderTest, AnApplicationWhoseProcessIsNotKnownHasTheIconOfItsEntry) {
    imageFile("user/icons/hicolor/48x48/apps/entry-icon.png", Qt::red);
    applications_.installed["org.example.Sandboxed"] = {"org.example.Sandboxed", "Sandboxed", "entry-icon"};
    const AppAudioSource source{"org.example.Sandboxed", std::nullopt, "Sandboxed", "org.example.Sandboxed"};
    EXPECT_TRUE(icons_.icon(source).isNull());
    awaitEnd(icons_);
    EXPECT_EQ(middle(icons_.knownIcon(source)), QColor(Qt::red));
}

TEST_F(AppIconProviderTest, TakesTheImageOfTheSizeThatTheScreenShows) {
    imageFile("user/icons/hicolor/22x22/apps/player.png", Qt::red, 22);
    imageFile("user/icons/hicolor/44x44/apps/player.png", Qt::blue, 44);
    const QIcon icon = iconNamed("player");
    EXPECT_EQ(middle(icon), QColor(Qt::red));
    EXPECT_EQ(middle(icon, 2.0), QColor(Qt::blue));
    EXPECT_EQ(icon.pixmap(QSize(22, 22), 1.5).size(), QSize(33, 33));
}

TEST_F(AppIconProviderTest, LooksAgainWhereThereWasNoIcon) {
    EXPECT_TRUE(iconNamed("late").isNull());
    imageFile("user/icons/hicolor/48x48/apps/late.png", Qt::red);
    EXPECT_EQ(middle(iconNamed("late")), QColor(Qt::red));
}

TEST_F(AppIconProviderTest, TellsOfEachIconThatItFoundAndOfTheEnd) {
    int found = 0;
    int finished = 0;
    QObject::connect(&icons_, &AppIconProvider::found, [&found] { ++found; });
    QObject::connect(&icons_, &AppIconProvider::finished, [&finished] { ++finished; });
    iconNamed(imageFile("icon.png", Qt::red));
    EXPECT_EQ(found, 1);
    EXPECT_EQ(finished, 1);
    iconOf("other", "missing");
    EXPECT_EQ(found, 1);
    EXPECT_EQ(finished, 2);
}

TEST_F(AppIconProviderTest, HasNoIconsWhereItsProgramIsMissing) {
    AppIconProvider icons(applications_, folder_ / "missing");
    const AppAudioSource source{"player", {}, "Player", "player"};
    EXPECT_TRUE(icons.icon(source).isNull());
    awaitEnd(icons);
    EXPECT_TRUE(icons.knownIcon(source).isNull());
}

TEST_F(AppIconProviderTest, TakesOnlyWholeImagesAndNothingBehindThem) {
    QPixmap red(88, 88);
    red.fill(Qt::red);
    const QByteArray images = applicationIconImages(QIcon(red));
    EXPECT_EQ(middle(applicationIcon(images)), QColor(Qt::red));
    EXPECT_TRUE(applicationIcon(images + "\n").isNull());
    EXPECT_TRUE(applicationIcon(images.chopped(1)).isNull());
    EXPECT_TRUE(applicationIcon({}).isNull());
}

TEST_F(AppIconProviderTest, TakesNamesThatLookLikeOptionsOrPathsForNames) {
    imageFile("secret.png", Qt::red);
    for (const char* const name : {"-platform", "--help", "", "../secret", ".", "\x01\xff", "%n"})
        EXPECT_TRUE(iconNamed(name).isNull()) << name;
}

TEST_F(AppIconProviderTest, HasNoIconForAFileThatIsNone) {
    ASSERT_EQ(::mkfifo((folder_ / "pipe.png").c_str(), 0600), 0);
    for (const std::string& file :
         {std::string("/dev/zero"), std::string("/proc/self/mem"), (folder_ / "pipe.png").string(),
          folder_.path().string(), (folder_ / "missing.png").string(), textFile("text.png", "no image"),
          textFile("empty.svg", "")})
        EXPECT_TRUE(iconNamed(file).isNull()) << file;
}

TEST_F(AppIconProviderTest, WaitsForAPipeInTheThemeOnlyUntilItsProgramIsEnded) {
    std::filesystem::create_directories(folder_ / "user/icons/hicolor/48x48/apps");
    ASSERT_EQ(::mkfifo((folder_ / "user/icons/hicolor/48x48/apps/pipe.png").c_str(), 0600), 0);
    EXPECT_TRUE(iconNamed("pipe").isNull());
    EXPECT_FALSE(iconOf("next", imageFile("icon.png", Qt::red)).isNull());
}

TEST_F(AppIconProviderTest, RefusesAnImageThatWouldFillTheMemory) {
    EXPECT_TRUE(iconNamed(textFile("huge.ppm", "P6 100000 100000 255\n")).isNull());
}

TEST_F(AppIconProviderTest, GivesADrawingUpThatNeverEnds) {
    std::string nested = "<g id='l0'><rect width='9' height='9'/></g>";
    for (int level = 1; level < 6; ++level) {
        nested += "<g id='l" + std::to_string(level) + "'>";
        for (int copy = 0; copy < 100; ++copy)
            nested += "<use xlink:href='#l" + std::to_string(level - 1) + "'/>";
        nested += "</g>";
    }
    EXPECT_TRUE(iconOf("endless", drawing("endless.svg", nested)).isNull());
    EXPECT_FALSE(iconOf("next", imageFile("icon.png", Qt::red)).isNull());
}

} // namespace
} // namespace vello
