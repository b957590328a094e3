// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace vello {

/// A background for the panel: "dusk", "dawn", "white", "black" or "busy" (many objects in all colours, and
/// lines of text). Null for another name.
QImage wallpaper(const QString& name, QSize pixels);

} // namespace vello
