#include "diagnostics/DiagnosticsActions.h"
#include "diagnostics/LogListModel.h"
#include "diagnostics/OstrelLog.h"
#include "support/EventLoop.h"

#include <QFile>
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

namespace {

// The row a reader looks at: the delegate in the middle of the list's viewport, and where it
// sits in the viewport.
struct RowInView {
    QString message;
    qreal offset = 0;
};

RowInView rowInMiddle(QQuickItem* list) {
    const qreal contentY = list->property("contentY").toReal();
    const qreal middle = contentY + list->height() / 2;
    QQuickItem* item = nullptr;
    QMetaObject::invokeMethod(list, "itemAt", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(qreal, 20),
                              Q_ARG(qreal, middle));
    if (!item)
        return {};
    return {item->property("message").toString(), item->y() - contentY};
}

} // namespace

TEST_F(DiagnosticsViewTest, NewEntriesKeepThePlaceOfAPersonReadingOlderOnes) {
    for (int i = 0; i < 998; ++i)
        log->log(LogLevel::info, QStringLiteral("Zeile %1").arg(i));
    log->log(LogLevel::warn, QStringLiteral("Warnung am Ende"));
    ASSERT_EQ(log->count(), OstrelLog::maxEntries);
    ASSERT_TRUE(showWindow());
    auto* list = find<QQuickItem>("logList");
    ASSERT_TRUE(list);

    // At the top, a new entry shows up as the first row.
    log->log(LogLevel::event, QStringLiteral("neu oben"));
    pumpPosted();
    QQuickItem* first = nullptr;
    QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, first), Q_ARG(int, 0));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->property("message").toString(), QStringLiteral("neu oben"));
    EXPECT_TRUE(first->isVisible());
    EXPECT_LT(first->y() - list->property("contentY").toReal(), list->height());

    // Reading further down, arriving entries (each dropping the oldest) leave the place alone.
    list->setProperty("contentY", list->property("contentY").toReal() + 4000);
    pumpPosted();
    const RowInView before = rowInMiddle(list);
    ASSERT_TRUE(before.message.startsWith(QStringLiteral("Zeile ")))
        << before.message.toStdString();
    for (int i = 0; i < 5; ++i) {
        log->log(LogLevel::info, QStringLiteral("neu %1").arg(i));
        pumpPosted();
        const RowInView now = rowInMiddle(list);
        EXPECT_EQ(now.message, before.message) << "after entry " << i;
        EXPECT_DOUBLE_EQ(now.offset, before.offset) << "after entry " << i;
    }
    EXPECT_EQ(model->rowCount(), OstrelLog::maxEntries);
    EXPECT_EQ(rowMessage(0), QStringLiteral("neu 4"));
    EXPECT_EQ(rowMessage(OstrelLog::maxEntries - 1), QStringLiteral("Zeile 5"))
        << "the oldest rows went, in order";

    // With a filter, entries of other levels do not appear; none left shows the empty note.
    model->setLevelFilter(int(LogLevel::warn));
    log->log(LogLevel::info, QStringLiteral("unsichtbar"));
    ASSERT_EQ(model->rowCount(), 1);
    EXPECT_EQ(rowMessage(0), QStringLiteral("Warnung am Ende"));
    log->log(LogLevel::warn, QStringLiteral("zweite Warnung"));
    EXPECT_EQ(rowMessage(0), QStringLiteral("zweite Warnung"));
    EXPECT_EQ(rowMessage(1), QStringLiteral("Warnung am Ende"));
    EXPECT_EQ(find("logHeading")->property("text").toString(),
              QStringLiteral("Protokoll (2) — neueste zuerst"));
    EXPECT_FALSE(find<QQuickItem>("emptyNote")->isVisible());
    model->setLevelFilter(int(LogLevel::error));
    EXPECT_EQ(find("logHeading")->property("text").toString(),
              QStringLiteral("Protokoll (0) — neueste zuerst"));
    EXPECT_TRUE(find<QQuickItem>("emptyNote")->isVisible());
    model->setLevelFilter(17); // unknown: shows everything
    EXPECT_EQ(model->rowCount(), OstrelLog::maxEntries);
}

// The privacy panel is GNOME's camera page, offered only on GNOME and only when installed.
TEST(DiagnosticsActionsTest, PrivacySettingsOnlyWhereGnomeSettingsRun) {
    QTemporaryDir bin;
    const QString program = bin.filePath(QStringLiteral("gnome-control-center"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/bin/true"), program));
    const QByteArray path = qgetenv("PATH");
    const struct {
        const char* desktop;
        bool installed;
        bool offered;
    } cases[] = {{"GNOME", true, true},
                 {"ubuntu:GNOME", true, true},
                 {"KDE", true, false},
                 {"", true, false},
                 {"GNOME", false, false}};
    for (const auto& c : cases) {
        qputenv("PATH", c.installed ? bin.path().toUtf8() + ':' + path : path);
        const QStringList command =
            DiagnosticsActions::privacySettingsCommand(QString::fromLatin1(c.desktop));
        EXPECT_EQ(!command.isEmpty(), c.offered) << c.desktop << " installed " << c.installed;
        if (c.offered) {
            EXPECT_EQ(command, (QStringList{program, QStringLiteral("camera")}));
        }
    }
    qputenv("PATH", path);
}
