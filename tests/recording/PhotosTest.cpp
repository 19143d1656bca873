#include "recording/Photos.h"
#include "TestImages.h"
#include "diagnostics/OstrelLog.h"
#include "recording/Watermark.h"
#include "resources/Fonts.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
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

// The log's size once everything posted so far has arrived.
int logCount() {
    pumpPosted();
    return OstrelLog::shared().count();
}

// The messages logged since `from`, once the posts have reached the main thread.
QStringList messagesSince(int from) {
    pumpPosted();
    OstrelLog::shared().flush();
    QStringList messages;
    const auto& entries = OstrelLog::shared().entries();
    for (std::size_t i = std::size_t(from); i < entries.size(); ++i)
        messages << entries[i].message;
    return messages;
}

} // namespace

TEST(Photos, WithoutMacroTwoFilesAndTheCompositeShowsOnlyWide) {
    QTemporaryDir dir;
    const int before = logCount();
    EXPECT_EQ(renderPhotos(jobFor(dir.path(), false)).size(), 2);
    const QStringList files = QDir(dir.path()).entryList(QDir::Files, QDir::Name);
    ASSERT_EQ(files.size(), 2);
    EXPECT_TRUE(files[0].endsWith("-Ansicht.jpg") && files[1].endsWith("-Wide.jpg"));
    const QImage view(QDir(dir.path()).filePath(files[0]));
    const QRgb atInset = view.pixel(1100, 1300); // where an inset would be: Wide's green
    EXPECT_GT(qGreen(atInset), 200);
    EXPECT_LT(qRed(atInset), 50);
    EXPECT_TRUE(messagesSince(before).contains(
        QStringLiteral("2 Fotos gespeichert (Wide, Macro, Ansicht)")));
    EXPECT_TRUE(
        messagesSince(before).contains(QStringLiteral("Gespeicherte Fotos: Wide, Ansicht")));
    // A second press in the same second replaces the files (here: written again, still two).
    renderPhotos(jobFor(dir.path(), false));
    EXPECT_LE(QDir(dir.path()).entryList(QDir::Files).size(), 4);
}

TEST(Photos, MissingOrUnwritableFolderIsReported) {
    int before = logCount();
    SnapshotJob job = jobFor(QString(), true);
    job.folder.reset();
    EXPECT_TRUE(renderPhotos(job).isEmpty());
    EXPECT_EQ(messagesSince(before),
              QStringList{QStringLiteral("Kein Aufnahmeordner gewählt — Fotos nicht gespeichert")});

    // A vanished folder, and one below a plain file (unwritable even for root).
    QTemporaryDir dir;
    QFile plain(dir.filePath("file"));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    for (const QString& folder : {dir.filePath("gone"), dir.filePath("file/sub")}) {
        before = logCount();
        EXPECT_TRUE(renderPhotos(jobFor(folder, true)).isEmpty());
        const QStringList messages = messagesSince(before);
        ASSERT_EQ(messages.size(), 4) << messages.join('\n').toStdString();
        for (int i = 0; i < 3; ++i)
            EXPECT_TRUE(messages[i].startsWith(QStringLiteral("Foto speichern fehlgeschlagen: ")));
        EXPECT_EQ(messages[3], QStringLiteral("Keine Fotos gespeichert"));
        EXPECT_EQ(OstrelLog::shared().entries().back().level, LogLevel::error);
    }
    // Nothing half-written is left behind.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System).size(), 1);
}
