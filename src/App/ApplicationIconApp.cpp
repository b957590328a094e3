// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/CharacterEncoding.h"
#include "Platform/Linux/System/UserFolders.h"
#include "UI/ApplicationIcons/ApplicationIconImages.h"

#include <private/qiconloader_p.h>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QImageReader>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ranges>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace vello {
namespace {

constexpr unsigned kMostSeconds = 5;        ///< a folder that does not answer makes nobody wait longer
constexpr rlim_t kMostProcessorSeconds = 2; ///< nor does a drawing that never ends
#ifdef __SANITIZE_ADDRESS__
constexpr rlim_t kMostMemory = RLIM_INFINITY; ///< what the sanitizer keeps for itself is no measure
#else
constexpr rlim_t kMostMemory = 256 * 1024 * 1024; ///< bytes
#endif
constexpr int kLargestImage = 64; ///< MB of pixels: 4096 by 4096

void limit(decltype(RLIMIT_CPU) what, rlim_t most) {
    const rlimit limits{most, most};
    ::setrlimit(what, &limits);
}

/// Icons are files of strangers: whatever happens in here ends soon and by itself.
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

/// Some desktop entries write the ending of the file as well.
QString withoutEnding(const QString& name) {
    for (const char* const ending : {".png", ".svg", ".xpm"})
        if (name.endsWith(QLatin1String(ending)))
            return name.chopped(4);
    return name;
}

/// An icon of the theme may be made of several files. Whoever opened a pipe would wait for its other end;
/// only the toolkit's own loader tells which files those are.
bool consistsOfFiles(const QString& name) {
    return std::ranges::all_of(QIconLoader::instance()->loadIcon(name).entries,
                               [](const auto& entry) { return QFileInfo(entry->filename).isFile(); });
}

QIcon iconInTheme(const QString& name) {
    return consistsOfFiles(name) ? QIcon::fromTheme(name) : QIcon();
}

QIcon iconOf(const QString& name) {
    if (name.startsWith(u'/'))
        return QFileInfo(name).isFile() ? QIcon(name) : QIcon();
    if (name.contains(u'/'))
        return {};
    const QIcon icon = iconInTheme(name);
    return icon.isNull() ? iconInTheme(withoutEnding(name)) : icon;
}

/// A file that is no image makes an icon that draws nothing.
bool canBeDrawn(const QIcon& icon) {
    return !icon.isNull() && !icon.pixmap(QSize(32, 32), 1.0).isNull();
}

} // namespace
} // namespace vello

/// Finds and draws the icon of an application: see ApplicationIconImages.h. A program of its own, so that a
/// file that was made to hang or to fill the memory does that to nobody else.
int main(int argumentCount, char** arguments) {
    vello::limitThisProcess();
    vello::useUTF8();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int ownName = 1; // what follows are names, also when they look like options of the toolkit
    const QGuiApplication application(ownName, arguments);
    const std::vector<QString> words(arguments + std::min(argumentCount, 1), arguments + argumentCount);
    vello::findThemes(words.empty() ? QString() : words.front());
    for (const QString& name : words | std::views::drop(1)) {
        const QIcon icon = vello::iconOf(name);
        if (!vello::canBeDrawn(icon))
            continue;
        const QByteArray images = vello::applicationIconImages(icon);
        const auto size = static_cast<std::size_t>(images.size());
        return std::fwrite(images.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0 ? 0 : 1;
    }
    return 1;
}
