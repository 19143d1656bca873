#pragma once

#include <QObject>
#include <QPointer>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

// A delayed or repeating step on the main thread. Cancelling stops it before its next run;
// a step whose owner is gone does nothing. Copies share the same step.
class ScheduledTask {
public:
    ScheduledTask() = default;
    void cancel() {
        if (m_cancelled)
            *m_cancelled = true;
    }
    bool isActive() const { return m_cancelled && !*m_cancelled; }

private:
    friend class Scheduler;
    std::shared_ptr<bool> m_cancelled;
};

// Where the controllers' delays come from: Qt timers in the app, a hand-driven clock in tests,
// so that polling, watchdogs and periodic checks are tested without waiting.
class Scheduler {
public:
    using Duration = std::chrono::milliseconds;
    virtual ~Scheduler() = default;

    // Runs `step` once after `delay`.
    ScheduledTask after(Duration delay, QObject* owner, std::function<void()> step);
    // Runs `step` every `period`, the first time one period from now, until cancelled.
    ScheduledTask every(Duration period, QObject* owner, std::function<void()> step);

    // The process-wide Qt-timer scheduler.
    static Scheduler& system();

protected:
    // Runs `fire` once after `delay` (main thread).
    virtual void arm(Duration delay, std::function<void()> fire) = 0;

private:
    void armRepeating(Duration period, QPointer<QObject> owner, std::shared_ptr<bool> cancelled,
                      std::shared_ptr<std::function<void()>> step);
};

// A scheduler whose time moves only when the test says so.
class ManualScheduler : public Scheduler {
public:
    // Moves time forward, running every step that falls due, in time order.
    void advance(Duration by);
    Duration now() const { return m_now; }
    int pendingCount() const { return int(m_pending.size()); }

protected:
    void arm(Duration delay, std::function<void()> fire) override;

private:
    struct Pending {
        Duration due;
        long order;
        std::function<void()> fire;
    };
    Duration m_now{0};
    long m_nextOrder = 0;
    std::vector<Pending> m_pending;
};
