#include "settings/AppearanceMode.h"

#include <gtest/gtest.h>

TEST(AppearanceMode, OnlyTheThreeStoredValuesBuildAMode) {
    EXPECT_EQ(appearanceModeFromValue(0), AppearanceMode::system);
    EXPECT_EQ(appearanceModeFromValue(1), AppearanceMode::light);
    EXPECT_EQ(appearanceModeFromValue(2), AppearanceMode::dark);
    EXPECT_FALSE(appearanceModeFromValue(3).has_value());
    EXPECT_FALSE(appearanceModeFromValue(-1).has_value());
    EXPECT_EQ(effectiveAppearanceMode(7), AppearanceMode::system);
    EXPECT_EQ(effectiveAppearanceMode(-5), AppearanceMode::system);
    EXPECT_EQ(effectiveAppearanceMode(2), AppearanceMode::dark);
}
