// SPDX-License-Identifier: Apache-2.0
#include "UI/AppIconProvider.h"

#include <QString>

namespace vello {
namespace {

QIcon namedIcon(const std::string& name) {
    const QString text = QString::fromStdString(name);
    const QIcon icon = text.startsWith(u'/') ? QIcon(text) : QIcon::fromTheme(text);
    // A file that is no image makes an icon without any size.
    return icon.isNull() || icon.pixmap(32, 32).isNull() ? QIcon() : icon;
}

} // namespace

QIcon AppIconProvider::icon(const AppAudioSource& source) {
    if (!source.bundleID)
        return runningIcon(source);
    if (const auto known = found_.find(*source.bundleID); known != found_.end())
        return known->second;
    QIcon icon = runningIcon(source);
    if (icon.isNull() && !source.bundleID->starts_with('/'))
        icon = namedIcon(*source.bundleID); // by custom the icon is named as the application
    if (!icon.isNull())
        found_.emplace(*source.bundleID, icon);
    return icon;
}

QIcon AppIconProvider::runningIcon(const AppAudioSource& source) {
    if (!source.pid)
        return {};
    const auto running = applications_.runningApplication(*source.pid);
    return running && running->iconName ? namedIcon(*running->iconName) : QIcon();
}

} // namespace vello
