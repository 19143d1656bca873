#pragma once

#include "capture/virtual/VirtualBackend.h"
#include "devices/DeviceStore.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"
#include "support/EventLoop.h"
#include "ui/setup/CaptureBackendHandle.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

// The object of that name below `root`, through both object and visual children (delegates of
// repeaters are only visual children).
inline QObject* findNamed(QObject* root, const QString& name, QSet<QObject*>& seen) {
    if (!root || seen.contains(root))
        return nullptr;
    seen.insert(root);
    if (root->objectName() == name)
        return root;
    for (QObject* child : root->children())
        if (QObject* found = findNamed(child, name, seen))
            return found;
    if (auto* item = qobject_cast<QQuickItem*>(root))
        for (QQuickItem* child : item->childItems())
            if (QObject* found = findNamed(child, name, seen))
                return found;
    return nullptr;
}

// The shell's objects for one view under test: settings in a temporary file, the virtual
// cameras and microphone, the device and folder stores, and a window to show the view in.
class SetupFixture : public ::testing::Test {
protected:
    // Loads the view (a file of the Ostrel module) into a window of the given size.
    QQuickItem* show(const char* file, QSize size, QVariantMap extra = {}) {
        if (!devices) {
            devices = std::make_unique<DeviceStore>(backend.discovery(), settings);
            recordings = std::make_unique<RecordingsStore>(settings);
        }
        window = std::make_unique<QQuickWindow>();
        window->resize(size);
        QQmlComponent component(&engine,
                                QUrl(QStringLiteral("qrc:/Ostrel/") + QString::fromLatin1(file)));
        if (component.isError()) {
            ADD_FAILURE() << component.errorString().toStdString();
            return nullptr;
        }
        QVariantMap properties{
            {QStringLiteral("devices"), QVariant::fromValue(devices.get())},
            {QStringLiteral("recordings"), QVariant::fromValue(recordings.get())},
            {QStringLiteral("settings"), QVariant::fromValue(&settings)}};
        properties.insert(extra);
        view.reset(qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties)));
        EXPECT_TRUE(view) << component.errorString().toStdString();
        if (!view)
            return nullptr;
        view->setParentItem(window->contentItem());
        view->setSize(size);
        window->show();
        window->requestActivate();
        pumpPosted();
        return view.get();
    }

    template <typename T = QQuickItem> T* find(const char* name) const {
        QSet<QObject*> seen;
        return qobject_cast<T*>(findNamed(view.get(), QString::fromLatin1(name), seen));
    }
    bool visible(const char* name) const { return find(name) && find(name)->isVisible(); }
    QString text(const char* name) const {
        auto* item = find<QObject>(name);
        return item ? item->property("text").toString() : QStringLiteral("<missing>");
    }
    static void click(QObject* button) {
        ASSERT_TRUE(button);
        QMetaObject::invokeMethod(button, "clicked");
        pumpPosted();
    }
    // Chooses the picker's entry as the user would.
    static void choose(QObject* picker, int index) {
        ASSERT_TRUE(picker);
        QMetaObject::invokeMethod(picker, "activated", Q_ARG(int, index));
        pumpPosted();
    }

    QTemporaryDir dir;
    SettingsStore settings{dir.filePath(QStringLiteral("ostrel.conf"))};
    VirtualBackend backend;
    CaptureBackendHandle backendHandle{backend};
    std::unique_ptr<DeviceStore> devices;
    std::unique_ptr<RecordingsStore> recordings;
    QQmlEngine engine;
    std::unique_ptr<QQuickWindow> window;
    std::unique_ptr<QQuickItem> view;

    const QString cam1 = VirtualDevices::camera1ID;
    const QString cam2 = VirtualDevices::camera2ID;
};
