#pragma once

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <functional>

// Waits up to `ms` for `done`, checking every 20 ms from the event loop: the waiting itself
// costs no CPU, and a window keeps rendering meanwhile.
inline bool waitFor(const std::function<bool()>& done, int ms) {
    QEventLoop loop;
    QTimer poll;
    QElapsedTimer timer;
    timer.start();
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done() || timer.elapsed() > ms)
            loop.quit();
    });
    poll.start(20);
    if (!done())
        loop.exec();
    return done();
}
