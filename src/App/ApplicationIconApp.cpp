// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/CharacterEncoding.h"
#include "Platform/Linux/System/UserFolders.h"
#include "UI/ApplicationIcons/ApplicationIconImages.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QImageReader>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <ranges>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace vello {
namespace {

constexpr unsigned kMostSeconds = 5; ///< seconds; bounds the wait for a folder or pipe without an answer
constexpr rlim_t kMostProcessorSeconds = 2; ///< seconds; ends a drawing that never finishes
#ifdef __SANITIZE_ADDRESS__
constexpr rlim_t kMostMemory = RLIM_INFINITY; ///< the sanitizer's own memory would exceed any limit
#else
constexpr rlim_t kMostMemory = 256 * 1024 * 1024; ///< bytes
#endif
constexpr int kLargestImage = 64; ///< MB of pixels: 4096 by 4096

void limit(decltype(RLIMIT_CPU) what, rlim_t most) {
    const rlimit limits{most, most};
    ::setrlimit(what, &limits);
}

/// Icons are untrusted files. Limits time and memory, so that a hostile file cannot keep this process busy.
void limitThisProcess() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::signal(SIGALRM, SIG_DFL);
    ::alarm(kMostSeconds);
    limit(RLIMIT_CPU, kMostProcessorSeconds);
    limit(RLIMIT_DATA, kMostMemory);
    limit(RLIMIT_CORE, 0);
    QImageReader::setAllocationLimit(kLargestImage);
}

void findThemes(const QString& theme) {
    QStringList icons{QDir::homePath() + QStringLiteral("/.icons")};
    QStringList loose;
    for (const std::filesystem::path& folder : applicationDataFolders(processEnvironment())) {
        icons.append(QString::fromStdString((folder / "icons").string()));
        loose.append(QString::fromStdString((folder / "pixmaps").string()));
    }
    QIcon::setThemeSearchPaths(icons);
    QIcon::setFallbackSearchPaths(icons + loose);
    QIcon::setFallbackThemeName(QStringLiteral("hicolor"));
    QIcon::setThemeName(theme.isEmpty() ? QStringLiteral("hicolor") : theme);
}

/// Some desktop entries include the file extension in the icon's name.
QString withoutEnding(const QString& name) {
    for (const char* const ending : {".png", ".svg", ".xpm"})
        if (name.endsWith(QLatin1String(ending)))
            return name.chopped(4);
    return name;
}

QIcon iconOf(const QString& name) {
    if (name.startsWith(u'/'))
        return QFileInfo(name).isFile() ? QIcon(name) : QIcon();
    if (name.contains(u'/'))
        return {};
    const QIcon icon = QIcon::fromTheme(name);
    return icon.isNull() ? QIcon::fromTheme(withoutEnding(name)) : icon;
}

/// A file that is not an image yields an icon that draws nothing.
bool canBeDrawn(const QIcon& icon) {
    return !icon.isNull() && !icon.pixmap(QSize(32, 32), 1.0).isNull();
}

bool write(const QByteArray& images) {
    const auto size = static_cast<std::size_t>(images.size());
    return std::fwrite(images.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
}

/// `words`: the theme, then the icon's possible names.
bool drawIcon(const std::vector<QString>& words) {
    findThemes(words.empty() ? QString() : words.front());
    for (const QString& name : words | std::views::drop(1)) {
        const QIcon icon = iconOf(name);
        if (canBeDrawn(icon))
            return write(applicationIconImages(icon));
    }
    return false;
}

} // namespace
} // namespace vello

/// Finds and draws the icon of an application; see ApplicationIconImages.h. It is a separate program, so that
/// a file made to hang or to exhaust memory affects only this process.
int main(int argumentCount, char** arguments) {
    vello::limitThisProcess();
    vello::useUTF8();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int ownName = 1; // only names follow, even when they look like Qt options
    const QGuiApplication application(ownName, arguments);
    try {
        return vello::drawIcon({arguments + std::min(argumentCount, 1), arguments + argumentCount}) ? 0 : 1;
    } catch (const std::exception&) {
        return 1; // the caller shows another icon
    }
}
