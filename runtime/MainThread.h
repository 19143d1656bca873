#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QTimer>

#include <utility>

// Fire-and-forget hand-off to the thread of `owner` (the main thread for every controller).
// Nothing runs if the owner is destroyed before the call is delivered.
template <typename F> void runOn(QObject* owner, F&& fn) {
    QMetaObject::invokeMethod(owner, std::forward<F>(fn), Qt::QueuedConnection);
}

// Hand-off to the main thread with the application as owner.
template <typename F> void runOnMain(F&& fn) {
    runOn(QCoreApplication::instance(), std::forward<F>(fn));
}

// A delayed step held weakly by its owner: it does nothing once the owner is gone.
// Must be called from a thread with an event loop (in practice the main thread).
template <typename F> void runAfter(int milliseconds, QObject* owner, F&& fn) {
    QTimer::singleShot(milliseconds, owner, std::forward<F>(fn));
}
