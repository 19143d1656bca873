#include "diagnostics/DiagnosticsActions.h"
#include "diagnostics/LogListModel.h"
#include "diagnostics/OstrelLog.h"
#include "support/EventLoop.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(OstrelPlugin)

namespace {

const QString kVersion = QStringLiteral("PC · Debian GNU/Linux 12 (bookworm) · Linux 6.1\n"
                                        "OSTREL App v1.0 (7)");

class DiagnosticsViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        log = std::make_unique<OstrelLog>(dir.filePath(QStringLiteral("ostrel-diagnose.log")),
                                          kVersion);
        model = std::make_unique<LogListModel>(*log);
        actions = std::make_unique<DiagnosticsActions>(*log);
    }

    QQuickWindow* showWindow() {
        QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Ostrel/DiagnosticsWindow.qml")));
        window.reset(qobject_cast<QQuickWindow*>(component.createWithInitialProperties(
            {{QStringLiteral("logModel"), QVariant::fromValue(model.get())},
             {QStringLiteral("diagnostics"), QVariant::fromValue(actions.get())}})));
        EXPECT_TRUE(window) << component.errorString().toStdString();
        if (window) {
            window->show();
            pumpPosted();
        }
        return window.get();
    }

    template <typename T = QObject> T* find(const char* name) const {
        return window ? window->findChild<T*>(QString::fromLatin1(name)) : nullptr;
    }

    QString rowMessage(int row) const {
        return model->data(model->index(row), LogListModel::MessageRole).toString();
    }

    QTemporaryDir dir;
    QQmlApplicationEngine engine;
    std::unique_ptr<OstrelLog> log;
    std::unique_ptr<LogListModel> model;
    std::unique_ptr<DiagnosticsActions> actions;
    std::unique_ptr<QQuickWindow> window;
};

} // namespace

TEST_F(DiagnosticsViewTest, FilterWithoutMatchesShowsZeroAndTheEmptyNote) {
    log->log(LogLevel::info, QStringLiteral("Kamera Wide gestartet"));
    ASSERT_TRUE(showWindow());
    EXPECT_EQ(window->title(), QStringLiteral("Diagnose"));
    EXPECT_EQ(window->objectName(), QStringLiteral("ostrel-diagnostics"));
    EXPECT_EQ(window->minimumSize(), QSize(460, 520));

    auto* empty = find<QQuickItem>("emptyNote");
    ASSERT_TRUE(empty);
    EXPECT_FALSE(empty->isVisible());
    model->setLevelFilter(int(LogLevel::warn));
    EXPECT_EQ(find("logHeading")->property("text").toString(),
              QStringLiteral("Protokoll (0) — neueste zuerst"));
    EXPECT_TRUE(empty->isVisible());

    model->setLevelFilter(-1);
    EXPECT_EQ(find("logHeading")->property("text").toString(),
              QStringLiteral("Protokoll (2) — neueste zuerst"));
}

TEST_F(DiagnosticsViewTest, NewestEntryIsOnTopAndFilterKeepsLogOrderReversed) {
    ASSERT_TRUE(showWindow());
    log->log(LogLevel::warn, QStringLiteral("erste Warnung"));
    log->log(LogLevel::info, QStringLiteral("Info"));
    log->log(LogLevel::warn, QStringLiteral("zweite Warnung"));
    EXPECT_EQ(model->rowCount(), 4);
    EXPECT_EQ(rowMessage(0), QStringLiteral("zweite Warnung"));
    model->setLevelFilter(int(LogLevel::warn));
    ASSERT_EQ(model->rowCount(), 2);
    EXPECT_EQ(rowMessage(0), QStringLiteral("zweite Warnung"));
    EXPECT_EQ(rowMessage(1), QStringLiteral("erste Warnung"));
    log->log(LogLevel::warn, QStringLiteral("dritte"));
    EXPECT_EQ(rowMessage(0), QStringLiteral("dritte"));
    model->setLevelFilter(17);
    EXPECT_EQ(model->levelFilter(), -1) << "an unknown filter shows everything";
}

TEST_F(DiagnosticsViewTest, CopyPutsTheWholeExportOnTheClipboardAndTheNoteGoesAway) {
    log->log(LogLevel::error, QStringLiteral("Aufnahme-Fehler"));
    ASSERT_TRUE(showWindow());
    QObject* view = nullptr;
    for (QQuickItem* item : window->contentItem()->childItems())
        if (item->property("copiedNoteInterval").isValid())
            view = item;
    ASSERT_TRUE(view);
    view->setProperty("copiedNoteInterval", 50); // the note's own 1.4 s would slow the test
    model->setLevelFilter(int(LogLevel::error));

    auto* copyItem = find("copyItem");
    ASSERT_TRUE(copyItem);
    QMetaObject::invokeMethod(copyItem, "triggered");
    const QString copied = QGuiApplication::clipboard()->text();
    EXPECT_TRUE(copied.startsWith(QStringLiteral("OSTREL Diagnose-Protokoll\n")));
    EXPECT_TRUE(copied.contains(QStringLiteral("App gestartet"))) << "the filter does not apply";
    EXPECT_TRUE(copied.contains(QStringLiteral("Aufnahme-Fehler")));
    auto* note = find<QQuickItem>("copiedNote");
    ASSERT_TRUE(note);
    EXPECT_TRUE(note->isVisible());
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        window->grabWindow().save(out + QStringLiteral("/diagnostics.png"));
    EXPECT_TRUE(pumpUntil([&] { return !note->isVisible(); }));
}

TEST_F(DiagnosticsViewTest, ClearLeavesOnlyTheClearedEntry) {
    for (int i = 0; i < 1000; ++i)
        log->log(LogLevel::info, QStringLiteral("Zeile %1").arg(i));
    ASSERT_TRUE(showWindow());
    EXPECT_EQ(model->rowCount(), 1000);
    QMetaObject::invokeMethod(find("clearItem"), "triggered");
    ASSERT_EQ(model->rowCount(), 1);
    EXPECT_EQ(rowMessage(0), QStringLiteral("Protokoll geleert"));
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        window->grabWindow().save(out + QStringLiteral("/diagnostics-cleared.png"));
    EXPECT_EQ(model->data(model->index(0), LogListModel::LevelRole).toInt(), int(LogLevel::event));
}

TEST_F(DiagnosticsViewTest, ShareSavesTheExportAsATextFile) {
    log->log(LogLevel::event, QStringLiteral("Aufnahme gespeichert: OSTREL-1.mp4"));
    const QString path = dir.filePath(QStringLiteral("export.txt"));
    EXPECT_EQ(actions->saveExport(QUrl::fromLocalFile(path)), QString());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString saved = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(saved.startsWith(QStringLiteral("OSTREL Diagnose-Protokoll\n") + kVersion));
    EXPECT_TRUE(saved.endsWith(QStringLiteral("EVENT   Aufnahme gespeichert: OSTREL-1.mp4")));
    EXPECT_FALSE(actions->saveExport(QUrl::fromLocalFile(dir.filePath("fehlt/x.txt"))).isEmpty());
}
