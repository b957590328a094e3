// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/SettingsPortal.h"

#include "PrivateBus.h"
#include "support/FakeSettingsPortal.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <QDBusArgument>

namespace vello {
namespace {

const QString kCommon = QStringLiteral("org.freedesktop.appearance");
const QString kScheme = QStringLiteral("color-scheme");
const QString kConnection = QStringLiteral("settings portal test");

class SettingsPortalTest : public testing::Test {
protected:
    ~SettingsPortalTest() override { QDBusConnection::disconnectFromBus(kConnection); }

    QDBusConnection connection() const {
        return QDBusConnection::connectToBus(QString::fromStdString(bus.address()), kConnection);
    }
    static QVariant scheme(const SettingsPortal& portal) { return portal.settings()[kCommon][kScheme]; }
    static bool awaitScheme(const SettingsPortal& portal, uint expected) {
        return waitUntil([&] { return scheme(portal) == QVariant(expected); });
    }

    TemporaryFolder folder;
    session::PrivateBus bus{folder.path(), session::PrivateBus::Services::none};
    FakeSettingsPortal fake{bus.address()};
};

TEST_F(SettingsPortalTest, ReadsWhatThePortalTells) {
    fake.settings[kCommon][kScheme] = 1U;
    fake.appear();
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    EXPECT_TRUE(awaitScheme(portal, 1));
    EXPECT_EQ(fake.askedCount, 1);
    EXPECT_EQ(fake.askedNamespaces, portalNamespaces());
}

TEST_F(SettingsPortalTest, TellsEachChangeOnce) {
    fake.settings[kCommon][kScheme] = 1U;
    fake.appear();
    SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(awaitScheme(portal, 1));
    int changes = 0;
    QObject::connect(&portal, &SettingsPortal::changed, [&changes] { ++changes; });
    fake.set(kCommon, kScheme, 1U);
    fake.set(kCommon, kScheme, 2U);
    EXPECT_TRUE(awaitScheme(portal, 2));
    EXPECT_EQ(changes, 1);
}

TEST_F(SettingsPortalTest, HearsOfAPortalThatAppearsLate) {
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    fake.settings[kCommon][kScheme] = 1U;
    fake.appear();
    EXPECT_TRUE(awaitScheme(portal, 1));
}

TEST_F(SettingsPortalTest, KeepsWhatItKnowsWhileThePortalRestarts) {
    fake.settings[kCommon][kScheme] = 1U;
    fake.appear();
    SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(awaitScheme(portal, 1));
    QList<QVariant> told;
    QObject::connect(&portal, &SettingsPortal::changed, [&] { told.append(scheme(portal)); });
    fake.vanish();
    fake.settings[kCommon][kScheme] = 2U;
    fake.appear();
    EXPECT_TRUE(awaitScheme(portal, 2));
    EXPECT_EQ(told, QList<QVariant>{2U});
}

TEST_F(SettingsPortalTest, LeavesOutWhatItDidNotAskFor) {
    fake.settings[QStringLiteral("org.example")][QStringLiteral("key")] = 7;
    fake.settings[kCommon][kScheme] = 1U;
    fake.appear();
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(awaitScheme(portal, 1));
    fake.tell(QStringLiteral("org.example"), QStringLiteral("key"), 8);
    fake.tell(kCommon, kScheme, 2U);
    ASSERT_TRUE(awaitScheme(portal, 2));
    EXPECT_FALSE(portal.settings().contains(QStringLiteral("org.example")));
}

TEST_F(SettingsPortalTest, TheFirstOfSeveralDesktopsDecides) {
    fake.oddAnswer = [] {
        QDBusArgument twice;
        twice.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QVariantMap>());
        for (const uint scheme : {1U, 2U}) {
            twice.beginMapEntry();
            twice << kCommon << QVariantMap{{kScheme, scheme}};
            twice.endMapEntry();
        }
        twice.endMap();
        return QVariant::fromValue(twice);
    };
    fake.appear();
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(waitUntil([&] { return scheme(portal).isValid(); }));
    EXPECT_EQ(scheme(portal), QVariant(1U));
}

TEST_F(SettingsPortalTest, UnpacksColoursAndVariantsInVariants) {
    const QString accent = QStringLiteral("accent-color");
    fake.settings[kCommon][accent] = FakeSettingsPortal::color(0.25, 0.5, 1.0);
    fake.settings[kCommon][kScheme] = QVariant::fromValue(QDBusVariant(1U));
    fake.appear();
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(awaitScheme(portal, 1));
    EXPECT_EQ(portal.settings()[kCommon][accent], QVariant(QVariantList{0.25, 0.5, 1.0}));
    fake.tell(kCommon, accent, FakeSettingsPortal::color(-1.0, -1.0, -1.0));
    const QVariant unknown(QVariantList{-1.0, -1.0, -1.0});
    EXPECT_TRUE(waitUntil([&] { return portal.settings()[kCommon][accent] == unknown; }));
}

TEST_F(SettingsPortalTest, DropsStructuresThatAreNoColour) {
    const QString accent = QStringLiteral("accent-color");
    QDBusArgument odd;
    odd.beginStructure();
    odd << QStringLiteral("red") << 1;
    odd.endStructure();
    fake.settings[kCommon][accent] = QVariant::fromValue(odd);
    fake.settings[kCommon][kScheme] = 1U;
    fake.appear();
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(awaitScheme(portal, 1));
    EXPECT_FALSE(portal.settings()[kCommon][accent].isValid());
}

TEST_F(SettingsPortalTest, HearsOfChangesAlsoFromAPortalThatAnswersOddly) {
    fake.oddAnswer = [] { return QVariant(QStringLiteral("nothing to see here")); };
    fake.appear();
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(waitUntil([&] { return fake.askedCount == 1; }));
    fake.tell(kCommon, kScheme, 1U);
    EXPECT_TRUE(awaitScheme(portal, 1));
}

TEST_F(SettingsPortalTest, HearsOfChangesAlsoFromAPortalThatNeverAnswers) {
    fake.oddAnswer = [] { return QVariant(); };
    fake.appear();
    const SettingsPortal portal(connection(), SettingsPortal::Missing::awaited);
    ASSERT_TRUE(waitUntil([&] { return fake.askedCount == 1; }));
    fake.tell(kCommon, kScheme, 1U);
    EXPECT_TRUE(awaitScheme(portal, 1));
}

} // namespace
} // namespace vello
