#include "desktop/ShowInFileManager.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

const QString fileManagerService = QStringLiteral("org.freedesktop.FileManager1");
const QString fileManagerPath = QStringLiteral("/org/freedesktop/FileManager1");

// The recording folder revealed on a private bus; `opened` collects what the fallback got.
class RevealTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bus.isValid()) << "dbus-daemon did not start";
        client = bus.connect();
        ASSERT_TRUE(client.isConnected());
        folder = dir.filePath(QStringLiteral("Aufnahmen mit Leerzeichen"));
        ASSERT_TRUE(QDir().mkpath(folder));
    }

    // A file manager that shows everything at once, but fails on items whose name holds
    // "verweigert".
    void startFileManager() {
        manager = bus.connect();
        fake = std::make_unique<FakeBusObject>(
            [](const QDBusMessage& call, const QDBusConnection& connection) {
                const QStringList items = call.arguments().value(0).toStringList();
                connection.send(
                    items.join(u' ').contains(QStringLiteral("verweigert"))
                        ? call.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.Failed"),
                                                QStringLiteral("kein Fenster"))
                        : call.createReply());
            });
        ASSERT_TRUE(manager.registerVirtualObject(fileManagerPath, fake.get()));
        ASSERT_TRUE(manager.registerService(fileManagerService));
    }

    FolderOpener recordOpened() {
        return [this](const QUrl& url) { opened << url; };
    }

    QTemporaryDir dir;
    PrivateBus bus;
    QDBusConnection client{QString()};
    QDBusConnection manager{QString()};
    std::unique_ptr<FakeBusObject> fake;
    QString folder;
    QList<QUrl> opened;
};

} // namespace

TEST_F(RevealTest, ShowItemsGoesOutWithoutWaitingAndOnlyAFailureOpensTheFolder) {
    startFileManager();
    const QUrl item = QUrl::fromLocalFile(folder);
    revealInFileManager(item, client, recordOpened());
    // Back before the file manager, which runs on this very thread, could even see the call:
    // a blocking call would only have returned by timing out, and then opened the folder.
    EXPECT_TRUE(fake->calls.isEmpty());
    EXPECT_TRUE(opened.isEmpty());

    ASSERT_TRUE(pumpUntil([&] { return !fake->calls.isEmpty(); }));
    const QDBusMessage call = fake->calls.first();
    EXPECT_EQ(call.interface(), fileManagerService);
    EXPECT_EQ(call.member(), QStringLiteral("ShowItems"));
    ASSERT_EQ(call.arguments().size(), 2);
    EXPECT_EQ(call.arguments().at(0).toStringList(),
              QStringList{item.toString(QUrl::FullyEncoded)});
    EXPECT_TRUE(call.arguments().at(0).toStringList().first().contains(QStringLiteral("%20")));
    EXPECT_EQ(call.arguments().at(1).toString(), QString());

    // A second folder the file manager refuses: its answer comes after the first one's, so
    // once it has opened its folder the first answer (a success) has been handled too.
    const QString refused = dir.filePath(QStringLiteral("verweigert"));
    ASSERT_TRUE(QDir().mkpath(refused));
    revealInFileManager(QUrl::fromLocalFile(refused), client, recordOpened());
    ASSERT_TRUE(pumpUntil([&] { return !opened.isEmpty(); }));
    EXPECT_EQ(opened, QList<QUrl>{QUrl::fromLocalFile(refused)});
    EXPECT_EQ(fake->calls.size(), 2);
}

TEST_F(RevealTest, WithoutAFileManagerTheFolderIsOpenedInstead) {
    revealInFileManager(QUrl::fromLocalFile(folder), client, recordOpened());
    EXPECT_TRUE(opened.isEmpty()) << "the answer of the bus comes later, not in the call";
    ASSERT_TRUE(pumpUntil([&] { return !opened.isEmpty(); }));
    EXPECT_EQ(opened, QList<QUrl>{QUrl::fromLocalFile(folder)});

    // A file inside the folder: its folder is opened.
    const QString file = QDir(folder).filePath(QStringLiteral("OSTREL-2026-11-24_10-00-00.mp4"));
    QFile(file).open(QIODevice::WriteOnly);
    revealInFileManager(QUrl::fromLocalFile(file), client, recordOpened());
    ASSERT_TRUE(pumpUntil([&] { return opened.size() == 2; }));
    EXPECT_EQ(opened.last(), QUrl::fromLocalFile(folder));
}

TEST_F(RevealTest, WithoutABusTheFolderIsOpenedAtOnce) {
    const QDBusConnection none = QDBusConnection::connectToBus(
        QStringLiteral("unix:path=") + dir.filePath(QStringLiteral("no-bus")),
        QStringLiteral("no-bus"));
    ASSERT_FALSE(none.isConnected());
    revealInFileManager(QUrl::fromLocalFile(folder), none, recordOpened());
    EXPECT_EQ(opened, QList<QUrl>{QUrl::fromLocalFile(folder)});
    QDBusConnection::disconnectFromBus(QStringLiteral("no-bus"));
}

TEST_F(RevealTest, TheFallbackStartsXdgOpenWithTheFolder) {
    // A stand-in xdg-open first on PATH writes down what it was asked to open.
    const QString bin = dir.filePath(QStringLiteral("bin"));
    ASSERT_TRUE(QDir().mkpath(bin));
    const QString asked = dir.filePath(QStringLiteral("asked.txt"));
    QFile script(QDir(bin).filePath(QStringLiteral("xdg-open")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\nprintf '%s\\n' \"$@\" > \"" + asked.toUtf8() + ".part\"\nmv \"" +
                 asked.toUtf8() + ".part\" \"" + asked.toUtf8() + "\"\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", bin.toUtf8() + ':' + path);

    bool failed = false;
    const auto open = [&](const QUrl& url) { openFolderExternally(url, [&] { failed = true; }); };
    revealInFileManager(QUrl::fromLocalFile(folder), client, open);
    const bool written = pumpUntil([&] { return QFile::exists(asked); });
    ASSERT_TRUE(written);
    QFile result(asked);
    ASSERT_TRUE(result.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(result.readAll()), folder + u'\n');

    // xdg-open finds nothing to open a folder with (its exit code 3): that is said, not lost.
    ASSERT_TRUE(script.open(QIODevice::WriteOnly | QIODevice::Truncate));
    script.write("#!/bin/sh\nexit 3\n");
    script.close();
    revealInFileManager(QUrl::fromLocalFile(folder), client, open);
    const bool reported = pumpUntil([&] { return failed; });
    qputenv("PATH", path);
    EXPECT_TRUE(reported);
}
