#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QThread>

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

// As pumpUntil, for a state outside this process (a file, another program): looks again every
// 50 ms instead of spinning.
inline bool pollUntil(const std::function<bool()>& done, int guardMilliseconds = 20000) {
    const auto pause = [] { return QThread::msleep(50), false; };
    return pumpUntil([&] { return done() || pause(); }, guardMilliseconds);
}

// Delivers everything already posted to the main thread.
inline void pumpPosted() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}
