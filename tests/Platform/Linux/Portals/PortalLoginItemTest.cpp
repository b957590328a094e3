// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Portals/PortalLoginItem.h"

#include "PrivateBus.h"
#include "support/TemporaryFolder.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>

#include <array>

namespace vello {
namespace {

using namespace std::chrono_literals;
using Status = LoginItem::Status;

/// A Background portal on a private bus. Its answer to a call is a signal of the object that the call's token
/// names.
class FakeBackgroundPortal final : public QDBusVirtualObject {
public:
    explicit FakeBackgroundPortal(const std::string& address)
        : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), "fake portal")) {
        EXPECT_TRUE(bus_.registerVirtualObject("/org/freedesktop/portal/desktop", this));
        EXPECT_TRUE(bus_.registerService("org.freedesktop.portal.Desktop"));
    }
    ~FakeBackgroundPortal() override { QDBusConnection::disconnectFromBus("fake portal"); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() != "RequestBackground")
            return false;
        options = qdbus_cast<QVariantMap>(message.arguments().value(1));
        const QString sender = message.service().mid(1).replace('.', '_');
        const QString path = "/org/freedesktop/portal/desktop/request/" + sender + "/" +
                             options.value("handle_token").toString();
        connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(path))));
        if (isSilent)
            return true;
        QDBusMessage answer = QDBusMessage::createSignal(path, "org.freedesktop.portal.Request", "Response");
        const bool isAutostarted = !refuses && options.value("autostart").toBool();
        answer << uint(refuses ? 1 : 0) << QVariantMap{{"background", true}, {"autostart", isAutostarted}};
        connection.send(answer);
        return true;
    }
    QString introspect(const QString&) const override { return {}; }

    bool refuses = false;
    bool isSilent = false;
    QVariantMap options; ///< of the last call

private:
    QDBusConnection bus_;
};

class PortalLoginItems : public testing::Test {
protected:
    PortalLoginItem item(std::chrono::milliseconds patience = 5s) const {
        return PortalLoginItem({bus.address(), folder.path() / "state" / "autostart"},
                               {"vello", "--background"}, patience);
    }

    int argumentCount = 1;
    char program[5] = "test";
    std::array<char*, 2> arguments{program, nullptr};
    QCoreApplication application{argumentCount, arguments.data()};
    TemporaryFolder folder;
    session::PrivateBus bus{folder.path(), session::PrivateBus::Services::none};
};

TEST_F(PortalLoginItems, AreWhatThePortalHasAnswered) {
    FakeBackgroundPortal portal(bus.address());
    EXPECT_EQ(item().status(), Status::notRegistered);
    item().registerItem();
    EXPECT_EQ(item().status(), Status::enabled);
    EXPECT_EQ(portal.options.value("commandline").toStringList(), QStringList({"vello", "--background"}));
    EXPECT_TRUE(portal.options.value("autostart").toBool());
    item().unregisterItem();
    EXPECT_FALSE(portal.options.value("autostart").toBool());
    EXPECT_EQ(item().status(), Status::notRegistered);
    EXPECT_NO_THROW(item().unregisterItem());
}

TEST_F(PortalLoginItems, NeedAnApprovalAfterARefusal) {
    FakeBackgroundPortal portal(bus.address());
    portal.refuses = true;
    EXPECT_THROW(item().registerItem(), std::runtime_error);
    EXPECT_EQ(item().status(), Status::requiresApproval);
    EXPECT_THROW(item().unregisterItem(), std::runtime_error);
}

TEST_F(PortalLoginItems, DoNotWaitForLongWhereNobodyAnswers) {
    EXPECT_THROW(item(50ms).registerItem(), std::runtime_error);
    FakeBackgroundPortal portal(bus.address());
    portal.isSilent = true;
    EXPECT_THROW(item(50ms).registerItem(), std::runtime_error);
    EXPECT_NE(item().status(), Status::enabled);
}

} // namespace
} // namespace vello
