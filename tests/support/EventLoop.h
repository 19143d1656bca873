#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

#include <functional>

// Runs the main thread's event loop until `done` holds. The deadline only guards against a
// hang; tests never depend on how fast something happens.
inline bool pumpUntil(const std::function<bool()>& done, int guardMilliseconds = 20000) {
    QDeadlineTimer guard(guardMilliseconds);
    while (!done()) {
        if (guard.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// Delivers everything already posted to the main thread.
inline void pumpPosted() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}
