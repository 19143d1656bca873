#include "storage/StorageBudget.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

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

TEST(StorageBudget, FileOnTheFoldersDriveIsNotCountedTwice) {
    QTemporaryDir folder;
    const QString recording = folder.filePath(QStringLiteral(".ostrel-1.partial.mp4"));
    QFile file(recording);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(QByteArray(64 << 20, 'x')) > 0);
    file.close();

    const auto written = freeBytesAtDestination(folder.path(), std::nullopt, recording);
    ASSERT_TRUE(written);
    const auto both = freeBytesAtDestination(folder.path(), folder.path(), recording);
    ASSERT_TRUE(both);
    // Saving is a rename there: what is free now is what is left (other writers may change it).
    EXPECT_NEAR(double(*both), double(*written), double(32 << 20));

    // Written on another drive, the file still has to be copied to the folder.
    QTemporaryDir other(QStringLiteral("/dev/shm/ostrel-test-XXXXXX"));
    if (other.isValid()) {
        const QString elsewhere = other.filePath(QStringLiteral("ostrel-2.mp4"));
        ASSERT_TRUE(QFile::copy(recording, elsewhere));
        const auto copied = freeBytesAtDestination(other.path(), folder.path(), elsewhere);
        const auto folderOnly = freeBytesAtDestination(folder.path(), std::nullopt, std::nullopt);
        ASSERT_TRUE(copied && folderOnly);
        EXPECT_LE(*copied, *folderOnly - (64 << 20) + (32 << 20));
    }
    EXPECT_FALSE(freeBytesAtDestination(QString(), std::nullopt, std::nullopt));
    EXPECT_TRUE(freeBytesAtDestination(QString(), folder.path(), std::nullopt))
        << "one known volume is enough";
}
