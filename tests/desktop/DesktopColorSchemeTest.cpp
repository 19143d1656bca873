#include "desktop/DesktopColorScheme.h"

#include <QDBusVariant>

#include <gtest/gtest.h>

namespace {

using Preference = DesktopColorScheme::Preference;

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
