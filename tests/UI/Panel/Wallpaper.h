// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace vello {

/// What may lie behind the panel: "dusk", "dawn", "white", "black" or "busy" (many things of all colours, and
/// lines of text). Null for another name.
QImage wallpaper(const QString& name, QSize pixels);

} // namespace vello
