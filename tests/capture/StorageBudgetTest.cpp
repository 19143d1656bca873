#include "capture/StorageBudget.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(StorageBudget, LevelsFollowTheResolutionsDataRate) {
    const StorageBudget normal = StorageBudget::forResolution(false);
    EXPECT_EQ(normal.bytesPerMinute, 89128960);
    EXPECT_EQ(normal.stopReserve, 1000000000);
    EXPECT_EQ(normal.warnLevel, 1891289600);
    const StorageBudget high = StorageBudget::forResolution(true);
    EXPECT_EQ(high.bytesPerMinute, 157286400);
    EXPECT_EQ(high.stopReserve, 1000000000);
    EXPECT_EQ(high.warnLevel, 2572864000);
}

TEST(StorageBudget, MinutesCountTowardsTheStopReserveNotTheFullDisk) {
    const StorageBudget normal = StorageBudget::forResolution(false);
    EXPECT_EQ(normal.minutesBeforeStop(1800000000), 8); // 8.98 is truncated
    EXPECT_EQ(normal.minutesBeforeStop(normal.warnLevel - 1), 9);
    EXPECT_EQ(normal.minutesBeforeStop(999999999), 0);
    EXPECT_EQ(normal.minutesBeforeStop(0), 0);
}

TEST(StorageBudget, LabelRoundsTimeAndSizeAsShown) {
    const std::int64_t normalMinute = 89128960;
    EXPECT_EQ(storageText(0, false), QStringLiteral("≈ 0 Min · 0.0 GB frei"));
    EXPECT_EQ(storageText(4000000000, false), QStringLiteral("≈ 45 Min · 4.0 GB frei"));
    EXPECT_EQ(storageText(11200000000, false), QStringLiteral("≈ 2 Std 5 Min · 11.2 GB frei"));
    EXPECT_EQ(storageText(113000000000, true), QStringLiteral("≈ 12 Std · 113 GB frei"));
    EXPECT_EQ(storageText(90 * normalMinute, false).section(QStringLiteral(" · "), 0, 0),
              QStringLiteral("≈ 1 Std 30 Min"));
    EXPECT_EQ(storageText(600 * normalMinute, false).section(QStringLiteral(" · "), 0, 0),
              QStringLiteral("≈ 10 Std"));
    // Just under 90 minutes still counts minutes, rounded half away from zero.
    EXPECT_EQ(storageText(89 * normalMinute + normalMinute / 2, false)
                  .section(QStringLiteral(" · "), 0, 0),
              QStringLiteral("≈ 90 Min"));
    EXPECT_EQ(storageText(99950000000, false).section(QStringLiteral(" · "), 1),
              QStringLiteral("100.0 GB frei"))
        << "99.95 GB is below 100 and keeps its decimal";
}

TEST(StorageBudget, DestinationCountsTheGrowingRecordingAgainstTheFolder) {
    QTemporaryDir temp;
    QTemporaryDir folder;
    const QString recording = temp.filePath(QStringLiteral("ostrel-1.mp4"));
    QFile file(recording);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(1 << 20, 'x'));
    file.close();

    const auto tempOnly = freeBytesAtDestination(temp.path(), std::nullopt, recording);
    ASSERT_TRUE(tempOnly);
    const auto both = freeBytesAtDestination(temp.path(), folder.path(), recording);
    ASSERT_TRUE(both);
    // Same volume here: the file is counted twice, so the result is lower, never higher.
    EXPECT_LE(*both, *tempOnly - (1 << 20) + (64 << 20)); // other writers may change free space
    EXPECT_FALSE(freeBytesAtDestination(QString(), std::nullopt, std::nullopt));
    EXPECT_TRUE(freeBytesAtDestination(QString(), folder.path(), std::nullopt))
        << "one known volume is enough";
}
