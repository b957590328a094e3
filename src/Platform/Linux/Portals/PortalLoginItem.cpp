// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Portals/PortalLoginItem.h"

#include "Foundation/Files.h"
#include "PortalRequest.h"

#include <QDBusConnection>
#include <QStringList>
#include <QUuid>

#include <optional>
#include <stdexcept>

namespace vello {
namespace {

constexpr char kBackground[] = "org.freedesktop.portal.Background";
constexpr char kEnabled[] = "enabled\n";
constexpr char kRefused[] = "refused\n";
constexpr std::size_t kLongestAnswer = 64;

/// A connection of its own, closed with the object.
class SessionBus {
public:
    explicit SessionBus(const std::string& address)
        : bus_(QDBusConnection::connectToBus(QString::fromStdString(address),
                                             QUuid::createUuid().toString())) {}
    ~SessionBus() { QDBusConnection::disconnectFromBus(bus_.name()); }
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    const QDBusConnection& connection() const { return bus_; }

private:
    const QDBusConnection bus_;
};

} // namespace

LoginItem::Status PortalLoginItem::status() {
    const auto answer = readFile(places_.answer, kLongestAnswer);
    if (!answer)
        return Status::notRegistered;
    return *answer == kEnabled ? Status::enabled : Status::requiresApproval;
}

void PortalLoginItem::registerItem() {
    const bool isEnabled = request(true);
    keep(isEnabled ? kEnabled : kRefused);
    if (!isEnabled)
        throw std::runtime_error("the desktop does not start VELLO at login; allow that VELLO runs in the "
                                 "background in its settings");
}

void PortalLoginItem::unregisterItem() {
    if (status() == Status::notRegistered)
        return;
    if (request(false))
        throw std::runtime_error("the desktop still starts VELLO at login; change that in its settings");
    std::filesystem::remove(places_.answer);
}

bool PortalLoginItem::request(bool isEnabled) const {
    const SessionBus bus(places_.busAddress);
    QStringList command;
    for (const std::string& word : command_)
        command.append(QString::fromStdString(word));
    const auto answer = PortalRequest(bus.connection())
                            .call(kBackground, "RequestBackground",
                                  {{"reason", "VELLO equalizes what your applications play."},
                                   {"autostart", isEnabled},
                                   {"commandline", command},
                                   {"dbus-activatable", false}},
                                  patience_);
    if (!answer && isEnabled)
        return false;
    if (!answer)
        throw std::runtime_error("the desktop does not answer; try again");
    return answer->value("autostart").toBool();
}

void PortalLoginItem::keep(const char* answer) const {
    createPrivateFolder(places_.answer.parent_path());
    writeFileAtomically(places_.answer, answer);
}

} // namespace vello
