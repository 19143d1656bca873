#include "recording/Photos.h"
#include "TestImages.h"
#include "diagnostics/OstrelLog.h"
#include "recording/Watermark.h"
#include "resources/Fonts.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

SnapshotJob jobFor(const QString& folder, bool withMacro) {
    registerBrandFont();
    SnapshotJob job;
    job.wide = quadrants(1920, 1080, {red, green, blue, white});
    if (withMacro) {
        job.macro = quadrants(1280, 720, {cyan, magenta, yellow, grey});
        job.macroZoom = 1.15;
    }
    job.overlay = makeWatermark(QStringLiteral("Praxis Dr. Muster"), 2560, 1440);
    job.canvas = {2560, 1440};
    job.folder = folder;
    return job;
}

// The level of the newest log entry once the posts have reached the main thread.
LogLevel lastLogLevel() {
    pumpPosted();
    return OstrelLog::shared().entries().back().level;
}

} // namespace

TEST(Photos, WithoutMacroTwoFilesAndTheCompositeShowsOnlyWide) {
    QTemporaryDir dir;
    EXPECT_EQ(renderPhotos(jobFor(dir.path(), false)).size(), 2);
    const QStringList files = QDir(dir.path()).entryList(QDir::Files, QDir::Name);
    ASSERT_EQ(files.size(), 2);
    EXPECT_TRUE(files[0].endsWith("-Ansicht.jpg") && files[1].endsWith("-Wide.jpg"));
    const QImage view(QDir(dir.path()).filePath(files[0]));
    const QRgb atInset = view.pixel(1100, 1300); // where an inset would be: Wide's green
    EXPECT_GT(qGreen(atInset), 200);
    EXPECT_LT(qRed(atInset), 50);
}

TEST(Photos, MissingOrUnwritableFolderIsReported) {
    SnapshotJob job = jobFor(QString(), true);
    job.folder.reset();
    EXPECT_TRUE(renderPhotos(job).isEmpty());
    EXPECT_EQ(lastLogLevel(), LogLevel::warn);

    // A vanished folder, and one below a plain file (unwritable even for root).
    QTemporaryDir dir;
    QFile plain(dir.filePath("file"));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    for (const QString& folder : {dir.filePath("gone"), dir.filePath("file/sub")}) {
        EXPECT_TRUE(renderPhotos(jobFor(folder, true)).isEmpty());
        EXPECT_EQ(lastLogLevel(), LogLevel::error);
    }
    // Nothing half-written is left behind.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System).size(), 1);
}
