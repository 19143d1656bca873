#include "desktop/DesktopColorScheme.h"
#include "support/EventLoop.h"
#include "support/FakePortal.h"

#include <QDBusVariant>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

using Preference = DesktopColorScheme::Preference;

class DesktopColorSchemeTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(bus.isValid()) << "dbus-daemon did not start"; }

    bool becomes(Preference expected) {
        return pumpUntil([&] { return scheme.preference() == expected; });
    }

    PrivateBus bus;
    FakePortal portal{bus};
    DesktopColorScheme scheme;
};

} // namespace

TEST(DesktopColorSchemeValue, OnlyOneAndTwoStateAPreferenceHoweverWrapped) {
    const auto wrap = [](QVariant value) { return QVariant::fromValue(QDBusVariant(value)); };
    EXPECT_EQ(colorSchemePreference(QVariant(1u)), Preference::dark);
    EXPECT_EQ(colorSchemePreference(wrap(2u)), Preference::light);
    EXPECT_EQ(colorSchemePreference(wrap(wrap(1u))), Preference::dark);
    EXPECT_EQ(colorSchemePreference(wrap(wrap(0u))), Preference::noPreference);
    EXPECT_EQ(colorSchemePreference(wrap(3u)), Preference::noPreference);
    EXPECT_EQ(colorSchemePreference(wrap(QStringLiteral("1"))), Preference::noPreference);
    EXPECT_EQ(colorSchemePreference(QVariant()), Preference::noPreference);
}

TEST_F(DesktopColorSchemeTest, ReadsTheDesktopsChoiceAndFollowsItsChanges) {
    ASSERT_TRUE(portal.start(1));
    scheme.listenOn(bus.connect());
    EXPECT_EQ(scheme.preference(), Preference::noPreference) << "the answer comes later";
    ASSERT_TRUE(becomes(Preference::dark));

    QSignalSpy changed(&scheme, &DesktopColorScheme::preferenceChanged);
    portal.changeColorScheme(2);
    ASSERT_TRUE(becomes(Preference::light));
    // Other settings pass by; the next colour change proves they were seen and ignored.
    portal.change(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("accent-color"), 1);
    portal.change(QStringLiteral("org.gnome.desktop.interface"), QStringLiteral("color-scheme"), 1);
    portal.changeColorScheme(0);
    ASSERT_TRUE(becomes(Preference::noPreference));
    EXPECT_EQ(changed.count(), 2);
    portal.changeColorScheme(1);
    ASSERT_TRUE(becomes(Preference::dark));
    EXPECT_EQ(portal.reads(), 1) << "changes arrive as signals, not by asking again";
}

TEST_F(DesktopColorSchemeTest, APortalThatGoesAwayLeavesThePaletteAndOneThatComesIsRead) {
    scheme.listenOn(bus.connect()); // no portal on this bus yet
    ASSERT_TRUE(portal.start(2));
    ASSERT_TRUE(becomes(Preference::light));
    portal.stop();
    ASSERT_TRUE(becomes(Preference::noPreference));
    ASSERT_TRUE(portal.start(1)); // restarted, the desktop now dark
    ASSERT_TRUE(becomes(Preference::dark));
    portal.changeColorScheme(2);
    ASSERT_TRUE(becomes(Preference::light)) << "the restarted portal's signals are followed";
}

TEST_F(DesktopColorSchemeTest, APortalWithoutTheSettingStatesNothingUntilItChanges) {
    ASSERT_TRUE(portal.start(std::nullopt));
    scheme.listenOn(bus.connect());
    ASSERT_TRUE(pumpUntil([&] { return portal.reads() == 1; }));
    portal.changeColorScheme(1);
    ASSERT_TRUE(becomes(Preference::dark));
}

TEST_F(DesktopColorSchemeTest, WithoutABusThereIsNoPreference) {
    ASSERT_TRUE(portal.start(1));
    scheme.listenOn(bus.connect());
    ASSERT_TRUE(becomes(Preference::dark));
    const QDBusConnection none = QDBusConnection::connectToBus(
        QStringLiteral("unix:path=/nonexistent/ostrel-bus"), QStringLiteral("no-bus"));
    scheme.listenOn(none);
    EXPECT_EQ(scheme.preference(), Preference::noPreference);
    // The old bus is no longer followed.
    portal.changeColorScheme(2);
    pumpPosted();
    EXPECT_EQ(scheme.preference(), Preference::noPreference);
    QDBusConnection::disconnectFromBus(QStringLiteral("no-bus"));
}
