// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/WorkArea.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>

#include <algorithm>
#include <cstring>

namespace vello {
namespace {

/// In milliseconds. Desktops answer within 10; the panel is not delayed by one that hangs.
constexpr int kPatience = 200;
/// The interface of sway: this word, the length of the text and its type as numbers of 32 bits, and the text.
constexpr char kMagic[] = "i3-ipc";
constexpr qsizetype kMagicLength = sizeof kMagic - 1;
constexpr qsizetype kHeaderLength = kMagicLength + 2 * sizeof(quint32);
constexpr quint32 kGetWorkspaces = 1;
/// In bytes; a workspace is described in fewer than 1000.
constexpr qsizetype kLongestAnswer = 1 << 20;

QByteArray bytes(quint32 number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

quint32 numberAt(const QByteArray& text, qsizetype position) {
    quint32 number = 0;
    std::memcpy(&number, text.constData() + position, sizeof number);
    return number;
}

bool receive(QLocalSocket& socket, QByteArray& text, qsizetype length) {
    while (text.size() < length) {
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(kPatience))
            return false;
        text += socket.read(length - text.size());
    }
    return true;
}

std::optional<QByteArray> askSway() {
    const QString name = qEnvironmentVariable("SWAYSOCK");
    if (name.isEmpty())
        return std::nullopt;
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(kPatience))
        return std::nullopt;
    socket.write(QByteArray(kMagic) + bytes(0) + bytes(kGetWorkspaces));
    QByteArray header;
    QByteArray answer;
    if (!receive(socket, header, kHeaderLength))
        return std::nullopt;
    const qsizetype length = numberAt(header, kMagicLength);
    return length <= kLongestAnswer && receive(socket, answer, length) ? std::optional(answer) : std::nullopt;
}

std::optional<QRect> askPlasma(const QString& screen, const QDBusConnection& bus) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.kde.plasmashell"), QStringLiteral("/StrutManager"),
        QStringLiteral("org.kde.PlasmaShell.StrutManager"), QStringLiteral("availableScreenRect"));
    call << screen;
    call.setAutoStartService(false);
    const QDBusReply<QRect> area = bus.call(call, QDBus::Block, kPatience);
    return area.isValid() && !area.value().isEmpty() ? std::optional(area.value()) : std::nullopt;
}

} // namespace

std::optional<QRect> workAreaOfWorkspaces(const QByteArray& answer, const QString& output,
                                          const QRect& screen) {
    for (const QJsonValue& value : QJsonDocument::fromJson(answer).array()) {
        const QJsonObject workspace = value.toObject();
        if (!workspace[u"visible"].toBool() || workspace[u"output"].toString() != output)
            continue;
        const QJsonObject rect = workspace[u"rect"].toObject();
        const QRect area(rect[u"x"].toInt(), rect[u"y"].toInt(), rect[u"width"].toInt(),
                         rect[u"height"].toInt());
        const int gap = std::min({area.left() - screen.left(), area.top() - screen.top(),
                                  screen.right() - area.right(), screen.bottom() - area.bottom()});
        if (!area.isEmpty() && screen.contains(area))
            return area.adjusted(-gap, -gap, gap, gap);
    }
    return std::nullopt;
}

std::optional<QRect> workAreaOfDesktop(const QScreen& screen, const QDBusConnection& bus) {
    if (const auto answer = askSway())
        return workAreaOfWorkspaces(*answer, screen.name(), screen.geometry());
    const auto area = askPlasma(screen.name(), bus);
    // Where Plasma does not know the screen, it reports one without bars.
    return area && *area != screen.geometry() && screen.geometry().contains(*area) ? area : std::nullopt;
}

std::optional<QString> focusedOutputOfWorkspaces(const QByteArray& answer) {
    for (const QJsonValue& workspace : QJsonDocument::fromJson(answer).array())
        if (workspace[u"focused"].toBool())
            return workspace[u"output"].toString();
    return std::nullopt;
}

std::optional<QString> focusedOutputOfDesktop() {
    const auto answer = askSway();
    return answer ? focusedOutputOfWorkspaces(*answer) : std::nullopt;
}

} // namespace vello
